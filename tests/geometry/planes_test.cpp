// Shaded planes and the auxiliary cube, floor and ceiling quads, and the
// draws of their render operations.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "support/engine_test_support.h"
#include "platform/constants.h"

using namespace tarko;
using tarko::test::Calls;
using tarko::test::EngineFixture;

namespace {

// Grey 255 shades: each channel Int(255 f), packed c + 256 c + 65536 c = 65793 c.
// 255 x 0.8 = 204, x 0.5 = 127.5 -> 127, x 0.15 = 38.25 -> 38, x 0.45 =
// 114.75 -> 114, x 0.35 = 89.25 -> 89, x 0.65 = 165.75 -> 165.
constexpr Long kGrey[8] = {204 * 65793, 16777215, 127 * 65793, 16777215,
                           38 * 65793,  114 * 65793, 89 * 65793, 165 * 65793};

struct LRow {
    float x, y, z;
    int shade;
    float tu, tv;
};

void expect_plane(const SafeArray<D3DLVERTEX>& v, Long first, const LRow (&rows)[8], const Long (&shades)[8]) {
    for (Long i = 0; i < 8; ++i) {
        SCOPED_TRACE(first + i);
        const D3DLVERTEX& got = v(first + i);
        const LRow& w = rows[i];
        EXPECT_EQ((std::vector<float>{got.x, got.y, got.z, got.tu, got.tv}), (std::vector<float>{w.x, w.y, w.z, w.tu, w.tv}));
        EXPECT_EQ((std::vector<Long>{got.color, got.specular}), (std::vector<Long>{shades[w.shade], 0}));
    }
}

}  // namespace

class Planes : public EngineFixture {
protected:
    SafeArray<D3DLVERTEX> ver;
};

TEST_F(Planes, ShadesPackRedLowAndTakeTheWholePartOfEachFactor) {
    // R 100, G 200, B 10: C1 = 100 + 256 x 200 + 65536 x 10 = 706660; C4 =
    // Int(15) + 256 Int(30) + 65536 Int(1.5) = 15 + 7680 + 65536 = 73231.
    engine.Make_PlaneSURF(ver, D3DVECTOR{0, 0, 1}, D3DVECTOR{1, 1, 1}, 100, 200, 10, 1, 1);
    EXPECT_EQ(ver(1).color, 706660);
    EXPECT_EQ(ver(5).color, 73231);   // the z pattern's element 5 takes C4
    engine.Make_PlaneSURF(ver, D3DVECTOR{0, 0, 1}, D3DVECTOR{1, 1, 1}, 255, 255, 255, 1, 1);
    EXPECT_EQ(ver(0).color, kGrey[0]);
    EXPECT_EQ(ver(5).color, 38 * 65793);
}

TEST_F(Planes, EachPatternWritesItsEightVertices) {
    // Corners (1, 2, 5) and (3, 4, 5): equal z, the rectangle at z = 5.
    engine.Make_PlaneSURF(ver, D3DVECTOR{1, 2, 5}, D3DVECTOR{3, 4, 5}, 255, 255, 255, 2, 3);
    ASSERT_EQ(ver.UBound(), 7);
    const LRow across_z[8] = {{1, 2, 5, 0, 0, 3}, {1, 4, 5, 1, 0, 0}, {3, 2, 5, 2, 2, 3}, {3, 4, 5, 3, 2, 0},
                              {1, 4, 5, 3, 0, 0}, {1, 2, 5, 4, 0, 3}, {3, 4, 5, 5, 2, 0}, {3, 2, 5, 6, 2, 3}};
    expect_plane(ver, 0, across_z, kGrey);

    // Corners (1, 7, 2) and (3, 7, 6): equal y, at y = 7.
    engine.Make_PlaneSURF(ver, D3DVECTOR{1, 7, 2}, D3DVECTOR{3, 7, 6}, 255, 255, 255, 2, 3);
    const LRow across_y[8] = {{1, 7, 2, 0, 0, 3}, {1, 7, 6, 1, 0, 0}, {3, 7, 2, 2, 2, 3}, {3, 7, 6, 3, 2, 0},
                              {1, 7, 2, 4, 0, 3}, {1, 7, 6, 5, 0, 0}, {3, 7, 2, 6, 2, 3}, {3, 7, 6, 7, 2, 0}};
    expect_plane(ver, 0, across_y, kGrey);

    // Corners (4, 1, 2) and (4, 3, 6): equal x, at x = 4 and 4.5.
    engine.Make_PlaneSURF(ver, D3DVECTOR{4, 1, 2}, D3DVECTOR{4, 3, 6}, 255, 255, 255, 2, 3);
    const LRow across_x[8] = {{4, 1, 2, 0, 2, 3},   {4, 1, 6, 1, 0, 3},   {4, 3, 2, 2, 2, 0},   {4, 3, 6, 3, 0, 0},
                              {4.5, 3, 2, 4, 0, 0}, {4.5, 3, 6, 5, 2, 0}, {4.5, 1, 2, 6, 0, 3}, {4.5, 1, 6, 7, 2, 3}};
    expect_plane(ver, 0, across_x, kGrey);
}

