// Light maps baked per group, the light-map table, and "TVLM" files.
#include <memory>
#include <tuple>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "mesh/mesh.h"
#include "runtime/byte_reader.h"
#include "support/test_support.h"
#include "mesh_fixture.h"
#include "tvlm_writer.h"

using namespace tarko;
using test::TvlmMapRecord;
using test::write_tvlm;

namespace {

D3DLIGHT7 point_light(D3DVECTOR at, float range, D3DCOLORVALUE diffuse, std::int32_t type = D3DLIGHT_POINT) {
    D3DLIGHT7 l;
    l.dltType = type;
    l.position = at;
    l.range = range;
    l.diffuse = diffuse;
    return l;
}

class LightMaps : public test::MeshModuleTest<> {
protected:
    void SetUp() override {
        MeshModuleTest::SetUp();
        mesh = std::make_unique<Mesh>();
    }
    // A group of three vertices P0, P1, P2 (more follow if given).
    void group(Integer g, std::vector<D3DVECTOR> points, Mesh* on = nullptr) {
        Mesh& m = on ? *on : *mesh;
        m.SetGroupPointer(g);
        Long n = 0;
        for (const auto& p : points) m.AddVertex(p.x, p.y, p.z, -1, 0, 0, 0, 0, 0, false, n);
    }
    // P0 (0, 0, 0), P1 (0, 0, 4), P2 (8, 0, 0): E1 = (8, 0, 0), E2 = (0, 0, 4). At
    // Density 16 (1 texel a unit) W = |E2| = 4 runs along E1 and H = |E1| = 8
    // along E2: texel (x, y) lies at (2 x, 0, 0.5 y).
    void plane(Integer g = 1, Mesh* on = nullptr) { group(g, {{0, 0, 0}, {0, 0, 4}, {8, 0, 0}}, on); }
    Ref<DirectDrawSurface7> map(Integer g) const {
        const Integer slot = mesh->record().Groups[static_cast<std::size_t>(g)].LightMapSlot;
        return mesh::module().LightMapTable[static_cast<std::size_t>(slot)];
    }
    // 0x00RRGGBB as the X8R8G8B8 surface holds it.
    std::uint32_t texel(Integer g, int x, int y) const { return map(g)->raw_at(x, y) & 0xFFFFFFu; }
};

const D3DCOLORVALUE kWarm{1, 0.5f, 0.25f, 1}, kWhite{1, 1, 1, 1};

}  // namespace

TEST_F(LightMaps, OneLightAddsItsDiffuseByDistanceAloneAndLightsAreSummedOverAmbientThenClamped) {
    plane();
    Mesh::SetBakeLight(0, point_light({0, 3, 0}, 10, kWarm), true);
    mesh->GenerateLightMap(16, Variant(), 0);
    ASSERT_TRUE(map(1));
    EXPECT_EQ(std::tuple(map(1)->width(), map(1)->height()), std::tuple(4, 8));
    // (0, 0): distance 3, a = 1 - 3/10 = 0.7: 0.7 x 255 = 178.5 -> 178, x 0.5 -> 89, x 0.25 -> 44.
    EXPECT_EQ(texel(1, 0, 0), 0xB2592Cu);
    // (2, 0) at (4, 0, 0), 53 degrees off vertical: distance 5, a = 0.5: 127, 63, 31. No angle term.
    EXPECT_EQ(texel(1, 2, 0), 0x7F3F1Fu);
    // (0, 6) at (0, 0, 3): distance sqrt(18) = 4.2426, a = 0.57574: 146.8 -> 146, 73.4 -> 73, 36.7 -> 36.
    EXPECT_EQ(texel(1, 0, 6), 0x924924u);

    mesh->GenerateLightMap(16, Variant(), 0x00102030);
    // Ambient (16, 32, 48) + (127, 63, 31) at (2, 0).
    EXPECT_EQ(texel(1, 2, 0), 0x8F5F4Fu);

    Mesh::SetBakeLight(5, point_light({8, 3, 0}, 10, kWhite), true);
    mesh->GenerateLightMap(16, Variant(), 0);
    // (2, 0) is 5 from both: (127, 63, 31) + (127, 127, 127) = (254, 190, 158).
    EXPECT_EQ(texel(1, 2, 0), 0xFEBE9Eu);
    // (0, 0): the second light at sqrt(73) = 8.544, a = 0.1456 x 255 = 37.1 -> 37:
    // (178 + 37, 89 + 37, 44 + 37) = (215, 126, 81).
    EXPECT_EQ(texel(1, 0, 0), 0xD77E51u);

    // Two white lights 1 above (0, 0): 0.9 x 255 = 229.5 -> 229 each, 458 held at 255.
    Mesh::SetBakeLight(0, point_light({0, 1, 0}, 10, kWhite), true);
    Mesh::SetBakeLight(5, point_light({0, 1, 0}, 10, kWhite), true);
    mesh->GenerateLightMap(16, Variant(), 0);
    EXPECT_EQ(texel(1, 0, 0), 0xFFFFFFu);
}

