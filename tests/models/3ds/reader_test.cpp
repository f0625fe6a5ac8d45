// The chunk reader on files built by hand: axis swap and master scale, face
// flags and winding, vertex normals, material chunks, groups, lying and
// hostile chunks, the 16-bit counts and the table limits.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "models/3ds/chunk_reader.h"
#include "models/3ds/threeds_writer.h"
#include "runtime/errors.h"
#include "support/test_support.h"

using namespace tarko;
using namespace tarko::threeds;
using tarko::threeds::Model;

namespace {

Model read(const Bytes& bytes, threeds::ReadResult* result = nullptr) {
    Model m;
    const auto r = threeds::read_3ds(bytes, m);
    if (result) *result = r;
    return m;
}
Bytes triangle_object(const std::string& name = "tri", const Bytes& group = {}) {
    return object(name, vertex_list({{0, 0, 0}, {0, 1, 0}, {1, 1, 0}}), face_list({{0, 1, 2, 7}}, group));
}
using F3 = std::array<float, 3>;
using F4 = std::array<float, 4>;
F3 pos(const D3DVERTEX& v) { return {v.x, v.y, v.z}; }
F3 normal(const D3DVERTEX& v) { return {v.nx, v.ny, v.nz}; }
F4 rgba(const D3DCOLORVALUE& c) { return {c.r, c.g, c.b, c.a}; }
// Slot, cull mode, shade mode, index count.
std::array<Long, 4> modes(const threeds::MeshGroup& g) { return {g.MaterialSlot, g.CullMode, g.ShadeMode, g.IndexCount}; }

}  // namespace

TEST(ThreedsReader, SwapsTheFileYAndZAndScalesOnlyVerticesAfterTheMasterScale) {
    // File (1, 2, 3) lands at (1, 3, 2); after a master scale of 2, at (2, 6, 4).
    const Bytes mesh = vertex_list({{1, 2, 3}});
    const Model m = read(file({chunk_of(0x4000, {str("a"), chunk_of(0x4100, {mesh})}), chunk_of(0x0100, {f32(2)}),
                               chunk_of(0x4000, {str("b"), chunk_of(0x4100, {mesh})})}));
    ASSERT_EQ(m.MeshCount, 2);
    const D3DVERTEX& a = m.MeshObjects[0].Vertices[0];
    const D3DVERTEX& b = m.MeshObjects[1].Vertices[0];
    EXPECT_EQ(pos(a), (F3{1, 3, 2}));
    EXPECT_EQ(pos(b), (F3{2, 6, 4}));
    EXPECT_EQ(a.tu + a.tv, 0.0f);
}

TEST(ThreedsReader, FaceFlagsPickTheWinding) {
    // From (0, 1, 2): flag 4 clear swaps a, b; then 2 clear swaps b, c; then 1 clear swaps a, c.
    struct Row {
        std::uint16_t flags;
        std::array<Integer, 3> order;
    };
    const Row rows[] = {
        {7, {0, 1, 2}},  // no swap: the file's winding
        {6, {2, 1, 0}},  // a <-> c
        {5, {0, 2, 1}},  // b <-> c
        {4, {1, 2, 0}},  // (0, 2, 1), then a <-> c
        {3, {1, 0, 2}},  // a <-> b
        {0, {0, 2, 1}},  // (1, 0, 2), (1, 2, 0), then a <-> c: the order of the swaps counts
        {0xFFF8, {0, 2, 1}},  // only the three low bits count
    };
    for (const Row& r : rows) {
        const Model m = read(file({object("t", vertex_list({{0, 0, 0}, {0, 1, 0}, {1, 1, 0}}),
                                          face_list({{0, 1, 2, r.flags}}))}));
        ASSERT_EQ(m.FaceIndexCount, 3);
        const auto& g = m.MeshObjects[0].Groups.at(0);
        EXPECT_EQ((std::array<Integer, 3>{g.Indices[0], g.Indices[1], g.Indices[2]}), r.order) << "flags " << r.flags;
    }
}

