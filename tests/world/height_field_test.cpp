// The grid of a height picture: vertex numbering, positions, colours and
// texture coordinates, the triangle list, the bounds, the size limits, and
// RenderAll's calls on a recording device.
#include <cmath>
#include <string>

#include "world_helpers.h"
#include "support/engine_test_support.h"
#include "world/cTarko_landScape.h"
#include "world/height_field.h"

using namespace tarko;
using tarko::test::Calls;
using tarko::test::EngineFixture;
using tarko::world::build_height_field;
using tarko::world::HeightField;

namespace {

// Red x + 2y, with green and blue that must be ignored.
Long red_x_plus_2y(Long x, Long y) { return (x + 2 * y) + 200 * 256 + 100 * 65536; }

HeightField grid_100_by_60() {
    // p 10: nX = 10, nZ = 6; YFactor 0.5, tu 2, tv 3.
    return build_height_field(100, 60, red_x_plus_2y, Variant(10), Variant(0.5), 2, 3);
}

}  // namespace

TEST(HeightField, A100By60PictureAtPrecision10GivesTenColumnsOfSix) {
    const HeightField g = grid_100_by_60();
    // Vertices 1..60, element 0 unused; 9 x 5 cells x 6 = 270 indices.
    EXPECT_EQ((std::vector<Long>{g.columns, g.rows, g.vertices.UBound(), g.lit_vertices.UBound(), g.indices.UBound()}),
              (std::vector<Long>{10, 6, 60, 60, 269}));
}

TEST(HeightField, IndicesRunCBACDBPerCellWithJFastest) {
    const HeightField g = grid_100_by_60();
    // Cell (1, 1): a = 1, b = 7, c = 2, d = 8; cell (1, 2): a = 2, b = 8.
    const auto run = [&](Long from, Long count) {
        std::vector<Integer> out;
        for (Long n = from; n < from + count; ++n) out.push_back(g.indices(n));
        return out;
    };
    EXPECT_EQ(run(0, 12), (std::vector<Integer>{2, 7, 1, 2, 8, 7, 3, 8, 2, 3, 9, 8}));
    // Cell (9, 5): a = 8 x 6 + 5 = 53, b = 59, c = 54, d = 60.
    EXPECT_EQ(run(264, 6), (std::vector<Integer>{54, 59, 53, 54, 60, 59}));
}

TEST(HeightField, AVertexTakesItsPositionFromTheRedOfItsSample) {
    const HeightField g = grid_100_by_60();
    // (i, j) = (3, 4) is vertex 2 x 6 + 4 = 16, sampled at picture (20, 30):
    // red 20 + 60 = 80, y = 0.5 x 80 = 40; tu 3/10 x 2 = 0.6, tv 4/6 x 3 = 2.
    const D3DVERTEX& v = g.vertices(16);
    const D3DLVERTEX& l = g.lit_vertices(16);
    test::expect_floats({v.x, v.y, v.z, v.nx, v.ny, v.nz, v.tu, v.tv}, {30, 40, 40, 0, 0, 0, 0.6f, 2.0f});
    EXPECT_EQ((std::vector<float>{l.x, l.y, l.z, l.tu, l.tv}), (std::vector<float>{v.x, v.y, v.z, v.tu, v.tv}));
    EXPECT_EQ((std::vector<std::int32_t>{l.color, l.specular}), (std::vector<std::int32_t>{0x999999, 0x999999}));   // RGB(153, 153, 153)
}

TEST(HeightField, BoundsCoverTheGridAndTheBoxAlsoElementZero) {
    const HeightField g = grid_100_by_60();
    // x 10..100, z 10..60, y 0..95 (red 90 + 100 = 190 at (10, 6), halved).
    test::expect_floats(test::xyz(g.centre), {55, 47.5f, 35});
    EXPECT_NEAR(g.radius, 67.175144f, 1e-4);   // the largest half extent 47.5 x sqrt 2
    EXPECT_EQ((std::vector<float>{g.box.min.x, g.box.min.z}), (std::vector<float>{0, 0}));
    test::expect_floats(test::xyz(g.box.max), {100, 95, 60});
}

