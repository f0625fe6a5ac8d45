// Constructions (quads per value, draws, the wall tests) and the engine's
// external cube list with its camera stop.
#include <string>
#include <vector>

#include "support/engine_test_support.h"
#include "platform/constants.h"

using namespace tarko;
using tarko::test::Calls;
using tarko::test::EngineFixture;

namespace {

const std::string kStrip = "Direct3DDevice7.drawPrimitive 5, 274, 4, 0";

// First vertex of each quad for A = (0, 0, 0), B = (10, 4, 20), tiles 2 and 3.
struct First {
    float x, y, z, nx, ny, nz, tu, tv;
};
First first_of(char quad) {
    switch (quad) {
        case 'W': return {0, 4, 0, 1, 0, 0, 0, 0};
        case 'E': return {10, 4, 0, -1, 0, 0, 2, 0};
        case 'N': return {0, 4, 20, 0, 0, -1, 0, 0};
        case 'S': return {0, 4, 0, 0, 0, 1, 2, 0};
        case 'F': return {0, 0, 20, 0, 1, 0, 2, 3};
        case 'R': return {0, 4, 20, 0, -1, 0, 0, 0};
        default: return {0, 4, 20, 0, 0, 1, 1, 0};   // Q: the north wall's outer face
    }
}

std::vector<float> box_values(const D3DRMBOX& b) { return {b.min.x, b.min.y, b.min.z, b.max.x, b.max.y, b.max.z}; }

void expect_vertex(const D3DVERTEX& v, const First& w, const std::string& where) {
    EXPECT_EQ((std::vector<float>{v.x, v.y, v.z, v.nx, v.ny, v.nz, v.tu, v.tv}),
              (std::vector<float>{w.x, w.y, w.z, w.nx, w.ny, w.nz, w.tu, w.tv})) << where;
}

}  // namespace

class Constructions : public EngineFixture {
protected:
    void build(Long value) {
        engine.Create_CONSTUCTION(v, D3DVECTOR{0, 0, 0}, D3DVECTOR{10, 4, 20}, box, value, Variant(2.0),
                                  Variant(3.0));
    }
    SafeArray<D3DVERTEX> v;
    D3DRMBOX box;
};

TEST_F(Constructions, EachValueBuildsItsQuadsInOrder) {
    const struct { Long value; const char* quads; } rows[] = {
        {MUR_EST, "EFRW"},       {MUR_NORD, "NFRQ"},      {MUR_OUEST, "WFRE"},      {MUR_SUD, "SFRN"},
        {MUR_EST_OUEST, "WEFR"}, {MUR_NORD_SUD, "SNFR"},  {MUR_PLAFOND_SOL, "FR"},  {MUR_SUD_OUEST, "SWFR"},
        {MUR_OUEST_NORD, "WNFR"}, {MUR_NORD_EST, "ENFR"}, {MUR_EST_SUD, "ESFR"},
    };
    for (const auto& r : rows) {
        SafeArray<D3DVERTEX> fresh;
        v = fresh;
        build(r.value);
        const std::string quads = r.quads;
        ASSERT_EQ(v.UBound(), static_cast<Long>(quads.size() * 4 - 1)) << r.value;
        for (std::size_t q = 0; q < quads.size(); ++q)
            expect_vertex(v(static_cast<Long>(q * 4)), first_of(quads[q]),
                          std::to_string(r.value) + " quad " + quads[q]);
    }
}

TEST_F(Constructions, QuadCornersAndTheOuterFaceIgnoringTiles) {
    const struct { Long value, at; First want; const char* label; } rows[] = {
        // MUR_NORD is N F R Q. N's last corner (Bx, Ay, Bz) with (TX, TY); F's last (Bx, Ay, Az) with (0, 0);
        // R's third (Bx, By, Bz) with (0, TY); Q's last (Bx, Ay, Bz) with (0, 1).
        {MUR_NORD, 3, {10, 0, 20, 0, 0, -1, 2, 3}, "N 3"},  {MUR_NORD, 7, {10, 0, 0, 0, 1, 0, 0, 0}, "F 3"},
        {MUR_NORD, 10, {10, 4, 20, 0, -1, 0, 0, 3}, "R 2"}, {MUR_NORD, 13, {0, 0, 20, 0, 0, 1, 1, 1}, "Q 1"},
        {MUR_NORD, 15, {10, 0, 20, 0, 0, 1, 0, 1}, "Q 3"},
        {MUR_EST, 1, {10, 0, 0, -1, 0, 0, 2, 3}, "E 1"},    {MUR_EST, 2, {10, 4, 20, -1, 0, 0, 0, 0}, "E 2"},
    };
    for (const auto& r : rows) {
        build(r.value);
        expect_vertex(v(r.at), r.want, r.label);
    }
    // The box is the two corners; default tiles are 1.
    EXPECT_EQ(box_values(box), (std::vector<float>{0, 0, 0, 10, 4, 20}));
    engine.Create_CONSTUCTION(v, D3DVECTOR{1, 2, 3}, D3DVECTOR{1, 1, 1}, box, MUR_SUD);
    EXPECT_EQ((std::vector<float>{v(0).tu, v(1).tv}), (std::vector<float>{1, 1}));
    EXPECT_EQ(box_values(box), (std::vector<float>{1, 2, 3, 2, 3, 4}));
}