TEST(ThreedsReader, VertexNormalsAreTheNormalisedSumOfUnitFaceNormals) {
    // Engine positions p0 (0,0,0), p1 (0,0,1), p2 (4,0,0), p3 (0,1,0); the file
    // holds them with y and z swapped. Face (0,1,2): (p1-p0) x (p2-p1) =
    // (0,0,1) x (4,0,-1) = (0,4,0) -> +y. Face (0,3,1): (0,1,0) x (0,-1,1) =
    // (1,0,0) -> +x. p0 and p1 get (1,1,0)/sqrt 2 whatever the faces' areas
    // (by area it would be (1,4,0)); p2 +y, p3 +x; the spare vertex 4 stays 0.
    const Model m = read(file({object("n", vertex_list({{0, 0, 0}, {0, 1, 0}, {4, 0, 0}, {0, 0, 1}}),
                                      face_list({{0, 1, 2, 7}, {0, 3, 1, 7}}))}));
    const auto& v = m.MeshObjects[0].Vertices;
    const auto h = static_cast<float>(1 / std::sqrt(2.0));
    EXPECT_EQ((std::array{normal(v[0]), normal(v[1]), normal(v[2]), normal(v[3]), normal(v[4])}),
              (std::array{F3{h, h, 0}, F3{h, h, 0}, F3{0, 1, 0}, F3{1, 0, 0}, F3{0, 0, 0}}));
    // A second face list for the same mesh starts the sums afresh: only (0,3,1) counts, p2 is left at 0.
    const Bytes points = vertex_list({{0, 0, 0}, {0, 1, 0}, {4, 0, 0}, {0, 0, 1}});
    const Model twice = read(file({chunk_of(0x4000, {str("n"), chunk_of(0x4100, {points, face_list({{0, 1, 2, 7}}),
                                                                           face_list({{0, 3, 1, 7}})})}),
                                   triangle_object()}));  // the next mesh closes this one
    const auto& w = twice.MeshObjects[0].Vertices;
    EXPECT_EQ((std::array{normal(w[0]), normal(w[2])}), (std::array{F3{1, 0, 0}, F3{0, 0, 0}}));
}

