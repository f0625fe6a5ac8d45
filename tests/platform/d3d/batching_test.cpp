// Gathered draws: the same calls drawn at once and gathered, on 1, 2 and 4
// threads, give the same pictures and depths; whatever looks at or writes the
// target or its z-buffer between draws sees every draw made before it.
#include <cstring>

#include "d3d_test_util.h"

using namespace tarko;
using namespace tarko::d3dtest;

namespace {

constexpr int kW = 160, kH = 120;  // 3 x 2 tiles of 64

// The raw store, unsettled: what has really landed in the target so far.
std::uint32_t landed(const DirectDrawSurface7& s, int x, int y) {
    std::uint32_t v;
    std::memcpy(&v, s.pixels() + static_cast<std::size_t>(y) * s.pitch() + static_cast<std::size_t>(x) * 4, 4);
    return v & 0xFFFFFFu;
}

struct Drawn {
    Picture picture;
    std::vector<std::uint32_t> depth;
    std::vector<std::uint32_t> reads;  // pixels read back between draws
};

// Small textured strips in many states: blends, z-write off and on, a texture
// rewritten between two draws that use it, a partial clear, read-backs, and
// the target itself used as a texture.
Drawn draw_sequence(bool batching, int threads) {
    Scene s(kW, kH);
    s.dev->set_thread_count(threads);
    s.dev->set_batching(batching);
    Lcg rnd{7};
    std::vector<std::uint32_t> texels(16);
    for (std::size_t i = 0; i < texels.size(); ++i) texels[i] = 0xFF000000u | (0x151515u * static_cast<std::uint32_t>(i + 1));
    auto tex = make_texture(4, 4, texels);
    s.stage(0, {{dx::D3DTSS_COLOROP, dx::D3DTOP_MODULATE}, {dx::D3DTSS_COLORARG1, dx::D3DTA_TEXTURE},
                {dx::D3DTSS_COLORARG2, dx::D3DTA_DIFFUSE}});
    s.dev->setTexture(0, tex);
    Drawn run;
    s.dev->beginScene();
    for (int i = 0; i < 600; ++i) {
        const float x = rnd() * (kW - 12), y = rnd() * (kH - 12), w = 3 + rnd() * 9, z = rnd();
        const auto colour = 0xFF000000u | static_cast<std::uint32_t>(rnd() * 16777215.0f);
        s.draw(dx::D3DPT_TRIANGLESTRIP, dx::D3DFVF_TLVERTEX, tl_quad(x, y, x + w, y + w, colour, z));
        switch (i % 7) {
        case 1: s.blend(dx::D3DBLEND_ONE, dx::D3DBLEND_ONE); break;
        case 2: s.blend(dx::D3DBLEND_SRCCOLOR, dx::D3DBLEND_INVSRCCOLOR); break;
        case 3: s.states({{dx::D3DRENDERSTATE_ALPHABLENDENABLE, 0}, {dx::D3DRENDERSTATE_ZWRITEENABLE, i % 2}}); break;
        case 4:
            // The texture changes under a draw already made with it.
            tex->set_raw(i % 4, 0, PixelFormat::a8r8g8b8().from_argb(0xFF000000u | colour));
            tex->touch();
            break;
        case 5: run.reads.push_back(s.argb(static_cast<int>(x + 1), static_cast<int>(y + 1))); break;
        default: break;
        }
        if (i == 300) {
            const D3DRECT r{20, 20, 90, 70};
            s.dev->clear(1, std::span<const D3DRECT>(&r, 1), dx::D3DCLEAR_TARGET | dx::D3DCLEAR_ZBUFFER, 0x203040, 0.5f, 0);
        }
        if (i == 100)
            // More draws than two batches hold: with workers, each full batch is
            // drawn by them while the next one gathers, and must be let go of
            // before draws join it again.
            for (int k = 0; k < 9000; ++k) {
                const float px = static_cast<float>(k % kW), py = static_cast<float>(k / kW % kH);
                s.draw(dx::D3DPT_TRIANGLESTRIP, dx::D3DFVF_TLVERTEX,
                       tl_quad(px, py, px + 2, py + 2, 0xFF000000u | static_cast<std::uint32_t>(k * 2654435761u), 0.2f));
            }
        if (i == 450) s.dev->setTexture(0, s.target);  // drawn from what is drawn so far
        if (i == 500) s.dev->setTexture(0, tex);
    }
    s.dev->endScene();
    run.picture = s.picture();
    for (int y = 0; y < kH; ++y)
        for (int x = 0; x < kW; ++x) run.depth.push_back(s.z->raw_at(x, y));
    return run;
}

}  // namespace