TEST_F(Constructions, ValuesSevenToTenFillTheBoxAndLeaveTheArray) {
    for (Long value : {MUR_SUD_OUEST_NORD, MUR_EST_SUD_OUEST}) {
        SafeArray<D3DVERTEX> kept(0, 2);
        kept(2).x = 42;
        box = D3DRMBOX{};
        engine.Create_CONSTUCTION(kept, D3DVECTOR{1, 1, 1}, D3DVECTOR{2, 2, 2}, box, value);
        EXPECT_EQ(kept.UBound(), 2) << value;
        EXPECT_EQ(kept(2).x, 42.0f) << value;
        EXPECT_EQ(box.max.y, 3.0f) << value;
    }
}

TEST_F(Constructions, RenderSetsBlendAndMaterialThenDrawsTheStrips) {
    build(MUR_EST);
    SafeArray<D3DVERTEX> floor_and_roof;
    engine.Create_CONSTUCTION(floor_and_roof, D3DVECTOR{0, 0, 0}, D3DVECTOR{1, 1, 1}, box, MUR_PLAFOND_SOL);
    open();
    engine.alphaBLEND_1(false);
    engine.USE_defaultMaterial();
    const Calls prefix = device_calls();
    ASSERT_FALSE(prefix.empty());
    auto then = [&](Calls tail) {
        Calls all = prefix;
        all.insert(all.end(), tail.begin(), tail.end());
        return all;
    };
    auto render = [&](const SafeArray<D3DVERTEX>& a, Long value, const Ref<DirectDrawSurface7>& sol = {},
                      const Ref<DirectDrawSurface7>& roof = {}) {
        platform::trace().clear();
        engine.Render_CONSTRUCTION(a, value, sol, roof);
        return device_calls();
    };
    EXPECT_EQ(render(v, MUR_EST), then(Calls(4, kStrip)));
    EXPECT_EQ(render(v, MUR_NORD_EST_SUD), prefix);
    const auto tex = engine.CreateTexture("", 8, 8);
    const std::string set = "Direct3DDevice7.setTexture 0, \"surface\"";
    EXPECT_EQ(render(floor_and_roof, MUR_PLAFOND_SOL, tex, tex), then({set, kStrip, set, kStrip}));
    EXPECT_EQ(render(floor_and_roof, MUR_PLAFOND_SOL), then({kStrip, kStrip}));
    // Textures play no part for walls.
    EXPECT_EQ(render(v, MUR_EST, tex, tex), then(Calls(4, kStrip)));
    // A floor-and-ceiling array drawn as walls: starts 0 and 4 exist, 8 does not.
    platform::trace().clear();
    EXPECT_EQ(error_of([&] { engine.Render_CONSTRUCTION(floor_and_roof, MUR_EST); }), err::SubscriptOutOfRange);
    EXPECT_EQ(device_calls(), then(Calls(2, kStrip)));
}