TEST(ThreedsReader, MaterialChunksFillTheSlotsFromOne) {
    // Ambient black loads as white; 255/255 = 1, 128/255 = 0.50196, 51/255 = 0.2.
    // Shininess 40 -> power 400; transparency 40 -> alpha (100 - 40) / 100 = 0.6.
    const Bytes red = material("Red", {0, 0, 0}, {255, 128, 0}, {51, 102, 204},
                               cat({percent(0xA040, 40), percent(0xA050, 40), chunk_of(0xA081), chunk_of(0xA100, {u16(3)}),
                                    chunk_of(0xA080)}));
    // Single percentages: power 0.25 x 10, alpha taken as given (0.4, not 0.6).
    // The floating colour chunk sets nothing; a colour under 0xA060 has no effect.
    const Bytes glass = chunk_of(0xAFFF, {chunk_of(0xA000, {str("Glass")}),
                                          chunk_of(0xA010, {chunk_of(0x0010, {f32(1), f32(1), f32(1)})}),
                                          rgb(0xA060, 9, 9, 9), rgb(0xA030, 0, 0, 0),
                                          chunk_of(0xA040, {chunk_of(0x0031, {f32(0.25f)})}),
                                          chunk_of(0xA050, {chunk_of(0x0031, {f32(0.4f)})}), chunk_of(0xA100, {u16(0)}),
                                          chunk_of(0xA200, {chunk_of(0xA300, {str("gl\xE9.bmp")})}),
                                          chunk_of(0xA07F, {chunk_of(0xA081)})});  // read nested up to 0xA07F
    const Model m = read(file({red, glass}));
    const auto& t = m.Materials;
    ASSERT_EQ(t.MaterialCount, 3);  // the map name takes a slot of its own
    EXPECT_EQ((std::array{t.Name[1], t.Name[2], t.Name[3]}),
              (std::array<std::string, 3>{"Red", "Glass", "gl\xC3\xA9.bmp"}));  // Windows-1252 e-acute as UTF-8
    const D3DMATERIAL7& r = t.Material[1];
    const float half = 128 / 255.0f;
    EXPECT_EQ(rgba(r.ambient), (F4{1, 1, 1, 0.6f}));
    EXPECT_EQ(rgba(r.diffuse), (F4{1, half, 0, 0.6f}));
    EXPECT_EQ(rgba(r.specular), (F4{0.2f, 0.4f, 0.8f, 1}));
    EXPECT_EQ(rgba(r.emissive), rgba(r.diffuse));  // the diffuse copied, alpha included
    EXPECT_EQ(r.power, 400.0f);
    // Red two-sided and Gouraud (shading 3); Glass as opened (cull 3, flat); the map's slot two-sided from under 0xA07F.
    EXPECT_EQ((std::array{t.CullMode[1], t.ShadeMode[1], t.CullMode[2], t.ShadeMode[2], t.CullMode[3]}),
              (std::array<Long, 5>{1, 2, 3, 1, 1}));

    const D3DMATERIAL7& g = t.Material[2];
    EXPECT_EQ(rgba(g.ambient), (F4{0, 0, 0, 0.4f}));
    EXPECT_EQ(rgba(g.diffuse), (F4{0, 0, 0, 0.4f}));
    EXPECT_EQ(rgba(g.specular), (F4{0, 0, 0, 1}));  // a black specular stays black
    EXPECT_EQ(g.power, 2.5f);
    EXPECT_EQ(rgba(t.Material[3].diffuse), (F4{}));  // the map's slot keeps zero colours
    EXPECT_EQ(rgba(t.Material[0].diffuse), (F4{}));
}

TEST(ThreedsReader, GroupsHoldVertexNumbersAndTakeTheirSlotsModes) {
    // Faces 0 (0,1,2) and 1 (0,2,3). "Two" takes face 1, "One" face 0, "Nope"
    // matches no slot and draws with slot 0.
    const Bytes mats = cat({material("One", {1, 1, 1}, {2, 2, 2}), material("Two", {1, 1, 1}, {2, 2, 2}, {},
                                                                            chunk_of(0xA081))});
    const Bytes quad = object("q", vertex_list({{0, 0, 0}, {0, 1, 0}, {1, 1, 0}, {1, 0, 0}}),
                              face_list({{0, 1, 2, 7}, {0, 2, 3, 7}},
                                        cat({material_group("Two", {1}), material_group("One", {0}),
                                             material_group("Nope", {0, 1}), material_group("one", {0})})));
    const Model m = read(file({mats, quad, triangle_object("plain"), triangle_object("later", material_group("Nope", {0}))}));
    ASSERT_EQ(m.MeshCount, 3);
    const auto& q = m.MeshObjects[0];
    ASSERT_EQ(q.GroupCount, 4);
    using M = std::array<Long, 4>;
    EXPECT_EQ((std::array{modes(q.Groups[0]), modes(q.Groups[1]), modes(q.Groups[2]), modes(q.Groups[3])}),
              (std::array{M{2, 1, 1, 3}, M{1, 3, 1, 3}, M{0, 0, 0, 6}, M{0, 0, 0, 3}}));  // "one": case-sensitive
    EXPECT_EQ((std::array{q.Groups[0].Indices[0], q.Groups[0].Indices[1], q.Groups[0].Indices[2]}),
              (std::array<Integer, 3>{0, 2, 3}));
    // A mesh without groups: one group of slot 0 over its whole face list.
    ASSERT_EQ(m.MeshObjects[1].GroupCount, 1);
    EXPECT_EQ(modes(m.MeshObjects[1].Groups[0]), (M{0, 0, 0, 3}));
    EXPECT_EQ(m.MeshObjects[1].Groups[0].Indices[2], 2);
    // Pending entry 0 held "Two" (slot 2, cull 1) for the quad: an unmatched name starts it afresh.
    EXPECT_EQ(modes(m.MeshObjects[2].Groups.at(0)), (M{0, 0, 0, 3}));
}