TEST_F(LightMaps, OnlyLitPointLightsOfTheFirst32RecordsAndWithinTheirRangeCount) {
    plane();
    struct Row {
        const char* what;
        Integer index;
        D3DLIGHT7 light;
        bool on;
    };
    const Row rows[] = {
        {"record 32 is never read", 32, point_light({0, 1, 0}, 10, kWhite), true},
        {"a light that is off", 3, point_light({0, 1, 0}, 10, kWhite), false},
        {"a directional light", 31, point_light({0, 1, 0}, 10, kWhite, D3DLIGHT_DIRECTIONAL), true},
        // (0, 0) lies exactly at the range, a = 0; every other texel beyond it.
        {"a light at its range", 31, point_light({0, 3, 0}, 3, kWhite), true},
        {"a light of range 0", 0, point_light({0, 0, 0}, 0, kWhite), true},
    };
    for (const Row& w : rows) {
        mesh::module().BakeLights = {};
        Mesh::SetBakeLight(w.index, w.light, w.on);
        mesh->GenerateLightMap(16, Variant(), 0);
        for (int y = 0; y < 8; ++y)
            for (int x = 0; x < 4; ++x) ASSERT_EQ(texel(1, x, y), 0u) << w.what << " at " << x << ", " << y;
    }
    // Record 31 is read: the same light there lights (0, 0).
    Mesh::SetBakeLight(31, point_light({0, 1, 0}, 10, kWhite), true);
    mesh->GenerateLightMap(16, Variant(), 0);
    EXPECT_EQ(texel(1, 0, 0), 0xE5E5E5u);  // 229
    EXPECT_EQ(test::error_of([] { Mesh::SetBakeLight(33, D3DLIGHT7{}, true); }), err::SubscriptOutOfRange);
}

TEST_F(LightMaps, SizesComeFromTheOtherEdgeRoundedHalfToEvenThenUpTheLadder) {
    struct Row {
        float e1, e2, density;
        int width, height;
    };
    const Row rows[] = {
        {20, 10, 16, 16, 32},   // W 10 -> 16 along the 20 units, H 20 -> 32 along the 10
        {3.5f, 2.5f, 16, 2, 4},  // 2.5 -> 2 (to even) stays; 3.5 -> 4
        {8, 4, 32, 8, 16},      // Density 32 / 16 = 2 texels a unit
        {300, 1, 16, 1, 256},   // 300 -> 256
        {8, 4, 12, 4, 8},       // 0.75 a unit: 3 -> 4 and 6 -> 8
    };
    Integer g = 1;
    for (const Row& w : rows) {
        group(g, {{0, 0, 0}, {0, 0, w.e2}, {w.e1, 0, 0}});
        mesh->GenerateLightMap(w.density, Variant(), 0);
        ASSERT_TRUE(map(g));
        EXPECT_EQ(std::tuple(map(g)->width(), map(g)->height()), std::tuple(w.width, w.height)) << w.e1 << " x " << w.e2;
        ++g;
    }
}

TEST_F(LightMaps, EachGroupKeepsItsEntryAndEmptyEntriesAreTakenFirst) {
    plane(1);
    plane(2);
    group(3, {{0, 0, 0}, {0, 0, 0}});  // a short list: the missing vertex is the origin
    mesh->GenerateLightMap(16, Variant(), 0);
    const auto& r = mesh->record();
    EXPECT_EQ(std::tuple(r.Groups[1].LightMapSlot, r.Groups[2].LightMapSlot, r.Groups[3].LightMapSlot),
              std::tuple(1, 2, 3));
    EXPECT_FALSE(mesh::module().LightMapTable[3]);  // a size of 0 makes no surface
    const auto first = map(1);
    mesh::module().LightMapTable[3] = mesh::make_light_map_surface(4, 4);
    mesh->GenerateLightMap(16, Variant(), 0x00FFFFFF);
    EXPECT_FALSE(mesh::module().LightMapTable[3]);  // released, and no new one for a size of 0
    EXPECT_EQ(mesh::module().LightMapCount, 3);
    EXPECT_NE(map(1), first);  // released and made anew in the same entry
    EXPECT_EQ(texel(1, 3, 7), 0xFFFFFFu);

    Mesh other;
    plane(1, &other);
    other.GenerateLightMap(16, Variant(), 0);
    EXPECT_EQ(other.record().Groups[1].LightMapSlot, 3);  // the empty entry
    EXPECT_EQ(mesh::module().LightMapCount, 3);
}