TEST_F(Constructions, WallTestsFollowTheirBoundaries) {
    // Box (0, 0, 0)..(100, 50, 100), step 5 unless given.
    const D3DRMBOX room{{0, 0, 0}, {100, 50, 100}};
    const struct { Long type, style; D3DVECTOR pos; double step; bool hit; } rows[] = {
        // IN_BLOX: x + 5 >= 100 at x = 95, not at 94.5.
        {MUR_EST, IN_BLOX, {95, 10, 50}, 5, true},        {MUR_EST, IN_BLOX, {94.5f, 10, 50}, 5, false},
        // Outside the wall by less than s still counts as inside: x - 5 = 99.9 < 100.
        {MUR_EST, IN_BLOX, {104.9f, 10, 50}, 5, true},    {MUR_EST, IN_BLOX, {105, 10, 50}, 5, false},
        // y strictly between floor and ceiling, without s.
        {MUR_EST, IN_BLOX, {95, 0, 50}, 5, false},        {MUR_EST, IN_BLOX, {95, 50, 50}, 5, false},
        {MUR_EST, IN_BLOX, {95, 49.9f, 50}, 5, true},
        {MUR_NORD, IN_BLOX, {50, 10, 95}, 5, true},       {MUR_NORD, IN_BLOX, {50, 10, 94}, 5, false},
        {MUR_OUEST, IN_BLOX, {5, 10, 50}, 5, true},       {MUR_OUEST, IN_BLOX, {6, 10, 50}, 5, false},
        {MUR_SUD, IN_BLOX, {50, 10, 5}, 5, true},         {MUR_SUD, IN_BLOX, {50, 10, 6}, 5, false},
        {MUR_EST_OUEST, IN_BLOX, {5, 10, 50}, 5, true},   {MUR_EST_OUEST, IN_BLOX, {95, 10, 50}, 5, true},
        {MUR_EST_OUEST, IN_BLOX, {50, 10, 95}, 5, false}, {MUR_NORD_SUD, IN_BLOX, {50, 10, 95}, 5, true},
        {MUR_NORD_SUD, IN_BLOX, {50, 10, 5}, 5, true},    {MUR_NORD_SUD, IN_BLOX, {95, 10, 50}, 5, false},
        // Each corner: both of its walls, and one wall it lacks.
        {MUR_SUD_OUEST, IN_BLOX, {50, 10, 5}, 5, true},   {MUR_SUD_OUEST, IN_BLOX, {5, 10, 50}, 5, true},
        {MUR_SUD_OUEST, IN_BLOX, {95, 10, 50}, 5, false}, {MUR_OUEST_NORD, IN_BLOX, {5, 10, 50}, 5, true},
        {MUR_OUEST_NORD, IN_BLOX, {50, 10, 95}, 5, true}, {MUR_OUEST_NORD, IN_BLOX, {50, 10, 5}, 5, false},
        {MUR_NORD_EST, IN_BLOX, {50, 10, 95}, 5, true},   {MUR_NORD_EST, IN_BLOX, {95, 10, 50}, 5, true},
        {MUR_NORD_EST, IN_BLOX, {5, 10, 50}, 5, false},   {MUR_EST_SUD, IN_BLOX, {95, 10, 50}, 5, true},
        {MUR_EST_SUD, IN_BLOX, {50, 10, 5}, 5, true},     {MUR_EST_SUD, IN_BLOX, {50, 10, 95}, 5, false},
        {MUR_SUD_OUEST_NORD, IN_BLOX, {5, 10, 5}, 5, false}, {MUR_PLAFOND_SOL, IN_BLOX, {50, 1, 50}, 5, false},
        {MUR_EST, IN_BLOX, {98, 10, 50}, 2, true},        {MUR_EST, IN_BLOX, {97.9f, 10, 50}, 2, false},
        {MUR_EST, 3, {95, 10, 50}, 5, false},
        // OUTTER_BLOX: within s of the plane or beyond, other coordinates aside.
        {MUR_EST, OUTTER_BLOX, {105, 10, 50}, 5, true},   {MUR_EST, OUTTER_BLOX, {105.5f, 10, 50}, 5, false},
        {MUR_EST, OUTTER_BLOX, {50, -1000, -1000}, 5, true},
        {MUR_NORD, OUTTER_BLOX, {50, 10, 105}, 5, true},  {MUR_NORD, OUTTER_BLOX, {50, 10, 106}, 5, false},
        {MUR_OUEST, OUTTER_BLOX, {-5, 10, 50}, 5, true},  {MUR_OUEST, OUTTER_BLOX, {-6, 10, 50}, 5, false},
        {MUR_SUD, OUTTER_BLOX, {50, 10, -5}, 5, true},    {MUR_SUD, OUTTER_BLOX, {50, 10, -6}, 5, false},
        {MUR_EST_OUEST, OUTTER_BLOX, {-5, 10, 50}, 5, false},
    };
    for (const auto& r : rows)
        EXPECT_EQ(engine.Colision_BOX(r.pos, room, r.type, r.style, Variant(r.step)), r.hit)
            << "type " << r.type << " style " << r.style << " at " << r.pos.x << ", " << r.pos.y << ", " << r.pos.z;
    // Defaults: IN_BLOX, step 5; a step given as text is coerced.
    for (float x : {95.0f, 94.5f}) {
        EXPECT_EQ(engine.Colision_BOX(D3DVECTOR{x, 10, 50}, room, MUR_EST), x == 95) << x;
        EXPECT_EQ(engine.Colision_BOX(D3DVECTOR{x, 10, 50}, room, MUR_EST, IN_BLOX, Variant::missing()), x == 95) << x;
    }
    EXPECT_TRUE(engine.Colision_BOX(D3DVECTOR{98, 10, 50}, room, MUR_EST, IN_BLOX, Variant("2")));
    EXPECT_EQ(error_of([&] { engine.Colision_BOX(D3DVECTOR{}, room, MUR_EST, IN_BLOX, Variant("wall")); }),
              err::TypeMismatch);
}