TEST(ThreedsReader, AnObjectWithoutAMeshLeavesTheMeshBeforeItAlone) {
    const Bytes camera = chunk_of(0x4000, {str("cam"), chunk_of(0x4700, {f32(0), f32(0), f32(0)})});
    const Bytes no_faces = chunk_of(0x4000, {str("v"), chunk_of(0x4100, {vertex_list({{0, 0, 0}})})});
    const Model m = read(file({material("M", {}, {}), triangle_object("t", material_group("M", {0})), camera, no_faces}));
    ASSERT_EQ(m.MeshCount, 2);
    EXPECT_EQ(m.MeshObjects[0].Groups.at(0).MaterialSlot, 1);
    EXPECT_EQ(m.MeshObjects[1].Groups.at(0).IndexCount, 0);  // not the face list of the mesh before
}

TEST(ThreedsReader, RealExportersFilesLoad) {
    // Unknown chunks skipped by length (keyframer, mesh matrix, smoothing,
    // texture coordinates), an odd-length name chunk, a vertex list padded
    // 3 bytes past its data, a main chunk whose length is wrong, trailing bytes.
    Bytes padded = vertex_list({{0, 0, 0}, {0, 1, 0}, {1, 1, 0}});
    padded.insert(padded.end(), {0xEE, 0xEE, 0xEE});
    padded[2] = static_cast<std::uint8_t>(padded[2] + 3);
    const Bytes smoothing = chunk_of(0x4150, {u32(1)});
    const Bytes mesh = chunk_of(0x4000, {str("odd"), chunk_of(0x4100, {padded, chunk_of(0x4140, {u16(3), Bytes(24, 0)}),
                                                                       chunk_of(0x4160, {Bytes(48, 0)}),
                                                                       face_list({{0, 1, 2, 7}}, smoothing)})});
    Bytes bytes = file({material("Mat", {}, {}), chunk_of(0x1234, {Bytes(50, 0x41)}), mesh,
                        chunk_of(0xB000, {chunk_of(0xB00A, {str("kf"), Bytes(5, 0)})})});
    bytes[2] = 0x10;  // main chunk length 16: read flat, it does not matter
    for (const Bytes& tail : {Bytes{}, Bytes{1, 2, 3, 4, 5}, Bytes(6, 0), Bytes(40, 0xFF)}) {
        Bytes b = bytes;
        b.insert(b.end(), tail.begin(), tail.end());
        threeds::ReadResult r;
        const Model m = read(b, &r);
        EXPECT_EQ(m.MeshCount, 1) << tail.size();
        EXPECT_EQ(m.FaceIndexCount, 3);
        EXPECT_EQ(m.Materials.MaterialCount, 1);
        EXPECT_FALSE(r.stopped) << tail.size();
    }
}