TEST(HeightField, ANegativeYFactorPutsTheGridBelowZero) {
    // 10 wide at p 3: nX = 3, samples at x = 0, 3, 6 (red = x); vertex 5 is (3, 1): -2 x 6.
    const HeightField g = build_height_field(10, 7, [](Long x, Long) { return x; }, Variant(3), Variant(-2), 1, 1);
    EXPECT_FLOAT_EQ(g.vertices(5).y, -12);
}

TEST(HeightField, SetTextureCoordinatesRewritesBothArraysAndKeepsPositions) {
    HeightField g = grid_100_by_60();
    tarko::world::set_texture_coordinates(g, 10, 12);
    // Vertex 16 = (3, 4): 3/10 x 10 = 3, 4/6 x 12 = 8.
    test::expect_floats({g.vertices(16).tu, g.lit_vertices(16).tv, g.lit_vertices(16).y}, {3, 8, 40});
}

struct SizeCase { const char* name; Long width, height; double precision; std::int32_t error; };   // error 0: loads

class HeightFieldSizes : public ::testing::TestWithParam<SizeCase> {};

TEST_P(HeightFieldSizes, FailWithTheirErrorBeforeAnyArrayIsMade) {
    const SizeCase& c = GetParam();
    const auto zero = [](Long, Long) { return Long{0}; };
    EXPECT_EQ(test::error_of([&] { build_height_field(c.width, c.height, zero, Variant(c.precision), Variant(1), 1, 1); }),
              c.error);
}

// 181 x 181 = 32761 vertices fit 16-bit indices; 182 x 182 = 33124 do not.
INSTANTIATE_TEST_SUITE_P(Table, HeightFieldSizes, ::testing::Values(
    SizeCase{"largest_square", 181, 181, 1, 0},
    SizeCase{"one_too_many", 182, 182, 1, err::Overflow},
    SizeCase{"long_strip", 2, 16383, 1, 0},                  // 32766 vertices
    SizeCase{"huge_picture", 16384, 16384, 1, err::Overflow},
    SizeCase{"side_outside_integer", 40000, 2, 1, err::Overflow},
    SizeCase{"precision_zero", 100, 100, 0, err::DivisionByZero},
    SizeCase{"one_column", 1, 100, 1, err::SubscriptOutOfRange},
    SizeCase{"precision_above_width", 100, 100, 101, err::SubscriptOutOfRange},
    SizeCase{"negative_precision", 100, 100, -1, err::SubscriptOutOfRange},
    SizeCase{"nan_precision", 100, 100, std::nan(""), err::Overflow}),
    [](const auto& info) { return std::string(info.param.name); });

// ---- through the class: the picture file, placement and the draw

class Landscape : public EngineFixture {
protected:
    // 4 x 3 picture, red 10 x + 50 y, green 255: the top row is j = 1.
    std::string small_picture() {
        const auto path = test::scratch_dir("landscape") / "small.bmp";
        test::write_bmp(path, 4, 3, [](int x, int y) { return static_cast<std::uint32_t>((10 * x + 50 * y) << 16 | 0xFF00); });
        return path.string();
    }
    void load(double precision = 1) { land.LoadTerrain(small_picture(), Variant(precision), Variant(1), 1, 1); }
    Calls render() {
        platform::trace().clear();
        land.RenderAll();
        return device_calls();
    }
    cTarko_landScape land;
};

TEST_F(Landscape, LoadTerrainReadsThePictureTopRowFirstAndRedOnly) {
    land.INITIALIZE(engine);
    load();
    ASSERT_TRUE(land.is_ACTIVE);
    EXPECT_EQ(land.PrecisionCollide, 5.0f);
    const auto& g = land.grid();
    ASSERT_EQ(g.columns, 4);
    ASSERT_EQ(g.rows, 3);
    // Vertex (2, 3) = 1 x 3 + 3 = 6 samples picture (1, 2): 10 + 100 = 110.
    test::expect_floats(test::xyz(g.vertices(6)), {2, 110, 3});
    test::expect_floats({g.vertices(1).y, g.vertices(10).y}, {0, 30});   // vertex 10 is (4, 1): picture (3, 0)
}

