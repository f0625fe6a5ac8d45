// RenderMesh: one mesh record drawn through the engine's device.
#include "engine/tarko_dx7.h"
#include "maths/GLOB.h"
#include "mesh/mesh.h"
#include "platform/constants.h"
#include "platform/d3d/device.h"
#include "runtime/errors.h"

namespace tarko {

using mesh::MeshRecord;

void Mesh::RenderMesh(tarko_DX7& engine) { RenderMeshM(MeshSlot, engine); }

namespace {

// Entry 1 onwards, as many as the upper bound; an empty array (bounds 0..0)
// has no entry 1 and draws nothing.
template <class V>
std::span<const V> from_entry_1(const std::vector<V>& v) {
    if (v.size() < 2) raise_error(err::SubscriptOutOfRange);
    return std::span<const V>(v).subspan(1);
}

}  // namespace

void Mesh::RenderMeshM(Integer number, tarko_DX7& engine) {
    if (number < 0 || number > mesh::kLastRecord) {  // every statement would fail on the record
        Err().Clear();
        return;
    }
    auto& m = mesh::module();
    MeshRecord& r = m.MeshTable[static_cast<std::size_t>(number)];
    const Ref<Direct3DDevice7>& dev = engine.D3D_DEV;  // Nothing raises 91 at each use, which is skipped
    runtime::ResumeNext next;

    if (r.MatrixDirty == -1 || r.KeepTexture1 == -1) {
        // Kept on the record only: the caller's world transform places the mesh.
        if (r.MeshScale.x != 0 && r.MeshScale.y != 0 && r.MeshScale.z != 0)
            r.MeshMatrix = GLOB::MScale(r.MeshMatrix, r.MeshScale.x, r.MeshScale.y, r.MeshScale.z);
        r.MatrixDirty = 0;
    }

    if (r.AlphaEnabled == -1) {
        next([&] { dev->setRenderState(dx::D3DRENDERSTATE_ALPHABLENDENABLE, 1); });
        next([&] { dev->setRenderState(dx::D3DRENDERSTATE_DESTBLEND, r.DestBlend == 0 ? 2 : r.DestBlend); });
        next([&] { dev->setRenderState(dx::D3DRENDERSTATE_SRCBLEND, r.SrcBlend == 0 ? 2 : r.SrcBlend); });
    } else {
        next([&] { dev->setRenderState(dx::D3DRENDERSTATE_ALPHABLENDENABLE, 0); });
    }

    if (r.VertexType == 2) {
        next([&] { dev->setRenderState(dx::D3DRENDERSTATE_LIGHTING, 1); });
        next([&] {
            if (r.MaterialSlot < 0 || static_cast<std::size_t>(r.MaterialSlot) >= m.MaterialTable.size())
                raise_error(err::SubscriptOutOfRange);
            dev->setMaterial(m.MaterialTable[static_cast<std::size_t>(r.MaterialSlot)]);
        });
    } else {
        next([&] { dev->setRenderState(dx::D3DRENDERSTATE_LIGHTING, 0); });
    }

    const bool light_map_stage = r.LightMapStage == -1 && r.VertexType == 1 && r.GroupCount > 0;
    if (light_map_stage) {
        // Each group with its own map on stage 0, through its index list; the
        // light maps' coordinates are the vertices' only set.
        for (Integer g = 1; g <= r.GroupCount && static_cast<std::size_t>(g) < r.Groups.size(); ++g) {
            const auto& group = r.Groups[static_cast<std::size_t>(g)];
            next([&] {
                Ref<DirectDrawSurface7> map;
                if (group.LightMapSlot > 0 && group.LightMapSlot <= m.LightMapCount)
                    map = m.LightMapTable[static_cast<std::size_t>(group.LightMapSlot)];
                dev->setTexture(0, map);
            });
            next([&] {
                const auto vertices = from_entry_1(r.LVertices);
                dev->drawIndexedPrimitive(r.PrimitiveType, dx::D3DFVF_LVERTEX, vertices,
                                          static_cast<Long>(vertices.size()), std::span<const Integer>(group.GroupIndices),
                                          static_cast<Long>(group.GroupIndices.size()), 0);
            });
        }
        next([&] { dev->setTexture(0, nullptr); });
    } else {
        if (!(r.KeepTexture1 == -1 && r.KeepTexture2 == -1)) {
            if (r.SpriteOn == -1) {
                next([&] { dev->setRenderState(dx::D3DRENDERSTATE_ZWRITEENABLE, 0); });
                next([&] {
                    if (r.CurrentSprite < 0 || static_cast<std::size_t>(r.CurrentSprite) >= m.SpriteTable.size())
                        raise_error(err::SubscriptOutOfRange);
                    dev->setTexture(0, m.SpriteTable[static_cast<std::size_t>(r.CurrentSprite)]);
                });
                // One frame per call, whatever the time between calls.
                ++r.CurrentSprite;
                if (r.CurrentSprite > r.FirstSprite + r.SpriteCount - 1) r.CurrentSprite = r.FirstSprite;
            } else if (r.NoClearTexture == 0) {
                next([&] { dev->setTexture(0, nullptr); });
            }
        }
        // Groups play no part here: the whole array, first vertex at entry 1.
        next([&] {
            switch (r.VertexType) {
            case 1: {
                const auto v = from_entry_1(r.LVertices);
                dev->drawPrimitive(r.PrimitiveType, dx::D3DFVF_LVERTEX, v, static_cast<Long>(v.size()), 0);
                break;
            }
            case 2: {
                const auto v = from_entry_1(r.Vertices);
                dev->drawPrimitive(r.PrimitiveType, dx::D3DFVF_VERTEX, v, static_cast<Long>(v.size()), 0);
                break;
            }
            case 3: {
                const auto v = from_entry_1(r.TLVertices);
                dev->drawPrimitive(r.PrimitiveType, dx::D3DFVF_TLVERTEX, v, static_cast<Long>(v.size()), 0);
                break;
            }
            default: break;
            }
        });
    }

    next([&] { dev->setRenderState(dx::D3DRENDERSTATE_ZWRITEENABLE, 1); });
    Err().Clear();
}

}  // namespace tarko