TEST_F(Planes, TheLastPatternThatAppliesWinsAndNoneWritesNothing) {
    // Equal y and x: the x pattern, written last, stands (element 4 at x + 0.5).
    engine.Make_PlaneSURF(ver, D3DVECTOR{4, 7, 2}, D3DVECTOR{4, 7, 6}, 255, 255, 255, 1, 1);
    EXPECT_EQ(ver(4).x, 4.5f);
    // Equal z and y: the y pattern, whose element 4 takes C4 (the z one C3).
    engine.Make_PlaneSURF(ver, D3DVECTOR{1, 7, 5}, D3DVECTOR{3, 7, 5}, 255, 255, 255, 1, 1);
    EXPECT_EQ(ver(4).color, kGrey[4]);

    // All three differ: redimensioned to 7, nothing written, old contents kept.
    SafeArray<D3DLVERTEX> kept(0, 2);
    kept(1).color = 99;
    engine.Make_PlaneSURF(kept, D3DVECTOR{0, 0, 0}, D3DVECTOR{1, 1, 1}, 255, 255, 255, 1, 1);
    EXPECT_EQ(kept.UBound(), 7);
    EXPECT_EQ(kept(1).color, 99);
}

TEST_F(Planes, AuxCubeHasSixPlanesAroundTheBox) {
    // From (0, 0, 0), size (2, 4, 6): X1 = 2, Y1 = 4, Z1 = 6.
    engine.MakeAux_SolidCUBE(ver, D3DVECTOR{0, 0, 0}, D3DVECTOR{2, 4, 6}, 255, 255, 255, 1, 1);
    ASSERT_EQ(ver.UBound(), 47);
    const struct { Long element; float x, y, z; Long colour; } rows[] = {
        {0, 0, 0, 0, kGrey[0]},     // z = Z0: X0, Y0
        {15, 2, 0, 6, kGrey[6]},    // z = Z1, z pattern's last: X1, Y0, C6
        {16, 0, 0, 0, kGrey[0]},    // y = Y0: X0, Z0
        {31, 2, 4, 6, kGrey[7]},    // y = Y1, last: X1, Z1, C7
        {36, 0.5f, 4, 0, kGrey[4]}, // x = X0, offset row: X0 + 0.5, Y1, Z0
        {40, 2, 0, 0, kGrey[0]},    // x = X1: Y0, Z0
        {47, 2.5f, 0, 6, kGrey[7]}, // x = X1 + 0.5, Y0, Z1
    };
    for (const auto& r : rows) {
        const D3DLVERTEX& g = ver(r.element);
        EXPECT_EQ((std::vector<float>{g.x, g.y, g.z}), (std::vector<float>{r.x, r.y, r.z})) << r.element;
        EXPECT_EQ(g.color, r.colour) << r.element;
    }
    // The far corner is From + size: from (1, 1, 1), size 0, element 47 at x 1.5.
    engine.MakeAux_SolidCUBE(ver, D3DVECTOR{1, 1, 1}, D3DVECTOR{0, 0, 0}, 255, 255, 255, 1, 1);
    EXPECT_EQ(ver(47).x, 1.5f);
}

TEST_F(Planes, FloorAndCeilingQuadsAreCentredAndFaceOutOfTheirSide) {
    SafeArray<D3DVERTEX> floor, roof;
    engine.Create_PlaneSurf(floor, D3DVECTOR{4, 2, 6}, Variant::missing(), Variant::missing());
    engine.Create_Roof_Surf(roof, D3DVECTOR{4, 2, 6}, Variant(3.0), Variant("2"));
    ASSERT_EQ(floor.UBound(), 3);
    ASSERT_EQ(roof.UBound(), 3);
    // Halves (2, 1, 3). Floor: y = +1, normal +y, default tiles 0 and 1.
    // Ceiling: y = -1, normal -y, tiles 3 and 2.
    const struct { float x, y, z, ny, tu, tv; } want[2][4] = {
        {{-2, 1, 3, 1, 0, 0}, {2, 1, 3, 1, 1, 0}, {-2, 1, -3, 1, 0, 1}, {2, 1, -3, 1, 1, 1}},
        {{-2, -1, 3, -1, 0, 0}, {-2, -1, -3, -1, 0, 2}, {2, -1, 3, -1, 3, 0}, {2, -1, -3, -1, 3, 2}}};
    for (int q = 0; q < 2; ++q)
        for (Long i = 0; i < 4; ++i) {
            const D3DVERTEX& g = (q ? roof : floor)(i);
            const auto& w = want[q][i];
            EXPECT_EQ((std::vector<float>{g.x, g.y, g.z, g.nx, g.ny, g.nz, g.tu, g.tv}),
                      (std::vector<float>{w.x, w.y, w.z, 0, w.ny, 0, w.tu, w.tv})) << q << " " << i;
        }
}

