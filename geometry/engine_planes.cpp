// Planes and the shaded auxiliary cube of the engine object: built by
// tarko::geometry, drawn as triangle strips.
#include "engine/tarko_dx7.h"
#include "geometry/host_array.h"
#include "geometry/planes.h"
#include "platform/constants.h"

using tarko::Long;
using tarko::Variant;
namespace geometry = tarko::geometry;

void tarko_DX7::Make_PlaneSURF(tarko::SafeArray<D3DLVERTEX>& VER, const D3DVECTOR& Vec_From, const D3DVECTOR& VEC_to,
                               Long R, Long G, Long B, Long Xtile, Long Ytile) {
    const auto plane = geometry::plane_between(Vec_From, VEC_to, geometry::shades(R, G, B),
                                               static_cast<float>(Xtile), static_cast<float>(Ytile));
    geometry::prepare_host_array(VER, geometry::kPlaneUpperBound);
    if (plane)
        for (Long i = 0; i <= geometry::kPlaneUpperBound; ++i) VER(i) = (*plane)[static_cast<std::size_t>(i)];
}

void tarko_DX7::MakeAux_SolidCUBE(tarko::SafeArray<D3DLVERTEX>& VER, const D3DVECTOR& Vec_From,
                                  const D3DVECTOR& VEC_SIZE, Long R, Long G, Long B, Long Xtile, Long Ytile) {
    geometry::write_items(VER, geometry::aux_solid_cube(Vec_From, VEC_SIZE, geometry::shades(R, G, B),
                                                        static_cast<float>(Xtile), static_cast<float>(Ytile)));
}

void tarko_DX7::Create_PlaneSurf(tarko::SafeArray<D3DVERTEX>& Vertices, const D3DVECTOR& Vsize, const Variant& TileX,
                                 const Variant& TileY) {
    const float tx = geometry::tile_argument(TileX), ty = geometry::tile_argument(TileY);
    geometry::write_items(Vertices, geometry::floor_quad(D3DVECTOR{Vsize.x / 2, Vsize.y / 2, Vsize.z / 2}, tx, ty));
}

void tarko_DX7::Create_Roof_Surf(tarko::SafeArray<D3DVERTEX>& Vertices, const D3DVECTOR& Vsize, const Variant& TileX,
                                 const Variant& TileY) {
    const float tx = geometry::tile_argument(TileX), ty = geometry::tile_argument(TileY);
    geometry::write_items(Vertices, geometry::roof_quad(D3DVECTOR{Vsize.x / 2, Vsize.y / 2, Vsize.z / 2}, tx, ty));
}

void tarko_DX7::Render_surf(const tarko::SafeArray<D3DLVERTEX>& PLA, Long Count) {
    geometry::require_element(PLA, 0);
    D3D_DEV->drawPrimitive(dx::D3DPT_TRIANGLESTRIP, dx::D3DFVF_LVERTEX, PLA.from(0), Count, dx::D3DDP_WAIT);
}

void tarko_DX7::Render_AUXcube(const tarko::SafeArray<D3DLVERTEX>& PLA) {
    for (Long first = 0; first <= 40; first += 8) {
        geometry::require_element(PLA, first);
        D3D_DEV->drawPrimitive(dx::D3DPT_TRIANGLESTRIP, dx::D3DFVF_LVERTEX, PLA.from(first), 8, dx::D3DDP_WAIT);
    }
}

void tarko_DX7::RenderPlane_SURF(const tarko::SafeArray<D3DVERTEX>& VERTIK) {
    geometry::require_element(VERTIK, 0);
    D3D_DEV->drawPrimitive(dx::D3DPT_TRIANGLESTRIP, dx::D3DFVF_VERTEX, VERTIK.from(0), 4, 0);
}