TEST(Batching, GatheredDrawsGiveTheSamePicturesOnAnyThreadCount) {
    const Drawn expected = draw_sequence(false, 1);
    for (bool batching : {false, true})
        for (int threads : {1, 2, 4}) {
            if (!batching && threads == 1) continue;
            const std::string label = (batching ? "batched_" : "at_once_") + std::to_string(threads);
            const Drawn got = draw_sequence(batching, threads);
            EXPECT_TRUE(same_picture(label, got.picture, expected.picture));
            EXPECT_EQ(got.depth, expected.depth) << label;
            EXPECT_EQ(got.reads, expected.reads) << label;
        }
}

// Each way of looking at the target or z-buffer between draws: a white quad
// over a black target is drawn, gathered, then observed.
TEST(Batching, EveryObservationOfTheTargetSeesTheGatheredDraws) {
    struct Row {
        const char* what;
        std::function<std::uint32_t(Scene&)> observe;  // the pixel (5, 5) as seen, 0RGB
    };
    const Row rows[] = {
        {"to_frame", [](Scene& s) { return s.target->to_frame().at(5, 5); }},
        {"getLockedPixel", [](Scene& s) {
             DDSURFACEDESC2 d;
             s.target->lock(RECT{}, d, 0, 0);
             const auto v = static_cast<std::uint32_t>(s.target->getLockedPixel(5, 5)) & 0xFFFFFFu;
             s.target->unlock(RECT{});
             return v;
         }},
        {"blt", [](Scene& s) {
             auto copy = make_surface(kW, kH, PixelFormat::x8r8g8b8(), dx::DDSCAPS_OFFSCREENPLAIN);
             copy->blt(RECT{}, s.target, RECT{}, 0);
             return landed(*copy, 5, 5);
         }},
        {"endScene", [](Scene& s) {
             s.dev->endScene();
             return landed(*s.target, 5, 5);
         }},
        // Cleared to z 1 (65535); the quad's z 0.5 lands near 32768.
        {"z-buffer read", [](Scene& s) { return s.z->raw_at(5, 5) < 0x9000 ? 0xFFFFFFu : s.z->raw_at(5, 5); }},
        {"clear of another place", [](Scene& s) {
             const D3DRECT r{100, 100, 110, 110};
             s.dev->clear(1, std::span<const D3DRECT>(&r, 1), dx::D3DCLEAR_TARGET, 0x00FF00, 1.0f, 0);
             return landed(*s.target, 5, 5);
         }},
    };
    for (const Row& row : rows) {
        Scene s(kW, kH);
        s.dev->set_thread_count(2);
        s.dev->beginScene();
        s.draw(dx::D3DPT_TRIANGLESTRIP, dx::D3DFVF_TLVERTEX, tl_quad(0, 0, 10, 10, 0xFFFFFFFF, 0.5f));
        ASSERT_EQ(landed(*s.target, 5, 5), 0u) << row.what << ": the draw waits in the batch";
        EXPECT_EQ(row.observe(s), 0xFFFFFFu) << row.what;
    }
}

TEST(Batching, WritesOverTheTargetComeAfterTheGatheredDraws) {
    Scene s(kW, kH);
    s.dev->beginScene();
    s.draw(dx::D3DPT_TRIANGLESTRIP, dx::D3DFVF_TLVERTEX, tl_quad(0, 0, 10, 10, 0xFFFFFFFF, 0.5f));
    DDSURFACEDESC2 d;
    s.target->lock(RECT{}, d, 0, 0);  // the host paints one pixel red after the draw: the draw must not cover it
    s.target->setLockedPixel(5, 5, static_cast<Long>(PixelFormat::x8r8g8b8().from_argb(0xFF0000)));
    s.target->unlock(RECT{});
    s.target->bltColorFill(RECT{0, 8, 2, 10}, static_cast<Long>(0x0000FF));
    s.dev->endScene();
    for (auto [x, y, want] : {std::tuple{5, 5, 0xFF0000u}, {1, 9, 0x0000FFu}, {6, 6, 0xFFFFFFu}})
        EXPECT_EQ(s.argb(x, y), want) << x << ", " << y;
}

