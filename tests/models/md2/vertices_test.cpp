// The per-frame vertex build: blended points into pre-lit triangle corners,
// the fast build held to the plain one bit for bit, and the subscript errors.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "models/md2/md2.h"
#include "models/md2/md2_writer.h"
#include "runtime/errors.h"
#include "support/test_support.h"

namespace {

using namespace tarko;
using namespace tarko::md2;
using BuildFn = void (*)(const md2::Md2Data&, const md2::Blend&, std::int32_t, std::vector<D3DLVERTEX>&);

md2::Md2Data load(const Model& m) {
    md2::Md2Data d;
    const md2::ReadResult r = md2::read_md2(write_md2(m), d);
    EXPECT_FALSE(r.stopped) << r.stopped->what();
    return d;
}

class Md2Build : public ::testing::TestWithParam<BuildFn> {};

TEST_P(Md2Build, BlendsTwoFramesIntoPreLitCorners) {
    Model m = triangle_model({"a01", "a02", "a03"});
    m.triangles = {{0, 1, 2, 2, 0, 1}};
    const md2::Md2Data d = load(m);
    std::vector<D3DLVERTEX> out(10);
    GetParam()(d, {1, 2, 0.25f}, 0x123456, out);
    ASSERT_EQ(out.size(), 3u);  // three per triangle
    // vertex 0: frame 1 (1.5, 3, 4.5), frame 2 (2, 4, 6): 0.75 x 1.5 + 0.25 x 2 = 1.625,
    // 0.75 x 3 + 0.25 x 4 = 3.25, 0.75 x 4.5 + 0.25 x 6 = 4.875; s/t number 2 is (4/8, 2/4)
    const std::array<float, 5> expected[] = {{1.625f, 3.25f, 4.875f, 0.5f, 0.5f}, {6, 2, 3, 0, 0}, {1, 7, 3, 1, 0}};
    for (std::size_t c = 0; c < 3; ++c) {
        const D3DLVERTEX& v = out[c];
        EXPECT_EQ((std::array{v.x, v.y, v.z, v.tu, v.tv}), expected[c]) << "corner " << c;
        EXPECT_EQ((std::array{v.color, v.specular, v.dvReserved}), (std::array{0x123456, 0, 0})) << c;
    }
}

TEST_P(Md2Build, AFrameOrIndexOutsideItsTableIsASubscriptError) {
    const struct {
        const char* what;
        md2::Blend blend;
        std::array<std::int16_t, 6> triangle;
    } rows[] = {
        {"frame -1 (a position below 0)", {-1, 0, 0}, {0, 1, 2, 0, 1, 2}},
        {"frame past the table", {3, 0, 0}, {0, 1, 2, 0, 1, 2}},
        {"next past the table", {0, 3, 0}, {0, 1, 2, 0, 1, 2}},
        {"vertex number of the point count", {0, 1, 0}, {0, 1, 3, 0, 1, 2}},
        {"negative vertex number", {0, 1, 0}, {0, -1, 2, 0, 1, 2}},
        {"texture coordinate number of the count", {0, 1, 0}, {0, 1, 2, 0, 3, 2}},
        {"negative texture coordinate number", {0, 1, 0}, {0, 1, 2, -32768, 1, 2}},
    };
    for (const auto& row : rows) {
        Model m = triangle_model({"a01", "a02", "a03"});
        m.triangles = {{0, 1, 2, 0, 1, 2}, row.triangle};
        const md2::Md2Data d = load(m);
        std::vector<D3DLVERTEX> out;
        EXPECT_EQ(test::error_of([&] { GetParam()(d, row.blend, 0, out); }), err::SubscriptOutOfRange) << row.what;
    }
    const md2::Md2Data nothing;  // an object with nothing loaded
    std::vector<D3DLVERTEX> out;
    EXPECT_EQ(test::error_of([&] { GetParam()(nothing, {}, 0, out); }), err::SubscriptOutOfRange);

    // A read that stopped at frame 1's name leaves that frame without points
    md2::Md2Data partial = load(triangle_model({"a01", "a02"}));
    ASSERT_TRUE(md2::read_md2(write_md2(triangle_model({"b01", "abcdefghijklmnop"})), partial).stopped);
    for (const md2::Blend b : {md2::Blend{0, 1, 0.5f}, md2::Blend{1, 0, 0.5f}})
        EXPECT_EQ(test::error_of([&] { GetParam()(partial, b, 0, out); }), err::SubscriptOutOfRange) << b.Frame;
}

TEST_P(Md2Build, FramesWithoutTrianglesDrawNothing) {
    Model m = triangle_model({"a01", "a02"});
    m.triangles.clear();
    std::vector<D3DLVERTEX> out(4);
    GetParam()(load(m), {0, 1, 0.5f}, 0, out);
    EXPECT_TRUE(out.empty());
}

INSTANTIATE_TEST_SUITE_P(FastAndPlain, Md2Build,
                         ::testing::Values(&md2::build_md2_vertices, &md2::build_md2_vertices_reference));

TEST(Md2BuildFast, MatchesThePlainBuildBitForBit) {
    const float inf = std::numeric_limits<float>::infinity();
    const float edges[] = {0.0f, -0.0f, 1e-40f, -1e-45f, 1.1f, -3.3f, 1e30f, -3.4e38f, 3.4e38f, inf, 0.1f, 255.5f};
    const float weights[] = {0.0f, 0.25f, 1.0f / 3, 0.99999994f, 1e-8f, 1.0f, 0.7f};
    for (const std::size_t points : {1u, 2u, 3u, 7u, 2049u}) {
        Model m;
        m.skin_width = 3;
        m.skin_height = 7;
        for (std::size_t k = 0; k < points; ++k) m.st.push_back({static_cast<std::int16_t>(k), static_cast<std::int16_t>(-3 * k)});
        for (std::size_t k = 0; k + 2 < 3 * points; ++k)  // every vertex in every corner place, out of order
            m.triangles.push_back({static_cast<std::int16_t>(k % points), static_cast<std::int16_t>((7 * k + 1) % points),
                                   static_cast<std::int16_t>((k * k) % points), static_cast<std::int16_t>((k + 1) % points),
                                   static_cast<std::int16_t>(k % points), static_cast<std::int16_t>((3 * k) % points)});
        for (std::size_t f = 0; f < std::size(edges); ++f) {
            Frame fr;
            fr.name = "e" + std::to_string(f);
            fr.scale = {edges[f], edges[(f + 1) % std::size(edges)], edges[(f + 5) % std::size(edges)]};
            fr.translate = {edges[(f + 3) % std::size(edges)], 0.5f, edges[(f + 7) % std::size(edges)]};
            for (std::size_t k = 0; k < points; ++k)
                fr.points.push_back({static_cast<std::uint8_t>(k * 37), static_cast<std::uint8_t>(255 - k), static_cast<std::uint8_t>(k * k)});
            m.frames.push_back(fr);
        }
        const md2::Md2Data d = load(m);
        std::vector<D3DLVERTEX> fast, plain;
        for (std::size_t f = 0; f < d.Frames.size(); ++f)
            for (const float t : weights) {
                const md2::Blend b{static_cast<std::int64_t>(f), static_cast<std::int64_t>((f + 1) % d.Frames.size()), t};
                md2::build_md2_vertices(d, b, -1, fast);
                md2::build_md2_vertices_reference(d, b, -1, plain);
                ASSERT_EQ(fast.size(), plain.size());
                ASSERT_EQ(std::memcmp(fast.data(), plain.data(), fast.size() * sizeof(D3DLVERTEX)), 0)
                    << points << " points, frame " << f << ", T " << t;
            }
    }
}

}  // namespace
