// Altitude queries and DetectCollision on a 6 x 6 grid at p = 10 (vertex
// (i, j) at (10 i, H, 10 j)). Every height is 5 but for cell (3, 3):
// a = (3, 3) 10, b = (4, 3) 20, c = (3, 4) 30, d = (4, 4) 60, and the far
// end (5, 6) = 105, which shows through the wrap of row 0.
//
// In cell (3, 3), with fx = (x - 30) / 10 and fz = (z - 30) / 10:
//   first triangle (c, b, a), fx + fz <= 1: u = fx, v = 1 - fx - fz,
//     height = 30 + u (20 - 30) + v (10 - 30) = 10 + 10 fx + 20 fz;
//   second (c, d, b), fx + fz >= 1: u = fx + fz - 1, v = 1 - fz,
//     height = 30 + u (60 - 30) + v (20 - 30).
#include <cmath>
#include <limits>
#include <string>

#include "world_helpers.h"
#include "support/engine_test_support.h"
#include "world/cTarko_landScape.h"

using namespace tarko;
using tarko::test::EngineFixture;

namespace {

std::uint32_t height_of(int i, int j) {
    if (i == 3 && j == 3) return 10;
    if (i == 4 && j == 3) return 20;
    if (i == 3 && j == 4) return 30;
    if (i == 4 && j == 4) return 60;
    if (i == 5 && j == 6) return 105;
    return 5;
}

D3DVECTOR at(float x, float z) { return D3DVECTOR{x, 999, z}; }   // y is never read

}  // namespace

class Altitude : public EngineFixture {
protected:
    void SetUp() override {
        EngineFixture::SetUp();
        const auto path = test::scratch_dir("altitude") / "cell.bmp";
        // Sample (i, j) is picture pixel ((i - 1) 10, (j - 1) 10).
        test::write_bmp(path, 60, 60, [](int x, int y) { return height_of(x / 10 + 1, y / 10 + 1) << 16; });
        land.INITIALIZE(engine);
        land.LoadTerrain(path.string(), Variant(10), Variant(1), 1, 1);
    }
    cTarko_landScape land;
};

TEST_F(Altitude, AnswersOnEachTriangleEdgeAndOutside) {
    struct Probe { const char* where; float x, z, height, u, v; };   // height: Get_Altitude_EX; u, v: _U, _V
    const Probe probes[] = {
        // First triangle: fx 0.2, fz 0.3 -> 10 + 2 + 6 = 18, u 0.2, v 0.5.
        {"first triangle", 32, 33, 18, 0.2f, 0.5f},
        // Second: fx 0.8, fz 0.6 -> u 0.4, v 0.4, 30 + 12 - 4 = 38; the first
        // triangle missed, so t1 is 0 and _U and _V give the height.
        {"second triangle", 38, 36, 38, 38, 38},
        // Cell (2, 3)'s second triangle answers first: its edge b-d at x 30
        // runs from 10 (z 30) to 30 (z 40); its first missed, so all say 20.
        {"edge between cells", 30, 35, 20, 20, 20},
        {"flat cell, second triangle", 57, 44, 5, 5, 5},   // fx 0.7, fz 0.4
        // Row 0 wraps: cell (5, 0)'s second triangle (5,1) (6,1) (5,6) is
        // tested before cell (5, 1) and spans z 10..60: u 0.2, v 0.1 ->
        // 5 + 0.1 x (105 - 5) = 15, not the 5 below it.
        {"row 0 wrap", 52, 15, 15, 15, 15},
        // x 10..20 is refused (i = 1), as is the last strip z 50..60 and
        // anything past the grid.
        {"first column strip", 15, 35, 0, 0, 0},
        {"last row strip", 35, 55, 0, 0, 0},
        {"past the last column", 65, 35, 0, 0, 0},
        {"before the grid", -5, -5, 0, 0, 0},
        {"far away", 1e30f, -1e30f, 0, 0, 0},
    };
    for (const Probe& p : probes) {   // unit placement: world = grid; box W = D = 60 from element 0
        SCOPED_TRACE(p.where);
        const D3DVECTOR q = at(p.x, p.z);
        test::expect_floats({land.Get_Altitude_EX(q), land.Get_Altitude_U(q), land.Get_Altitude_V(q)}, {p.height, p.u, p.v}, 1e-4);
    }
    // On the cell's diagonal both triangles give 10 + 5 + 10 = 25.
    EXPECT_NEAR(land.Get_Altitude_EX(at(35, 35)), 25, 1e-4);
    const float nan = std::numeric_limits<float>::quiet_NaN();
    EXPECT_EQ(land.Get_Altitude_U(at(nan, 35)), 0);
}

