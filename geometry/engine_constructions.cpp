// Constructions of the engine object: walls, floor and ceiling of a box seen
// from inside, drawn as strips, and the wall tests against a position.
#include "engine/tarko_dx7.h"
#include "geometry/construction.h"
#include "geometry/host_array.h"
#include "platform/constants.h"

using tarko::Long;
using tarko::Variant;
namespace geometry = tarko::geometry;

namespace {
float sum(float a, float b) { return static_cast<float>(static_cast<double>(a) + b); }
}  // namespace

void tarko_DX7::Create_CONSTUCTION(tarko::SafeArray<D3DVERTEX>& Vertices, const D3DVECTOR& vPOS,
                                   const D3DVECTOR& Vsize, D3DRMBOX& RETBOX, Long ORIENTATION, const Variant& TileX,
                                   const Variant& TileY) {
    const D3DVECTOR a = vPOS;
    const D3DVECTOR b{sum(vPOS.x, Vsize.x), sum(vPOS.y, Vsize.y), sum(vPOS.z, Vsize.z)};
    RETBOX = GetBOX(a, b);
    const float tx = geometry::tile_argument(TileX), ty = geometry::tile_argument(TileY);
    geometry::write_construction(Vertices, a, b, ORIENTATION, tx, ty);
}

D3DRMBOX tarko_DX7::GetBOX(const D3DVECTOR& Vec_MIN, const D3DVECTOR& Vec_MAX) { return D3DRMBOX{Vec_MIN, Vec_MAX}; }

void tarko_DX7::Render_CONSTRUCTION(const tarko::SafeArray<D3DVERTEX>& VERTIK, Long ORIENTATION,
                                    const tarko::Ref<DirectDrawSurface7>& TEXTURE_SOL,
                                    const tarko::Ref<DirectDrawSurface7>& TEXTURE_ROOF,
                                    const tarko::Ref<DirectDrawSurface7>& /*TEXTURE_MUR*/) {
    alphaBLEND_1(false);
    USE_defaultMaterial();
    auto strip = [&](Long first) {
        geometry::require_element(VERTIK, first);
        D3D_DEV->drawPrimitive(dx::D3DPT_TRIANGLESTRIP, dx::D3DFVF_VERTEX, VERTIK.from(first), 4, 0);
    };
    if (ORIENTATION == MUR_PLAFOND_SOL) {
        if (TEXTURE_SOL) D3D_DEV->setTexture(0, TEXTURE_SOL);
        strip(0);
        if (TEXTURE_ROOF) D3D_DEV->setTexture(0, TEXTURE_ROOF);
        strip(4);
        return;
    }
    if (geometry::construction_quads(ORIENTATION).size() != 4) return;   // 7 to 10 and unknown values
    for (Long first = 0; first <= 12; first += 4) strip(first);
}

bool tarko_DX7::Colision_BOX(const D3DVECTOR& vPOS, const D3DRMBOX& BOX, Long BOX_type, Long IN_box,
                             const Variant& STEPcol) {
    const double s = STEPcol.is_missing() ? 5.0 : STEPcol.to_double();
    return geometry::box_wall_collision(vPOS, BOX, BOX_type, IN_box, s);
}
