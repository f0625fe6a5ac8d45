// Direct3DDevice7: the fixed-function device the engine draws through. This
// class keeps the device state (render states, stage states, transforms,
// lights, material, viewport, textures), records calls when the trace is on,
// checks arguments, and hands clears and draws to the rasteriser.
#pragma once

#include <array>
#include <cstddef>
#include <map>
#include <memory>
#include <span>
#include <string>

#include "platform/object_ref.h"
#include "platform/records.h"
#include "platform/surface.h"
#include "runtime/numeric.h"

namespace tarko::platform::d3d {
class Rasteriser;
struct DeviceState;
}  // namespace tarko::platform::d3d

class Direct3DEnumPixelFormats;

class Direct3DDevice7 {
public:
    static constexpr int kMaxStages = 8;
    static constexpr int kRenderStateCount = 256;
    static constexpr int kStageStateCount = 32;

    Direct3DDevice7(std::string guid, const tarko::Ref<DirectDrawSurface7>& target);
    ~Direct3DDevice7();
    Direct3DDevice7(const Direct3DDevice7&) = delete;
    Direct3DDevice7& operator=(const Direct3DDevice7&) = delete;

    // Fills the rectangles (all of the viewport when count is 0) of the target
    // and/or z-buffer.
    void clear(tarko::Long count, std::span<const D3DRECT> rects, tarko::Long flags, tarko::Long colour, float z,
               tarko::Long stencil);
    void beginScene();
    void endScene();

    // Draws `vertex_count` vertices from `vertices` (32-byte records of the
    // given format). Counts beyond the data given are cut to it; primitive
    // types 1..6; an unknown type or format raises.
    void drawPrimitive(tarko::Long primitive_type, tarko::Long vertex_type, std::span<const std::byte> vertices,
                       tarko::Long vertex_count, tarko::Long flags);
    // Indices (16-bit) select from the first `vertex_count` vertices; a
    // triangle with an index beyond them is skipped.
    void drawIndexedPrimitive(tarko::Long primitive_type, tarko::Long vertex_type, std::span<const std::byte> vertices,
                              tarko::Long vertex_count, std::span<const tarko::Integer> indices,
                              tarko::Long index_count, tarko::Long flags);

    template <class V>
    void drawPrimitive(tarko::Long pt, tarko::Long fvf, std::span<V> v, tarko::Long count, tarko::Long flags) {
        drawPrimitive(pt, fvf, std::as_bytes(v), count, flags);
    }
    template <class V, class I>
    void drawIndexedPrimitive(tarko::Long pt, tarko::Long fvf, std::span<V> v, tarko::Long vcount, std::span<I> idx,
                              tarko::Long icount, tarko::Long flags) {
        drawIndexedPrimitive(pt, fvf, std::as_bytes(v), vcount, std::span<const tarko::Integer>(idx.data(), idx.size()),
                             icount, flags);
    }

    // Clip status of a sphere (model space, through world x view x
    // projection): union bits 0x1..0x20 for each plane it crosses or lies
    // outside, intersection bits 0x1000..0x20000 for each plane it lies wholly
    // outside.
    tarko::Long computeSphereVisibility(const D3DVECTOR& centre, float radius);

    void setRenderState(tarko::Long state, tarko::Long value);
    void setRenderStateSingle(tarko::Long state, float value);
    tarko::Long getRenderState(tarko::Long state) const;
    float getRenderStateSingle(tarko::Long state) const;
    void setTextureStageState(tarko::Long stage, tarko::Long type, tarko::Long value);
    tarko::Long getTextureStageState(tarko::Long stage, tarko::Long type) const;
    void setTexture(tarko::Long stage, const tarko::Ref<DirectDrawSurface7>& texture);
    tarko::Ref<DirectDrawSurface7> getTexture(tarko::Long stage) const;
    void setTransform(tarko::Long type, const D3DMATRIX& m);
    void getTransform(tarko::Long type, D3DMATRIX& m) const;
    void setViewport(const D3DVIEWPORT7& viewport);
    void getViewport(D3DVIEWPORT7& viewport) const;
    void setMaterial(const D3DMATERIAL7& material);
    void getMaterial(D3DMATERIAL7& material) const;
    // Any slot number from 0 up; there is no small fixed limit.
    void setLight(tarko::Long index, const D3DLIGHT7& light);
    void getLight(tarko::Long index, D3DLIGHT7& light) const;
    void lightEnable(tarko::Long index, bool enable);
    bool getLightEnable(tarko::Long index) const;
    void getCaps(D3DDEVICEDESC7& desc) const;
    tarko::Ref<Direct3DEnumPixelFormats> getTextureFormatsEnum() const;
    std::string getDeviceGuid() const { return guid_; }

    // --- for the platform layer and tests
    const tarko::Ref<DirectDrawSurface7>& render_target() const { return target_; }
    const tarko::platform::d3d::DeviceState& state() const { return *state_; }
    // Worker threads of the rasteriser (0 = all cores); pictures are identical
    // for every count.
    void set_thread_count(int threads);
    int draw_calls() const { return draw_calls_; }

private:
    std::string guid_;
    tarko::Ref<DirectDrawSurface7> target_;
    std::unique_ptr<tarko::platform::d3d::DeviceState> state_;
    std::unique_ptr<tarko::platform::d3d::Rasteriser> rasteriser_;
    int draw_calls_ = 0;
    bool in_scene_ = false;
};