class ExternCubes : public EngineFixture {
protected:
    // The eye goes back to `last` when a cube stops it: a move that changes
    // x, y and z keeps the eye before it as the last eye.
    void eye_at(const D3DVECTOR& eye, const D3DVECTOR& last) {
        engine.SET_cameraEYE(last);
        engine.Camera_Move_Foward(Variant(0.0));   // last = eye, as every coordinate differs from the old last
        engine.SET_cameraEYE(eye);
    }
};

TEST_F(ExternCubes, AddingNumbersFromZeroAndDrawingMovesToTheCentre) {
    EXPECT_EQ(engine.ADD_cubeEXTERN_face(D3DVECTOR{0, 0, 0}, D3DVECTOR{10, 20, 30}, 1, 2, 3), 0);
    EXPECT_EQ(engine.ADD_cubeEXTERN_face(D3DVECTOR{-4, 0, 2}, D3DVECTOR{2, 2, 2}, 1, 2, 3), 1);
    open();
    engine.Render_EXTERNcube(Variant(0));
    // World matrix to the centre (5, 10, 15), six faces, world matrix cleared.
    const Calls calls = device_calls();
    ASSERT_EQ(calls.size(), 8u);
    const std::string world = "Direct3DDevice7.setTransform 1, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, ";
    Calls want(8, kStrip);
    want.front() = world + "5, 10, 15, 1", want.back() = world + "0, 0, 0, 1";
    EXPECT_EQ(calls, want);
    // Vertex kind 1 draws nothing; the spare element (index 2) exists; 3 does not.
    platform::trace().clear();
    engine.Render_EXTERNcube(Variant(1), false, Light_vertex_TYPE);
    engine.Render_EXTERNcube(Variant(2), false, Light_vertex_TYPE);
    EXPECT_TRUE(device_calls().empty());
    EXPECT_EQ(error_of([&] { engine.Render_EXTERNcube(Variant(3)); }), err::SubscriptOutOfRange);
    EXPECT_EQ(error_of([&] { engine.Render_EXTERNcube(Variant(-1)); }), err::SubscriptOutOfRange);
    // The spare element has no vertices: drawing it fails at element 0.
    EXPECT_EQ(error_of([&] { engine.Render_EXTERNcube(Variant(2)); }), err::SubscriptOutOfRange);
}

TEST_F(ExternCubes, ATexturedEntrySetsItsTextureEvenWhenNotDrawn) {
    open();
    // A name no reader claims gives a black 64 x 64 texture, read from no file.
    EXPECT_EQ(engine.ADD_cubeEXTERN_face(D3DVECTOR{0, 0, 0}, D3DVECTOR{1, 1, 1}, 0, 0, 0, "crate.xyz"), 0);
    platform::trace().clear();
    engine.Render_EXTERNcube(Variant(0), false, Light_vertex_TYPE);
    EXPECT_EQ(device_calls(), Calls{"Direct3DDevice7.setTexture 0, \"surface\""});
}