TEST(ThreedsReader, AChunkThatLiesAboutItsLengthEndsTheReadWithoutReadingPastIt) {
    const Bytes first = triangle_object("first");
    // A vertex list claiming 1000 vertices in a 20-byte chunk: the read stops
    // at its data, the mesh before it stays.
    const Bytes lying_count = chunk_of(0x4000, {str("x"), chunk_of(0x4100, {chunk_len(0x4110, 20, cat({u16(1000), Bytes(12, 0)}))})});
    threeds::ReadResult r;
    Model m = read(file({first, lying_count, triangle_object("never")}), &r);
    EXPECT_EQ(m.MeshCount, 1);
    ASSERT_TRUE(r.stopped);
    EXPECT_NE(r.stopped->reason().find("vertex list"), std::string::npos);

    // An object whose length runs past the end of the file: its children are
    // read up to the end, and nothing is read after it.
    Bytes long_object = triangle_object("long");
    long_object[2] = 0xFF, long_object[3] = 0xFF;
    m = read(cat({first, long_object}), &r);
    EXPECT_EQ(m.MeshCount, 2);
    EXPECT_FALSE(r.stopped);

    // A colour chunk running past its parent is read from what is there and
    // ends the parent's loop; the outer loop goes on after the parent.
    const Bytes bad_ambient = chunk_of(0xA010, {chunk_len(0x0011, 100, Bytes{10, 20, 30})});
    m = read(file({chunk_of(0xAFFF, {chunk_of(0xA000, {str("M")}), bad_ambient, rgb(0xA020, 255, 0, 0)})}), &r);
    EXPECT_FLOAT_EQ(m.Materials.Material[1].ambient.g, 20 / 255.0f);
    EXPECT_EQ(m.Materials.Material[1].diffuse.r, 1.0f);

    // Lengths below the header's 6 bytes would never advance: the loop ends there.
    for (std::uint32_t len : {0u, 5u}) {
        m = read(cat({first, chunk_len(0x4000, len, {}), triangle_object("after")}), &r);
        EXPECT_EQ(m.MeshCount, 1) << len;
    }
    // Nesting without end is cut at the depth bound.
    Bytes deep = rgb(0xA020, 1, 2, 3);
    for (int i = 0; i < 40; ++i) deep = chunk_of(0xA020, {deep});
    m = read(deep, &r);
    ASSERT_TRUE(r.stopped);
    EXPECT_EQ(r.stopped->reason(), "chunks nested too deep");
}

TEST(ThreedsReader, CountsAboveIntegerRangeAndIndicesOutsideTheirArraysAreSubscriptErrors) {
    const Bytes three = vertex_list({{0, 0, 0}, {0, 1, 0}, {1, 1, 0}});
    const Bytes tri = face_list({{0, 1, 2, 7}});
    // 0x8000 = 32768 reads as -32768.
    const Bytes cases[] = {
        chunk_of(0x4000, {str("v"), chunk_of(0x4100, {chunk_of(0x4110, {u16(0x8000), Bytes(64, 0)})})}),
        chunk_of(0x4000, {str("f"), chunk_of(0x4100, {three, chunk_of(0x4120, {u16(0x8000), Bytes(64, 0)})})}),
        chunk_of(0x4000, {str("g"), chunk_of(0x4100, {three, face_list({{0, 1, 2, 7}}, chunk_of(0x4130, {str("m"), u16(0xFFFF)}))})}),
        object("i", three, face_list({{0, 1, 0x8000, 7}})),  // index -32768
        object("j", three, face_list({{0, 1, 4, 7}})),       // beyond 0..3 (3 is the spare vertex)
        object("k", three, face_list({{0, 1, 2, 7}}, material_group("m", {1}))),  // face 1 of 1
        chunk_of(0x4000, {str("l"), chunk_of(0x4100, {tri})}),      // faces before any vertex
    };
    for (const Bytes& c : cases) {
        Model m;
        EXPECT_EQ(test::error_of([&] { threeds::read_3ds(file({c}), m); }), err::SubscriptOutOfRange);
    }
    // Index 3 = VertexCount is inside the array's bounds.
    EXPECT_EQ(read(file({object("s", three, face_list({{0, 1, 3, 7}}))})).FaceIndexCount, 3);
}