TEST_F(Planes, RenderOperationsSendTheirStripsAndStopAtTheFirstMissingStart) {
    SafeArray<D3DLVERTEX> plane, cube;
    SafeArray<D3DVERTEX> quad;
    engine.Make_PlaneSURF(plane, D3DVECTOR{0, 0, 0}, D3DVECTOR{1, 1, 0}, 255, 255, 255, 1, 1);
    engine.MakeAux_SolidCUBE(cube, D3DVECTOR{0, 0, 0}, D3DVECTOR{1, 1, 1}, 255, 255, 255, 1, 1);
    engine.Create_PlaneSurf(quad, D3DVECTOR{1, 1, 1});
    open();
    const std::string lit = "Direct3DDevice7.drawPrimitive 5, 482, ";
    engine.Render_surf(plane);
    engine.Render_surf(plane, 4);
    EXPECT_EQ(device_calls(), (Calls{lit + "8, 1", lit + "4, 1"}));
    platform::trace().clear();
    engine.Render_AUXcube(cube);
    EXPECT_EQ(device_calls(), Calls(6, lit + "8, 1"));
    platform::trace().clear();
    engine.RenderPlane_SURF(quad);
    EXPECT_EQ(device_calls(), Calls{"Direct3DDevice7.drawPrimitive 5, 274, 4, 0"});
    EXPECT_TRUE(platform::trace().matching("DirectDraw").empty());
    // Each stops at the first missing start.
    platform::trace().clear();
    SafeArray<D3DLVERTEX> none, short_cube(0, 20);   // starts 0, 8, 16 exist; 24 does not
    SafeArray<D3DVERTEX> never;
    EXPECT_EQ(error_of([&] { engine.Render_surf(none); }), err::SubscriptOutOfRange);
    SafeArray<D3DLVERTEX> empty(0, -1);                    // dimensioned, no element 0
    EXPECT_EQ(error_of([&] { engine.Render_surf(empty, 0); }), err::SubscriptOutOfRange);
    EXPECT_EQ(error_of([&] { engine.RenderPlane_SURF(never); }), err::SubscriptOutOfRange);
    EXPECT_TRUE(device_calls().empty());
    EXPECT_EQ(error_of([&] { engine.Render_AUXcube(short_cube); }), err::SubscriptOutOfRange);
    EXPECT_EQ(device_calls(), Calls(3, "Direct3DDevice7.drawPrimitive 5, 482, 8, 1"));
}

TEST_F(Planes, EachAuxStripStartsAtItsOwnElement) {
    // Only elements 40..47 hold geometry: a red square over the whole view
    // (eye at z = -5 sees half-widths of 5 / 2.41 = 2.07 at z = 0); the other
    // strips are points at the origin. Drawn from anywhere else, the view
    // stays the clear colour.
    open(32, 24);
    engine.device_CLEAR_COLOR = 0x000040;
    engine.SET_camera_DirectioN(D3DVECTOR{0, 0, -5}, D3DVECTOR{0, 0, 0});
    SafeArray<D3DLVERTEX> cube(0, 47);
    const float corner[4][2] = {{-10, 10}, {10, 10}, {-10, -10}, {10, -10}};
    for (Long i = 40; i <= 47; ++i) {
        const auto& c = corner[std::min<Long>(i - 40, 3)];
        cube(i) = D3DLVERTEX{c[0], c[1], 0, 0, static_cast<std::int32_t>(0xFFFF0000u), 0, 0, 0};
    }
    engine.Clear_3D();
    engine.D3D_DEV->beginScene();
    engine.Set_Light(false);
    engine.Render_AUXcube(cube);
    engine.D3D_DEV->endScene();
    engine.FLIPP(hwnd);
    EXPECT_EQ(window->frame().at(16, 12) & 0xFFFFFFu, 0xFF0000u);
}