TEST_F(ExternCubes, TheEyeIsPushedBackWithinTheMarginOnXAndZOnly) {
    // Cube (0, 0, 0)..(10, 10, 10): the eye is stopped for -5 <= x < 15 and -5 <= z < 15.
    engine.ADD_cubeEXTERN_face(D3DVECTOR{0, 0, 0}, D3DVECTOR{10, 10, 10}, 0, 0, 0);
    open();
    const D3DVECTOR last{-40, 7, -30};
    const struct { D3DVECTOR eye; bool stopped; } rows[] = {
        {{-5, 7, 0}, true},  {{-5.01f, 7, 0}, false}, {{14.99f, 7, 0}, true}, {{15, 7, 0}, false},
        {{0, 7, -5}, true},  {{0, 7, 15}, false},     {{0, 7, 14.99f}, true}, {{5, 1000, 5}, true},
    };
    for (const auto& r : rows) {
        engine.Colision_CUBE = false;
        eye_at(r.eye, last);
        engine.Render_EXTERNcube(Variant(0), true);
        const D3DVECTOR now = engine.GET_CameraEYE(), want = r.stopped ? last : r.eye;
        SCOPED_TRACE(std::to_string(r.eye.x) + ", " + std::to_string(r.eye.z));
        EXPECT_EQ(engine.Colision_CUBE, r.stopped);
        EXPECT_EQ((std::vector<float>{now.x, now.z}), (std::vector<float>{want.x, want.z}));
    }
    // Without the camera test nothing moves; a hit stays set after the eye leaves.
    eye_at(D3DVECTOR{5, 7, 5}, last);
    engine.Colision_CUBE = false;
    engine.Render_EXTERNcube(Variant(0), false);
    EXPECT_FALSE(engine.Colision_CUBE);
    EXPECT_EQ(engine.GET_CameraEYE().x, 5.0f);
    engine.Render_EXTERNcube(Variant(0), true, Light_vertex_TYPE);   // tested, not drawn
    EXPECT_TRUE(engine.Colision_CUBE);
    eye_at(D3DVECTOR{100, 7, 100}, last);
    engine.Render_EXTERNcube(Variant(0), true);
    EXPECT_TRUE(engine.Colision_CUBE);
}

TEST_F(ExternCubes, FreeDXEmptiesTheListAndNumberingGoesOn) {
    open();
    engine.ADD_cubeEXTERN_face(D3DVECTOR{0, 0, 0}, D3DVECTOR{1, 1, 1}, 0, 0, 0);
    engine.ADD_cubeEXTERN_face(D3DVECTOR{0, 0, 0}, D3DVECTOR{1, 1, 1}, 0, 0, 0);
    engine.FreeDX(hwnd);
    EXPECT_EQ(error_of([&] { engine.Render_EXTERNcube(Variant(0), false, Light_vertex_TYPE); }),
              err::SubscriptOutOfRange);
    EXPECT_EQ(engine.ADD_cubeEXTERN_face(D3DVECTOR{0, 0, 0}, D3DVECTOR{1, 1, 1}, 0, 0, 0), 2);
    engine.Render_EXTERNcube(Variant(0), false, Light_vertex_TYPE);   // an empty entry below it
}

TEST_F(ExternCubes, TheCountIsAnIntegerAndOverflowsAt32768) {
    for (int i = 0; i < 32767; ++i) engine.ADD_cubeEXTERN_face(D3DVECTOR{0, 0, 0}, D3DVECTOR{1, 1, 1}, 0, 0, 0);
    EXPECT_EQ(error_of([&] { engine.ADD_cubeEXTERN_face(D3DVECTOR{0, 0, 0}, D3DVECTOR{1, 1, 1}, 0, 0, 0); }),
              err::Overflow);
    engine.Render_EXTERNcube(Variant(32766), false, Light_vertex_TYPE);
}

TEST_F(Constructions, EachWallStripStartsAtItsOwnElement) {
    // Only elements 12..15 hold geometry: a square over the whole view, lit
    // white by the default material's ambient term; the other quads are
    // points at the origin.
    open(32, 24);
    engine.device_CLEAR_COLOR = 0x000040;
    engine.SET_camera_DirectioN(D3DVECTOR{0, 0, -5}, D3DVECTOR{0, 0, 0});
    SafeArray<D3DVERTEX> walls(0, 15);
    const float corner[4][2] = {{-10, 10}, {10, 10}, {-10, -10}, {10, -10}};
    for (Long i = 0; i < 4; ++i) walls(12 + i) = D3DVERTEX{corner[i][0], corner[i][1], 0, 0, 0, -1, 0, 0};
    engine.Clear_3D();
    engine.D3D_DEV->beginScene();
    engine.Render_CONSTRUCTION(walls, MUR_EST);
    engine.D3D_DEV->endScene();
    engine.FLIPP(hwnd);
    EXPECT_EQ(window->frame().at(16, 12) & 0xFFFFFFu, 0xFFFFFFu);
}