TEST(ThreedsReader, TablesEndAtOneHundredMeshesOneHundredSlotsAndOneHundredAndOneGroups) {
    Bytes meshes;
    for (int i = 0; i < 100; ++i) meshes = cat({meshes, triangle_object()});
    Model m;
    EXPECT_EQ(test::error_of([&] { threeds::read_3ds(file({meshes}), m); }), 0);
    EXPECT_EQ(m.MeshCount, 100);
    EXPECT_EQ(test::error_of([&] { threeds::read_3ds(file({meshes, triangle_object("101st")}), m); }),
              err::SubscriptOutOfRange);
    EXPECT_EQ(m.MeshCount, 100);  // the first hundred stay

    Bytes slots;
    for (int i = 0; i < 100; ++i) slots = cat({slots, chunk_of(0xA000, {str("s" + std::to_string(i))})});
    EXPECT_EQ(test::error_of([&] { threeds::read_3ds(file({slots}), m); }), 0);
    EXPECT_EQ(m.Materials.MaterialCount, 100);
    EXPECT_EQ(test::error_of([&] { threeds::read_3ds(file({slots, chunk_of(0x1100, {str("bg")})}), m); }),
              err::SubscriptOutOfRange);

    Bytes groups;
    for (int i = 0; i < 101; ++i) groups = cat({groups, material_group("g", {0})});
    EXPECT_EQ(test::error_of([&] { threeds::read_3ds(file({triangle_object("g", groups)}), m); }), 0);
    EXPECT_EQ(m.MeshObjects[0].GroupCount, 101);
    groups = cat({groups, material_group("g", {0})});
    EXPECT_EQ(test::error_of([&] { threeds::read_3ds(file({triangle_object("g", groups)}), m); }),
              err::SubscriptOutOfRange);
}

TEST(ThreedsReader, ASecondReadResetsTheCountsButKeepsOldSlotContentsUntilReached) {
    Model m;
    threeds::read_3ds(file({material("A", {10, 10, 10}, {255, 0, 0}), chunk_of(0x0100, {f32(3)}), triangle_object(),
                            triangle_object()}),
                      m);
    ASSERT_EQ(m.MeshCount, 2);
    threeds::read_3ds(file({chunk_of(0xA000, {str("B")}), triangle_object()}), m);
    EXPECT_EQ(m.MeshCount, 1);
    EXPECT_EQ(m.MasterScale, 1.0f);
    EXPECT_EQ(m.Materials.MaterialCount, 1);
    EXPECT_EQ(m.Materials.Name[1], "B");
    EXPECT_EQ(m.Materials.Material[1].diffuse.r, 1.0f);  // A's colour, not reached by the new file
    EXPECT_EQ(m.MeshObjects[0].Vertices[2].x, 1.0f);     // scale 1 again
}

TEST(ThreedsReader, SeedFilesReadToTheirEnd) {
    // The fuzz seeds; with TARKO_WRITE_SEEDS=<fuzz/corpus> they are also written to <dir>/threeds.
    const Bytes mats = cat({material("Red", {0, 0, 0}, {255, 0, 0}, {9, 9, 9},
                                     cat({percent(0xA040, 30), percent(0xA050, 20), chunk_of(0xA081), chunk_of(0xA080),
                                          chunk_of(0xA100, {u16(3)}),
                                          chunk_of(0xA200, {percent(0x0030, 100), chunk_of(0xA300, {str("t.bmp")})})})),
                            material("Blue", {0, 0, 40}, {0, 0, 200})});
    const struct {
        const char* name;
        Bytes bytes;
        Integer meshes;
    } seeds[] = {
        {"grid.3ds", file({mats, chunk_of(0x0100, {f32(0.5f)}), grid_object("g", 4, 0, "Red", "Blue")}), 1},
        {"two_objects.3ds", file({mats, grid_object("a", 2, 0, "Red", "Nope"), grid_object("b", 3, 1, "Blue", "Red")}), 2},
        {"plain.3ds", file({object("p", vertex_list({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}), face_list({{0, 1, 2, 0}}))}), 1},
    };
    for (const auto& s : seeds) {
        threeds::ReadResult r;
        EXPECT_EQ(read(s.bytes, &r).MeshCount, s.meshes) << s.name;
        EXPECT_FALSE(r.stopped) << s.name;
        test::save_seed("threeds", s.name, s.bytes);
    }
}