TEST_F(LightMaps, RemappedGroupsCentreTheirCoordinatesOnTheMap) {
    plane(1);
    plane(2);
    mesh->SetLightMapAxes(1, D3DVECTOR{1, 0, 0}, D3DVECTOR{0, 0, 1});
    mesh->GenerateLightMap(16, Variant(), 0);
    const auto& v = mesh->record().LVertices;
    // u = x: 0, 0, 8, centre 4; v = z: 0, 4, 0, centre 2; W0 = 4, H0 = 8, Density 1.
    // tu = ((u - 4) + 2) / 4: -0.5, -0.5, 1.5; tv = ((v - 2) + 4) / 8: 0.25, 0.75, 0.25.
    for (auto [got, want] : {std::pair{v[1].tu, -0.5f}, {v[3].tu, 1.5f}, {v[1].tv, 0.25f}, {v[2].tv, 0.75f}})
        EXPECT_FLOAT_EQ(got, want);
    EXPECT_EQ(v[4].tu, 0.0f);  // group 2 is not remapped
}

TEST_F(LightMaps, LargeMapsAreTheSameForEveryThreadCount) {
    // 100 units at Density 16: 100 -> 128 texels a side, over the threshold.
    group(1, {{0, 0, 0}, {0, 0, 100}, {100, 0, 0}});
    Mesh::SetBakeLight(0, point_light({10, 5, 10}, 60, {1, 0.3f, 0.7f, 1}), true);
    Mesh::SetBakeLight(1, point_light({80, 2, 60}, 45, {0.2f, 1, 0.4f, 1}), true);
    Mesh::SetBakeLight(2, point_light({50, 20, 90}, 70, {0.6f, 0.6f, 1, 1}), true);
    std::vector<std::vector<std::uint8_t>> pictures;
    for (int threads : {1, 2, 4}) {
        mesh::set_bake_threads(threads);
        mesh->GenerateLightMap(16, Variant(), 0x00101010);
        const auto m = map(1);
        ASSERT_EQ(m->width(), 128);
        pictures.emplace_back(m->pixels(), m->pixels() + m->byte_size());
    }
    EXPECT_EQ(pictures[0], pictures[1]);
    EXPECT_EQ(pictures[0], pictures[2]);
    // (0, 0) at the origin: first light at sqrt(225) = 15, a = 0.75: (191, 57, 133);
    // the others are beyond their ranges (100.0 and 104.9). Ambient 16 each.
    EXPECT_EQ(texel(1, 0, 0), 0xCF4995u);
}

TEST(BakeTexels, ALightJustShortOfTheMapChangesNothing) {
    // Map x 0..90, z 0..70 in 96 x 80 texels. 5 above texel (48, 40) = (45, 0, 35), range 5.5:
    // 255 / 11 = 23; 5.1 below (90, 0, 70), range 5: none.
    mesh::BakeJob lone;
    lone.p0 = {0, 0, 0}, lone.e1 = {90, 0, 0}, lone.e2 = {0, 0, 70}, lone.width = 96, lone.height = 80;
    lone.lights = {point_light({45, 5, 35}, 5.5f, kWhite)};
    const auto just = mesh::bake_texels(lone, nullptr);
    EXPECT_EQ(just[40 * 96 + 48], 0x171717u);
    lone.lights.push_back(point_light({90, -5.1f, 70}, 5, kWhite));
    EXPECT_EQ(mesh::bake_texels(lone, nullptr), just);
    // Spanned from the far corner along -x and -z: texel (48, 40) is again (90 - 45, 0, 70 - 35).
    lone.p0 = {90, 0, 70}, lone.e1 = {-90, 0, 0}, lone.e2 = {0, 0, -70};
    EXPECT_EQ(mesh::bake_texels(lone, nullptr)[40 * 96 + 48], 0x171717u);
}

TEST_F(LightMaps, GroupsTheMeshHasLostAreSkipped) {
    plane(1);
    plane(2);
    mesh->ClearMesh();  // GroupCount stays 2 with no groups left
    mesh->GenerateLightMap(16, Variant(), 0);
    EXPECT_EQ(mesh::module().LightMapCount, 0);
}

// ---- "TVLM" files

