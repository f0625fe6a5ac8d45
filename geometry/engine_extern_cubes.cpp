// The engine's own list of textured cubes placed in the world, each of which
// can hold the camera out.
#include "engine/tarko_dx7.h"
#include "platform/constants.h"
#include "runtime/numeric.h"

using tarko::Integer;
using tarko::Long;
using tarko::Variant;

namespace {
float sum(float a, double b) { return static_cast<float>(a + b); }
constexpr double kCameraMargin = 5;
}  // namespace

Integer tarko_DX7::ADD_cubeEXTERN_face(const D3DVECTOR& Origin, const D3DVECTOR& Size, Long, Long, Long,
                                       const std::string& TEXT_file, const Variant& TileX, const Variant& TileY) {
    ExternCubeCount = tarko::runtime::CInt(static_cast<double>(ExternCubeCount) + 1);
    ExternCubes.ReDimPreserve(ExternCubeCount);
    ExternCube& cube = ExternCubes(ExternCubeCount - 1);
    cube.Center = D3DVECTOR{sum(Origin.x, Size.x / 2.0), sum(Origin.y, Size.y / 2.0), sum(Origin.z, Size.z / 2.0)};
    cube.XMin = Origin.x;
    cube.ZMax = sum(Origin.z, Size.z);
    cube.XMax = sum(Origin.x, Size.x);
    cube.ZMin = Origin.z;
    CreateCubeEX(cube.Vertices, Size, TileX, TileY);
    if (!TEXT_file.empty()) {
        cube.Texture = CreateTextureEX(TEXT_file, 64, 64);   // a failure leaves the entry in the list
        cube.TextureFile = TEXT_file;
    }
    return static_cast<Integer>(ExternCubeCount - 1);
}

void tarko_DX7::Render_EXTERNcube(const Variant& Pindex, bool UseCamColision, Long TYPvertex) {
    const ExternCube& cube = ExternCubes(Pindex.to_long());
    if (!cube.TextureFile.empty()) D3D_DEV->setTexture(0, cube.Texture);
    if (UseCamColision) {
        const double x = CamEye.x, z = CamEye.z;
        if (cube.XMin - kCameraMargin <= x && x < cube.XMax + kCameraMargin && cube.ZMin - kCameraMargin <= z &&
            z < cube.ZMax + kCameraMargin) {
            Colision_CUBE = true;
            REcallCAM();
        }
    }
    if (TYPvertex != vertex_TYPE) return;
    const D3DVECTOR centre = cube.Center;
    const tarko::SafeArray<D3DVERTEX>& vertices = cube.Vertices;
    OBJECT_move(Variant(centre.x), Variant(centre.y), Variant(centre.z));
    RenderCUBE(vertices);
    CLearMATRIX();
}