TEST_F(Altitude, WorldQueriesMapThroughPlacementAndScaleHeightsByVscalY) {
    land.Vscal(D3DVECTOR{2, 3, 2});
    land.vPosition(D3DVECTOR{100, 7, -50});
    // Grid (32, 33) is world (100 + 64, -50 + 66): 3 x 18 = 54, P.y not added.
    EXPECT_NEAR(land.Get_Altitude_EX(at(164, 16)), 54, 1e-3);
    test::expect_floats({land.Get_Angle_U(at(164, 16)), land.Get_Angle_V(at(164, 16))}, {0.2f, 0.5f}, 1e-4);
    // The grid queries ignore the placement.
    EXPECT_NEAR(land.Get_Altitude_U(at(32, 33)), 0.2f, 1e-4);
    // The box's edges are outside: x from 100 to 100 + 60 x 2, z -50 to 70.
    for (const D3DVECTOR& p : {at(100, 16), at(220, 16), at(164, 70), at(164, -50)})
        EXPECT_EQ(land.Get_Altitude_EX(p), 0) << p.x << ", " << p.z;
}

TEST_F(Altitude, DetectCollisionReachesPrecisionCollideAlongTheDirection) {
    struct Shot { D3DVECTOR origin, dest; bool hit; };
    // The surface is at 18 under (32, 33); PrecisionCollide is 5.
    const Shot shots[] = {
        {{32, 20, 33}, {32, 0, 33}, true},      // t = 2
        {{32, 24, 33}, {32, 0, 33}, false},     // t = 6
        {{32, 16, 33}, {32, 100, 33}, true},    // from below: no culling, t = 2
        {{32, 20, 33}, {32, 40, 33}, false},    // away from it: t = -2
        {{32, 20, 33}, {32, 20, 33}, false},    // zero direction
        // From the flat cell's surface at 5, almost along it: the target
        // 1e-6 up stores as 5.00000095, so det = -100 x 9.5e-8 is inside
        // the +-0.0001 dead band and the t = 0 hit is not counted.
        {{57, 5, 44}, {67, 5.000001f, 44}, false},
    };
    for (const Shot& s : shots) {
        D3DVECTOR o = s.origin, d = s.dest;
        EXPECT_EQ(land.DetectCollision(o, d), s.hit) << s.origin.y << " to " << s.dest.y;
    }
    land.PrecisionCollide = 7;
    D3DVECTOR o{32, 24, 33}, d{32, 0, 33};
    EXPECT_TRUE(land.DetectCollision(o, d));   // t = 6 < 7
}

TEST_F(Altitude, DetectCollisionLeavesTheDirectionInTheCallersDest) {
    D3DVECTOR o{32, 20, 33}, d{32, 0, 33};
    ASSERT_TRUE(land.DetectCollision(o, d));
    EXPECT_EQ(test::xyz(d), (std::vector<float>{0, -1, 0}));
    // Again with the same variable: (0, -1, 0) - (32, 20, 33) normalised
    // points down at 25 degrees while the surface there falls faster along
    // it (slope 1 in x, 2 in z), so nothing lies ahead within 5.
    EXPECT_FALSE(land.DetectCollision(o, d));
}

TEST_F(Altitude, NothingAnswersBeforeLoadTerrain) {
    cTarko_landScape fresh;
    fresh.INITIALIZE(engine);
    test::expect_floats({fresh.Get_Altitude_EX(at(32, 33)), fresh.Get_Altitude_U(at(32, 33)), fresh.Get_Angle_V(at(32, 33))},
                        {0, 0, 0});
    D3DVECTOR o{32, 20, 33}, d{32, 0, 33};
    EXPECT_FALSE(fresh.DetectCollision(o, d));
    EXPECT_EQ(d.y, 0);   // Dest left alone
    // Loaded but inactive: the flag alone silences the queries.
    land.is_ACTIVE = false;
    test::expect_floats({land.Get_Altitude_U(at(32, 33)), land.Get_Altitude_EX(at(32, 33))}, {0, 0});
}