TEST(TvlmReader, HostileFilesAreRefusedWithReasonAndByte) {
    auto map = [](std::int32_t w, std::int32_t h, std::size_t texels) {
        return TvlmMapRecord{w, h, 1, std::vector<std::uint32_t>(texels, 0x123456)};
    };
    const test::Refusal rows[] = {
        {"count cut short", test::cut(write_tvlm({}), 5), "file cut short", 4},
        {"width 0", write_tvlm({map(0, 2, 0)}), "map width 0", 6},
        {"width past 16384", write_tvlm({map(16385, 1, 0)}), "map width 16385", 6},
        {"negative height", write_tvlm({map(2, -1, 0)}), "map height -1", 10},
        // 2 x 2 texels and the extra Long need 20 bytes at 16; 3 texels + 1 give 16.
        {"texels cut short", write_tvlm({map(2, 2, 3)}), "map texels", 16},
        {"group number cut short", test::cut(write_tvlm({map(1, 1, 1)}), 15), "file cut short", 14},
        // One map of 10 + 2 x 4 bytes from 6: the second header would start at 24.
        {"second map missing", write_tvlm({map(1, 1, 1)}, "TVLM", 2), "file cut short", 24},
    };
    for (const auto& r : rows)
        EXPECT_TRUE(test::refused_with([&] { mesh::parse_tvlm(r.file); }, r.reason, r.offset)) << r.what;
}

TEST(TvlmReader, AWrongMagicOrANegativeCountReadsNoMap) {
    EXPECT_FALSE(mesh::parse_tvlm(std::vector<std::uint8_t>{'T', 'V'}).magic_ok);
    const auto f = mesh::parse_tvlm(write_tvlm({{1, 1, 1, {5}}}, "TVLM", 0xFFFF));  // count -1
    EXPECT_EQ(std::tuple(f.magic_ok, f.maps.size()), std::tuple(true, 0u));
}

class TvlmFiles : public LightMaps {
protected:
    std::string save(const std::vector<std::uint8_t>& bytes, const std::string& name = "maps.tvlm") {
        return test::write_file(
            test::scratch_dir(::testing::UnitTest::GetInstance()->current_test_info()->name()) / name, bytes);
    }
};

TEST_F(TvlmFiles, MapsGoIntoTheirGroupsAndTheLastLongIsIgnored) {
    plane(1);
    plane(2);
    // Device-context colours 0x00BBGGRR: 0x0000FF is red, 0x563412 is (0x12, 0x34, 0x56).
    const auto file = save(write_tvlm({{2, 1, 2, {0x0000FF, 0x00FF00}}, {1, 2, 1, {0xFF0000, 0x563412}}}));
    mesh->LoadLightMaps(file);
    const auto& r = mesh->record();
    EXPECT_EQ(std::tuple(r.Groups[2].LightMapSlot, r.Groups[1].LightMapSlot), std::tuple(1, 2));
    ASSERT_EQ(std::tuple(map(2)->width(), map(2)->height()), std::tuple(2, 1));
    EXPECT_EQ(std::tuple(texel(2, 0, 0), texel(2, 1, 0), texel(1, 0, 0), texel(1, 0, 1)),
              std::tuple(0xFF0000u, 0x00FF00u, 0x0000FFu, 0x123456u));

}

TEST_F(TvlmFiles, BadFilesChangeNothing) {
    plane(1);
    const std::vector<std::uint8_t> good_then_bad_group = write_tvlm({{1, 1, 1, {7}}, {1, 1, 2, {7}}});
    struct Row {
        const char* what;
        std::vector<std::uint8_t> file;
        std::int32_t error;
    };
    const Row rows[] = {
        {"wrong magic", write_tvlm({{1, 1, 1, {7}}}, "MLVT"), 0},
        {"cut short", write_tvlm({{2, 2, 1, {7}}}), err::InputPastEnd},
        {"a group the mesh lacks (it has 0 and 1)", good_then_bad_group, err::SubscriptOutOfRange},
    };
    for (const Row& w : rows) {
        EXPECT_EQ(test::error_of([&] { mesh->LoadLightMaps(save(w.file)); }), w.error) << w.what;
        EXPECT_EQ(std::tuple(mesh->record().Groups[1].LightMapSlot, mesh::module().LightMapCount), std::tuple(0, 0))
            << w.what;
    }
    EXPECT_EQ(test::error_of([&] { mesh->LoadLightMaps(save({}) + ".missing"); }), err::FileNotFound);
}

TEST(TvlmReader, SeedFilesReadToTheirEnd) {
    std::vector<std::uint32_t> ramp;
    for (std::uint32_t i = 0; i < 64; ++i) ramp.push_back(i * 0x030201u);
    const struct {
        const char* name;
        std::vector<std::uint8_t> bytes;
        std::size_t maps;
    } seeds[] = {
        {"one.tvlm", write_tvlm({{2, 1, 1, {0x0000FF, 0x00FF00}}}), 1},
        {"three.tvlm", write_tvlm({{8, 8, 1, ramp}, {1, 4, 2, {1, 2, 3, 4}}, {4, 1, 0, {9, 9, 9, 9}}}), 3},
        {"empty.tvlm", write_tvlm({}), 0},
    };
    for (const auto& s : seeds) {
        EXPECT_EQ(mesh::parse_tvlm(s.bytes).maps.size(), s.maps) << s.name;
        test::write_seed("tvlm", s.name, s.bytes);
    }
}