TEST_F(Landscape, AFailedLoadKeepsTheGridAndCallsBeforeInitializeRaise91) {
    EXPECT_EQ(error_of([&] { load(); }), err::ObjectNotSet);
    EXPECT_EQ(error_of([&] { land.RenderAll(); }), err::ObjectNotSet);
    EXPECT_EQ(error_of([&] { land.Water_Render(); }), 0);   // not enabled: nothing to do
    land.SetWaterEnable(true);
    EXPECT_EQ(error_of([&] { land.Water_Render(); }), err::ObjectNotSet);
    land.INITIALIZE(engine);
    open();
    // No grid yet: the empty sphere at the origin sits on the eye, so nothing
    // is drawn; seen from 10 back it is inside, and the missing array is 9.
    EXPECT_EQ(error_of([&] { land.RenderAll(); }), 0);
    EXPECT_EQ(land.Visible, 0);
    engine.SET_camera_DirectioN(D3DVECTOR{0, 0, -10}, D3DVECTOR{0, 0, 0});
    EXPECT_EQ(error_of([&] { land.RenderAll(); }), err::SubscriptOutOfRange);
    EXPECT_EQ(error_of([&] { land.LoadTerrain("no such file.bmp", Variant(1), Variant(1), 1, 1); }),
              err::FileNotFound);
    EXPECT_FALSE(land.is_ACTIVE);
    load();
    EXPECT_EQ(error_of([&] { load(0); }), err::DivisionByZero);
    EXPECT_TRUE(land.is_ACTIVE);
    EXPECT_EQ(land.grid().columns, 4);
}

TEST_F(Landscape, RenderAllPlacesTestsTheSphereAndDrawsOneListShortOfItsLastTriangle) {
    open();
    land.INITIALIZE(engine);
    load();
    // Placed just ahead of the start-up camera (at the origin, looking +z), its sphere wholly inside the view.
    land.Set_Position(Variant(-2.0), Variant(-60.0), Variant(1000.0));
    land.Set_Scale(Variant(1.0), Variant(0.5), Variant(1.0));
    // 12 vertices; 3 x 2 cells x 6 = 36 entries, 33 drawn.
    test::expect_calls(render(), {"setTransform 1, 1, 0, 0, 0, 0, 1,*",
                                        "setTransform 1, 1, 0, 0, 0, 0, 0.5, 0, 0, 0, 0, 1, 0, -2, -60, 1000, 1*",
                                        "computeSphereVisibility 2.5, 65, 2, *", "setRenderState 137, 0",
                                        "drawIndexedPrimitive 4, 482, 12, 33, 0", "setTransform 1, 1, 0, 0, 0, 0, 1,*"});
    EXPECT_EQ(land.Visible, 2);

    platform::trace().clear();
    land.RenderAll(false);   // the plain vertices, lighting on
    test::expect_calls(device_calls(), {"*", "*", "*", "setRenderState 137, -1", "drawIndexedPrimitive 4, 274, 12, 33, 0", "*"});

    // Near, the sphere (radius 65 x sqrt 2 = 91.9 round (0.5, 32.5 - 60, 22))
    // reaches behind the eye: partly inside, still drawn.
    land.Set_Position(Variant(-2.0), Variant(-60.0), Variant(20.0));
    EXPECT_EQ(render().size(), 6u);
    EXPECT_EQ(land.Visible, 1);

    // Behind the camera nothing is drawn and the placement stays in force.
    land.Set_Position(Variant(0.0), Variant(0.0), Variant(-1000.0));
    EXPECT_EQ(render().size(), 3u);
    EXPECT_EQ(land.Visible, 0);
}