// On one thread; with workers a full batch goes to them (the sequence test above).
TEST(Batching, ALargeBatchLandsWithoutBeingAsked) {
    Scene s(kW, kH);
    s.dev->beginScene();
    // One-pixel quads at (0, 0) until the draw count limit of a batch is reached.
    for (std::size_t i = 0; i < 4096; ++i)
        s.draw(dx::D3DPT_TRIANGLESTRIP, dx::D3DFVF_TLVERTEX, tl_quad(0, 0, 1, 1, 0xFF00FF00, 0.5f));
    EXPECT_EQ(landed(*s.target, 0, 0), 0x00FF00u);
    s.draw(dx::D3DPT_TRIANGLESTRIP, dx::D3DFVF_TLVERTEX, tl_quad(2, 0, 3, 1, 0xFF00FF00, 0.5f));
    EXPECT_EQ(landed(*s.target, 2, 0), 0u);  // a new batch has begun
    s.dev->set_batching(false);               // and lands when batching stops
    EXPECT_EQ(landed(*s.target, 2, 0), 0x00FF00u);
}

// The target read as a texture sees the draws before it, also after it was
// read once already (its generation moves with each gathered draw).
TEST(Batching, TheTargetAsATextureSeesTheDrawsBeforeIt) {
    Scene s(kW, kH);
    s.stage(0, {{dx::D3DTSS_COLOROP, dx::D3DTOP_SELECTARG1}, {dx::D3DTSS_COLORARG1, dx::D3DTA_TEXTURE}});
    // Every vertex samples the target's pixel (55, 55): u = 55 / 160, v = 55 / 120.
    auto copy_of_55 = [&](float x0) {
        auto q = tl_quad(x0, 0, x0 + 10, 10, 0xFFFFFFFF);
        for (auto& v : q) v.tu = 55.0f / kW, v.tv = 55.0f / kH;
        s.dev->setTexture(0, s.target);
        s.draw(dx::D3DPT_TRIANGLESTRIP, dx::D3DFVF_TLVERTEX, q);
    };
    s.dev->beginScene();
    copy_of_55(0);  // still black there
    s.dev->setTexture(0, {});  // no texture: the stage reads white
    s.draw(dx::D3DPT_TRIANGLESTRIP, dx::D3DFVF_TLVERTEX, tl_quad(50, 50, 60, 60, 0xFF00FF00));
    copy_of_55(20);  // white now
    s.dev->endScene();
    EXPECT_EQ(s.argb(5, 5), 0u);
    EXPECT_EQ(s.argb(25, 5), 0xFFFFFFu);
}

// A second device on the same target: its first draw lands the first
// device's gathered draws, so the later draw stays on top.
TEST(Batching, ASecondDeviceOnTheTargetKeepsTheOrderOfDraws) {
    Scene s(kW, kH);
    Direct3DDevice7 other(platform::kRgbGuid, s.target);
    for (Direct3DDevice7* d : {s.dev.get(), &other}) d->setRenderState(dx::D3DRENDERSTATE_ZENABLE, 0);  // the later draw wins
    s.dev->beginScene();
    s.draw(dx::D3DPT_TRIANGLESTRIP, dx::D3DFVF_TLVERTEX, tl_quad(0, 0, 10, 10, 0xFFFF0000, 0.5f));
    auto green = tl_quad(0, 0, 10, 10, 0xFF00FF00, 0.4f);
    other.beginScene();
    other.drawPrimitive(dx::D3DPT_TRIANGLESTRIP, dx::D3DFVF_TLVERTEX, std::span<D3DTLVERTEX>(green), 4, 0);
    other.endScene();
    s.dev->endScene();  // nothing of the first device's may land now
    EXPECT_EQ(s.argb(5, 5), 0x00FF00u);
}
