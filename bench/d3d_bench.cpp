// Speed of the software device against Mesa llvmpipe (EGL without a surface,
// fixed-function GL into a framebuffer object) on the same scenes at 640x480:
//   a) full-screen textured alpha-blended quads   Mpix/s
//   b) two texture stages and fog                 Mpix/s
//   c) many small lit textured triangles          Mtri/s
//   d) a 20,000-triangle lit textured scene       frames/s
//   e) 10,000 separate small textured strips      frames/s
//      (one draw call each, as particles send them; ours gathers them)
// Both draw with the same state: the same texels (ours after conversion to
// the texture's format), MODULATE2X on the second stage (GL's combine mode,
// RGB scale 2) with its own coordinates, the same light attenuation, ambient,
// fog and clear colours, and GL shifted half a pixel to our pixel centres.
// Once per scene both pictures are read back and compared; a speed ratio is
// printed only when they agree within kMeanTolerance and kOffShare.
// Each figure is the median of kRuns runs, with the slowest and fastest.
// Usage: tarko_d3d_bench [threads] [seconds per figure]
// TARKO_BENCH_PICTURES=folder writes both pictures of each scene as PNG.
// TARKO_BENCH_NO_GL=1 skips llvmpipe (for profiling our device alone);
// TARKO_BENCH_ONLY=abcde picks the scenes to run; TARKO_BENCH_LANES=8|4|0 draws
// with AVX2, SSE2 or the portable routines instead of the best this processor has.
#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GL/gl.h>
#include <dlfcn.h>

#include <algorithm>
#include <array>
#include <thread>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <numbers>
#include <span>
#include <string>
#include <vector>

#include "platform/base/dx_math.h"
#include "platform/constants.h"
#include "platform/d3d/device.h"
#include "platform/d3d/pipeline.h"
#include "platform/pixel_format.h"
#include "platform/profile.h"
#include "platform/surface.h"
#include "platform/window.h"

using namespace tarko;
using platform::PixelFormat;

namespace {

constexpr int kW = 640, kH = 480, kRuns = 5;
// Picture agreement needed for a ratio: mean difference per channel, and the
// share of pixels off by more than kOffBy in some channel. The textures' sharp
// steps (blue 248 to 0, red 255 to 0) and triangle edges land a texel or a
// pixel apart in a few percent of pixels; a different stage operation, light
// or coordinate set moves the mean by tens.
constexpr double kMeanTolerance = 2.0, kOffShare = 0.03;
constexpr int kOffBy = 16;
double g_seconds = 1.5;

double seconds_since(std::chrono::steady_clock::time_point t0) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
}

struct Figure {
    double median = 0, min = 0, max = 0;
};

// Frames per second of `frame` over a share of the time.
double run_once(const std::function<void()>& frame, const std::function<void()>& finish) {
    int frames = 0;
    const auto t0 = std::chrono::steady_clock::now();
    do {
        frame();
        ++frames;
        if (frames % 4 == 0) finish();
    } while (seconds_since(t0) < g_seconds / kRuns);
    finish();
    return frames / seconds_since(t0);
}

Figure summary(std::array<double, kRuns> rates) {
    std::sort(rates.begin(), rates.end());
    return {rates[kRuns / 2], rates.front(), rates.back()};
}

Figure scaled(Figure f, double by) { return {f.median * by, f.min * by, f.max * by}; }

// Per-channel difference of two 0x00RRGGBB pictures.
struct Difference {
    std::array<int, 3> max{};
    std::array<double, 3> mean{};
    double off_share = 0;
    bool agrees() const {
        return off_share <= kOffShare && *std::max_element(mean.begin(), mean.end()) <= kMeanTolerance;
    }
};

Difference compare(const std::vector<std::uint32_t>& a, const std::vector<std::uint32_t>& b) {
    Difference d;
    std::size_t off = 0;
    for (std::size_t i = 0; i < a.size(); ++i) {
        bool far = false;
        for (int c = 0; c < 3; ++c) {
            const int e = std::abs(static_cast<int>((a[i] >> (16 - 8 * c)) & 255) - static_cast<int>((b[i] >> (16 - 8 * c)) & 255));
            d.max[c] = std::max(d.max[c], e);
            d.mean[c] += e;
            far = far || e > kOffBy;
        }
        off += far;
    }
    for (double& m : d.mean) m /= static_cast<double>(a.size());
    d.off_share = static_cast<double>(off) / static_cast<double>(a.size());
    return d;
}

// ---------- scene data shared by both renderers

struct Mesh {
    std::vector<D3DVERTEX> v;
    std::vector<Integer> idx;  // 16-bit, as the engine's
    std::vector<std::uint16_t> gl_idx;
};

PixelFormat texture_format(bool alpha) { return alpha ? PixelFormat::a4r4g4b4() : PixelFormat::r5g6b5(); }

// The texels as our textures hold them (A4R4G4B4 or R5G6B5 read back to
// 8 bits), so that GL samples the same values.
std::vector<std::uint32_t> make_texels(int size, bool alpha) {
    const PixelFormat f = texture_format(alpha);
    std::vector<std::uint32_t> t;
    for (int y = 0; y < size; ++y)
        for (int x = 0; x < size; ++x) {
            const std::uint32_t a = alpha ? static_cast<std::uint32_t>(96 + ((x ^ y) & 127)) : 255u;
            t.push_back(f.to_argb(f.from_argb(a << 24 | static_cast<std::uint32_t>((x * 255) / size) << 16 |
                                              static_cast<std::uint32_t>((y * 255) / size) << 8 |
                                              static_cast<std::uint32_t>(((x + y) & 31) * 8))));
        }
    return t;
}

// The point light both renderers use; its range reaches past every vertex.
constexpr float kPointAtt0 = 1, kPointAtt1 = 0.1f, kPointRange = 30;
constexpr std::uint32_t kClear = 0x203040, kFog = 0x8090A0, kAmbient = 0x303030;
float channel(std::uint32_t c, int shift) { return static_cast<float>((c >> shift) & 255) / 255.0f; }

// A grid of n x n quads on y = 0 with a gentle height wave, seen from above at an angle.
Mesh make_grid(int n, float size) {
    Mesh m;
    for (int j = 0; j <= n; ++j)
        for (int i = 0; i <= n; ++i) {
            const float x = (static_cast<float>(i) / n - 0.5f) * size, z = (static_cast<float>(j) / n - 0.5f) * size;
            const float h = std::sin(x * 0.3f) * std::cos(z * 0.25f) * 0.8f;
            const float nx = -0.24f * std::cos(x * 0.3f) * std::cos(z * 0.25f);
            const float nz = 0.2f * std::sin(x * 0.3f) * std::sin(z * 0.25f);
            const float len = std::sqrt(nx * nx + 1 + nz * nz);
            D3DVERTEX v;
            v.x = x, v.y = h, v.z = z, v.nx = nx / len, v.ny = 1 / len, v.nz = nz / len;
            v.tu = static_cast<float>(i) * 0.25f, v.tv = static_cast<float>(j) * 0.25f;
            m.v.push_back(v);
        }
    for (int j = 0; j < n; ++j)
        for (int i = 0; i < n; ++i) {
            const int a = j * (n + 1) + i, b = a + 1, c = a + n + 1, d = c + 1;
            for (int k : {a, c, b, b, c, d}) {
                m.idx.push_back(static_cast<Integer>(k));
                m.gl_idx.push_back(static_cast<std::uint16_t>(k));
            }
        }
    return m;
}

D3DMATRIX view_matrix() {
    D3DMATRIX v;
    dxmath::viewMatrix(v, D3DVECTOR{0, 9, -14}, D3DVECTOR{0, 0, 2}, D3DVECTOR{0, 1, 0}, 0);
    return v;
}

D3DMATRIX projection() {
    D3DMATRIX p;
    dxmath::projectionMatrix(p, 1, 200, static_cast<float>(std::numbers::pi / 3));
    p.rc11 *= static_cast<float>(kH) / kW;  // 4:3
    return p;
}

// ---------- our device

// Scene e's strips: strip i is an 8 x 8 pixel square on a 100-column grid
// over the screen, its texture window following its place.
constexpr int kStrips = 10000;
constexpr float kStripSize = 8;
std::array<float, 2> strip_corner(int i) {
    return {static_cast<float>(i % 100) * 6.3f, static_cast<float>(i / 100) * 4.7f};
}

struct Ours {
    Ref<DirectDrawSurface7> target, z;
    std::unique_ptr<Direct3DDevice7> dev;
    Ref<DirectDrawSurface7> tex_alpha, tex0, tex1;

    static Ref<DirectDrawSurface7> surface(int w, int h, const PixelFormat& f, std::int32_t caps) {
        DDSURFACEDESC2 d;
        d.lWidth = w, d.lHeight = h, d.ddsCaps.lCaps = caps;
        return Ref<DirectDrawSurface7>(std::make_shared<DirectDrawSurface7>(nullptr, d, f));
    }
    static Ref<DirectDrawSurface7> texture(int size, bool alpha) {
        const auto f = texture_format(alpha);
        auto t = surface(size, size, f, dx::DDSCAPS_TEXTURE);
        const auto texels = make_texels(size, alpha);
        for (int y = 0; y < size; ++y)
            for (int x = 0; x < size; ++x) t->set_raw(x, y, f.from_argb(texels[static_cast<std::size_t>(y * size + x)]));
        t->touch();
        return t;
    }

    Ours(int threads, int bits) {
        target = surface(kW, kH, PixelFormat::rgb_of_depth(bits), dx::DDSCAPS_3DDEVICE | dx::DDSCAPS_OFFSCREENPLAIN);
        z = surface(kW, kH, PixelFormat::z(16), dx::DDSCAPS_ZBUFFER);
        target->addAttachedSurface(z);
        dev = std::make_unique<Direct3DDevice7>(platform::kRgbGuid, target);
        dev->set_thread_count(threads);
        dev->set_pixel_routines(routines());
        tex_alpha = texture(256, true);
        tex0 = texture(256, false);
        tex1 = texture(64, false);
        for (int s = 0; s < 2; ++s) {
            dev->setTextureStageState(s, dx::D3DTSS_MAGFILTER, dx::D3DTFG_LINEAR);
            dev->setTextureStageState(s, dx::D3DTSS_MINFILTER, dx::D3DTFN_LINEAR);
        }
    }
    static Direct3DDevice7::PixelRoutines routines() {
        using R = Direct3DDevice7::PixelRoutines;
        const char* lanes = std::getenv("TARKO_BENCH_LANES");
        const int n = lanes ? std::atoi(lanes) : 16;
        return n >= 16 ? R::Best : n == 8 ? R::EightLanes : n == 4 ? R::FourLanes : R::Portable;
    }
    static int lanes() {
        using R = Direct3DDevice7::PixelRoutines;
        const R r = routines();
        return platform::d3d::lanes_of(r == R::Best         ? platform::d3d::Routines::Best
                                       : r == R::EightLanes ? platform::d3d::Routines::EightLanes
                                       : r == R::FourLanes  ? platform::d3d::Routines::FourLanes
                                                            : platform::d3d::Routines::Portable);
    }
    void clear() { dev->clear(0, {}, dx::D3DCLEAR_TARGET | dx::D3DCLEAR_ZBUFFER, kClear, 1, 0); }
    std::vector<std::uint32_t> read() const {
        std::vector<std::uint32_t> px;
        for (int y = 0; y < kH; ++y)
            for (int x = 0; x < kW; ++x) px.push_back(target->argb_at(x, y) & 0xFFFFFFu);
        return px;
    }

    void quads(int layers) {
        dev->setTexture(0, tex_alpha);
        dev->setRenderState(dx::D3DRENDERSTATE_ZENABLE, 0);
        dev->setRenderState(dx::D3DRENDERSTATE_ALPHABLENDENABLE, 1);
        dev->setRenderState(dx::D3DRENDERSTATE_SRCBLEND, dx::D3DBLEND_SRCALPHA);
        dev->setRenderState(dx::D3DRENDERSTATE_DESTBLEND, dx::D3DBLEND_INVSRCALPHA);
        for (int i = 0; i < layers; ++i) {
            const float o = static_cast<float>(i) * 0.03f;
            std::vector<D3DTLVERTEX> q(4);
            const float xy[4][2] = {{0, kH}, {0, 0}, {kW, kH}, {kW, 0}};
            for (int k = 0; k < 4; ++k) {
                q[k].sx = xy[k][0], q[k].sy = xy[k][1], q[k].sz = 0.5f, q[k].rhw = 1, q[k].color = -1;
                q[k].tu = xy[k][0] / 256.0f + o, q[k].tv = xy[k][1] / 256.0f;
            }
            dev->drawPrimitive(dx::D3DPT_TRIANGLESTRIP, dx::D3DFVF_TLVERTEX, std::span(q), 4, 0);
        }
        dev->setRenderState(dx::D3DRENDERSTATE_ALPHABLENDENABLE, 0);
        dev->setRenderState(dx::D3DRENDERSTATE_ZENABLE, 1);
    }

    void strips() {
        dev->beginScene();
        dev->setTexture(0, tex0);
        dev->setRenderState(dx::D3DRENDERSTATE_ZENABLE, 0);
        std::array<D3DTLVERTEX, 4> q{};
        for (int i = 0; i < kStrips; ++i) {
            const auto [x0, y0] = strip_corner(i);
            const float xy[4][2] = {{x0, y0 + kStripSize}, {x0, y0}, {x0 + kStripSize, y0 + kStripSize}, {x0 + kStripSize, y0}};
            for (int k = 0; k < 4; ++k) {
                q[k].sx = xy[k][0], q[k].sy = xy[k][1], q[k].sz = 0.5f, q[k].rhw = 1, q[k].color = -1;
                q[k].tu = xy[k][0] / 256.0f, q[k].tv = xy[k][1] / 256.0f;
            }
            dev->drawPrimitive(dx::D3DPT_TRIANGLESTRIP, dx::D3DFVF_TLVERTEX, std::span<D3DTLVERTEX>(q), 4, 0);
        }
        dev->setRenderState(dx::D3DRENDERSTATE_ZENABLE, 1);
        dev->endScene();  // the gathered strips land here
    }

    void two_stage_fog(int layers) {
        dev->setTexture(0, tex0);
        dev->setTexture(1, tex1);
        dev->setTextureStageState(1, dx::D3DTSS_COLOROP, dx::D3DTOP_MODULATE2X);
        dev->setTextureStageState(1, dx::D3DTSS_COLORARG1, dx::D3DTA_TEXTURE);
        dev->setTextureStageState(1, dx::D3DTSS_COLORARG2, dx::D3DTA_CURRENT);
        dev->setRenderState(dx::D3DRENDERSTATE_LIGHTING, 0);
        dev->setRenderState(dx::D3DRENDERSTATE_ZENABLE, 0);
        dev->setRenderState(dx::D3DRENDERSTATE_CULLMODE, dx::D3DCULL_NONE);
        dev->setRenderState(dx::D3DRENDERSTATE_FOGENABLE, 1);
        dev->setRenderState(dx::D3DRENDERSTATE_FOGVERTEXMODE, dx::D3DFOG_LINEAR);
        dev->setRenderState(dx::D3DRENDERSTATE_FOGCOLOR, kFog);
        dev->setRenderStateSingle(dx::D3DRENDERSTATE_FOGSTART, 2);
        dev->setRenderStateSingle(dx::D3DRENDERSTATE_FOGEND, 30);
        D3DMATRIX id;
        dxmath::identityMatrix(id);
        dev->setTransform(dx::D3DTRANSFORMSTATE_WORLD, id);
        dev->setTransform(dx::D3DTRANSFORMSTATE_VIEW, id);
        dev->setTransform(dx::D3DTRANSFORMSTATE_PROJECTION, projection());
        // A wall slanting away: fills the screen, depth 4..20.
        const std::vector<D3DVERTEX> wall = {{-8, -6, 4, 0, 0, -1, 0, 4}, {-8, 6, 4, 0, 0, -1, 0, 0},
                                             {40, -30, 20, 0, 0, -1, 8, 4}, {40, 30, 20, 0, 0, -1, 8, 0}};
        std::vector<D3DVERTEX> w = wall;
        for (int i = 0; i < layers; ++i)
            dev->drawPrimitive(dx::D3DPT_TRIANGLESTRIP, dx::D3DFVF_VERTEX, std::span(w), 4, 0);
        dev->setTextureStageState(1, dx::D3DTSS_COLOROP, dx::D3DTOP_DISABLE);
        dev->setRenderState(dx::D3DRENDERSTATE_FOGENABLE, 0);
        dev->setRenderState(dx::D3DRENDERSTATE_ZENABLE, 1);
        dev->setRenderState(dx::D3DRENDERSTATE_LIGHTING, 1);
    }

    void lit_mesh(const Mesh& m, const D3DMATRIX& world) {
        dev->setTexture(0, tex0);
        dev->setRenderState(dx::D3DRENDERSTATE_LIGHTING, 1);
        dev->setRenderState(dx::D3DRENDERSTATE_CULLMODE, dx::D3DCULL_NONE);
        dev->setRenderState(dx::D3DRENDERSTATE_AMBIENT, kAmbient);
        D3DMATERIAL7 mat;
        mat.diffuse = {1, 1, 1, 1};
        mat.ambient = {1, 1, 1, 1};
        dev->setMaterial(mat);
        D3DLIGHT7 l;
        l.dltType = D3DLIGHT_DIRECTIONAL;
        l.diffuse = {1, 0.95f, 0.9f, 1};
        l.direction = {0.3f, -1, 0.4f};
        dev->setLight(0, l);
        dev->lightEnable(0, true);
        D3DLIGHT7 p;
        p.dltType = D3DLIGHT_POINT;
        p.diffuse = {0.5f, 0.3f, 0.1f, 1};
        p.position = {2, 3, 0};
        p.range = kPointRange;
        p.attenuation0 = kPointAtt0;
        p.attenuation1 = kPointAtt1;
        dev->setLight(1, p);
        dev->lightEnable(1, true);
        dev->setTransform(dx::D3DTRANSFORMSTATE_WORLD, world);
        dev->setTransform(dx::D3DTRANSFORMSTATE_VIEW, view_matrix());
        dev->setTransform(dx::D3DTRANSFORMSTATE_PROJECTION, projection());
        auto v = std::span(m.v);
        auto idx = std::span(m.idx);
        dev->drawIndexedPrimitive(dx::D3DPT_TRIANGLELIST, dx::D3DFVF_VERTEX, v, static_cast<Long>(m.v.size()), idx,
                                  static_cast<Long>(m.idx.size()), 0);
    }
};

// ---------- Mesa llvmpipe

struct Mesa {
    using Fn = void (*)();
    bool ok = false;
    std::string why;
#define GLF(ret, name, ...) ret (*name)(__VA_ARGS__) = nullptr;
#include "gl_functions.inc"
#undef GLF
    GLuint tex_alpha = 0, tex0 = 0, tex1 = 0;

    struct Skip {};
    explicit Mesa(Skip) : why("TARKO_BENCH_NO_GL") {}
    Mesa() {
        setenv("LIBGL_ALWAYS_SOFTWARE", "1", 0);
        setenv("GALLIUM_DRIVER", "llvmpipe", 0);
        void* lib = dlopen("libEGL.so.1", RTLD_NOW | RTLD_LOCAL);
        if (!lib) { why = "libEGL.so.1 not found"; return; }
        auto get_proc = reinterpret_cast<Fn (*)(const char*)>(dlsym(lib, "eglGetProcAddress"));
        auto egl = [&](const char* n) { auto p = reinterpret_cast<Fn>(dlsym(lib, n)); return p ? p : get_proc(n); };
        auto get_display = reinterpret_cast<EGLDisplay (*)(EGLenum, void*, const EGLAttrib*)>(egl("eglGetPlatformDisplay"));
        auto initialize = reinterpret_cast<EGLBoolean (*)(EGLDisplay, EGLint*, EGLint*)>(egl("eglInitialize"));
        auto bind_api = reinterpret_cast<EGLBoolean (*)(EGLenum)>(egl("eglBindAPI"));
        auto choose = reinterpret_cast<EGLBoolean (*)(EGLDisplay, const EGLint*, EGLConfig*, EGLint, EGLint*)>(egl("eglChooseConfig"));
        auto create = reinterpret_cast<EGLContext (*)(EGLDisplay, EGLConfig, EGLContext, const EGLint*)>(egl("eglCreateContext"));
        auto make_current = reinterpret_cast<EGLBoolean (*)(EGLDisplay, EGLSurface, EGLSurface, EGLContext)>(egl("eglMakeCurrent"));
        if (!get_display || !initialize || !bind_api || !choose || !create || !make_current) { why = "EGL 1.5 entry points missing"; return; }
        EGLDisplay dpy = get_display(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr);
        EGLint major, minor, n = 0;
        const EGLint attrs[] = {EGL_RENDERABLE_TYPE, EGL_OPENGL_BIT, EGL_SURFACE_TYPE, 0, EGL_NONE};
        EGLConfig config;
        if (dpy == EGL_NO_DISPLAY || !initialize(dpy, &major, &minor) || !bind_api(EGL_OPENGL_API) ||
            !choose(dpy, attrs, &config, 1, &n) || n < 1) { why = "no surfaceless EGL display"; return; }
        EGLContext ctx = create(dpy, config, EGL_NO_CONTEXT, nullptr);
        if (ctx == EGL_NO_CONTEXT || !make_current(dpy, EGL_NO_SURFACE, EGL_NO_SURFACE, ctx)) { why = "no context"; return; }
        bool all = true;
#define GLF(ret, name, ...) name = reinterpret_cast<ret (*)(__VA_ARGS__)>(get_proc(#name)); all = all && name;
#include "gl_functions.inc"
#undef GLF
        if (!all) { why = "GL entry points missing"; return; }
        GLuint fbo, rb[2];
        glGenFramebuffers(1, &fbo);
        glBindFramebuffer(GL_FRAMEBUFFER, fbo);
        glGenRenderbuffers(2, rb);
        glBindRenderbuffer(GL_RENDERBUFFER, rb[0]);
        glRenderbufferStorage(GL_RENDERBUFFER, GL_RGBA8, kW, kH);
        glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, rb[0]);
        glBindRenderbuffer(GL_RENDERBUFFER, rb[1]);
        glRenderbufferStorage(GL_RENDERBUFFER, GL_DEPTH_COMPONENT16, kW, kH);
        glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_DEPTH_ATTACHMENT, GL_RENDERBUFFER, rb[1]);
        if (glCheckFramebufferStatus(GL_FRAMEBUFFER) != GL_FRAMEBUFFER_COMPLETE) { why = "framebuffer incomplete"; return; }
        glViewport(0, 0, kW, kH);
        tex_alpha = texture(256, true);
        tex0 = texture(256, false);
        tex1 = texture(64, false);
        ok = true;
    }
    GLuint texture(int size, bool alpha) {
        std::vector<std::uint8_t> rgba;
        for (auto t : make_texels(size, alpha))
            rgba.insert(rgba.end(), {std::uint8_t(t >> 16), std::uint8_t(t >> 8), std::uint8_t(t), std::uint8_t(t >> 24)});
        GLuint t;
        glGenTextures(1, &t);
        glBindTexture(GL_TEXTURE_2D, t);
        // 32-bit texels, as ours are after conversion.
        glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, size, size, 0, GL_RGBA, GL_UNSIGNED_BYTE, rgba.data());
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_REPEAT);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_REPEAT);
        glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_MODULATE);
        return t;
    }
    void load(const D3DMATRIX& m, GLenum mode) {
        glMatrixMode(mode);
        glLoadMatrixf(&m.rc11);
    }
    void projection_3d() {
        // Depth 0..w to -w..w; x and y half a pixel over, as GL's pixel centres lie at +0.5.
        D3DMATRIX c, m;
        c.rc11 = 1, c.rc22 = 1, c.rc33 = 2, c.rc44 = 1, c.rc43 = -1, c.rc41 = 1.0f / kW, c.rc42 = -1.0f / kH;
        dxmath::matrixMultiply(m, projection(), c);
        load(m, GL_PROJECTION);
    }
    void clear() {
        glClearColor(channel(kClear, 16), channel(kClear, 8), channel(kClear, 0), 1);
        glClearDepth(1);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    }
    void finish() { glFinish(); }
    std::vector<std::uint32_t> read() {
        std::vector<std::uint32_t> px(static_cast<std::size_t>(kW) * kH), out;
        glFinish();
        glReadPixels(0, 0, kW, kH, GL_BGRA, GL_UNSIGNED_INT_8_8_8_8_REV, px.data());
        for (int y = kH - 1; y >= 0; --y)  // GL's rows run bottom up
            for (int x = 0; x < kW; ++x) out.push_back(px[static_cast<std::size_t>(y) * kW + x] & 0xFFFFFFu);
        return out;
    }

    // Screen pixels, shifted half a pixel onto GL's centres; no depth test.
    void screen_space() {
        D3DMATRIX p;
        p.rc11 = 2.0f / kW, p.rc22 = -2.0f / kH, p.rc33 = 1, p.rc44 = 1, p.rc41 = -1 + 1.0f / kW, p.rc42 = 1 - 1.0f / kH;
        load(p, GL_PROJECTION);
        D3DMATRIX id;
        dxmath::identityMatrix(id);
        load(id, GL_MODELVIEW);
        glDisable(GL_DEPTH_TEST);
    }

    void quads(int layers) {
        screen_space();
        glEnable(GL_TEXTURE_2D);
        glBindTexture(GL_TEXTURE_2D, tex_alpha);
        glEnable(GL_BLEND);
        glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
        for (int i = 0; i < layers; ++i) {
            const float o = static_cast<float>(i) * 0.03f;
            glBegin(GL_TRIANGLE_STRIP);
            const float xy[4][2] = {{0, kH}, {0, 0}, {kW, kH}, {kW, 0}};
            for (auto& v : xy) {
                glColor4ub(255, 255, 255, 255);
                glTexCoord2f(v[0] / 256.0f + o, v[1] / 256.0f);
                glVertex4f(v[0], v[1], 0.5f, 1);
            }
            glEnd();
        }
        glDisable(GL_BLEND);
        glDisable(GL_TEXTURE_2D);
    }

    void strips() {
        screen_space();
        glEnable(GL_TEXTURE_2D);
        glBindTexture(GL_TEXTURE_2D, tex0);
        for (int i = 0; i < kStrips; ++i) {
            const auto [x0, y0] = strip_corner(i);
            const float xy[4][2] = {{x0, y0 + kStripSize}, {x0, y0}, {x0 + kStripSize, y0 + kStripSize}, {x0 + kStripSize, y0}};
            glBegin(GL_TRIANGLE_STRIP);  // one call per strip, as ours gets them
            for (auto& v : xy) {
                glColor4ub(255, 255, 255, 255);
                glTexCoord2f(v[0] / 256.0f, v[1] / 256.0f);
                glVertex4f(v[0], v[1], 0.5f, 1);
            }
            glEnd();
        }
        glDisable(GL_TEXTURE_2D);
    }

    void two_stage_fog(int layers) {
        projection_3d();
        D3DMATRIX id;
        dxmath::identityMatrix(id);
        load(id, GL_MODELVIEW);
        glDisable(GL_DEPTH_TEST);
        glActiveTexture(GL_TEXTURE0);
        glEnable(GL_TEXTURE_2D);
        glBindTexture(GL_TEXTURE_2D, tex0);
        glActiveTexture(GL_TEXTURE1);
        glEnable(GL_TEXTURE_2D);
        glBindTexture(GL_TEXTURE_2D, tex1);
        // Our stage 1: MODULATE2X of TEXTURE and CURRENT, alpha passed on.
        glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_COMBINE);
        glTexEnvi(GL_TEXTURE_ENV, GL_COMBINE_RGB, GL_MODULATE);
        glTexEnvi(GL_TEXTURE_ENV, GL_SOURCE0_RGB, GL_TEXTURE);
        glTexEnvi(GL_TEXTURE_ENV, GL_SOURCE1_RGB, GL_PREVIOUS);
        glTexEnvi(GL_TEXTURE_ENV, GL_RGB_SCALE, 2);
        glTexEnvi(GL_TEXTURE_ENV, GL_COMBINE_ALPHA, GL_REPLACE);
        glTexEnvi(GL_TEXTURE_ENV, GL_SOURCE0_ALPHA, GL_PREVIOUS);
        glEnable(GL_FOG);
        glFogi(GL_FOG_MODE, GL_LINEAR);
        glFogf(GL_FOG_START, 2);
        glFogf(GL_FOG_END, 30);
        const float fc[4] = {channel(kFog, 16), channel(kFog, 8), channel(kFog, 0), 1};
        glFogfv(GL_FOG_COLOR, fc);
        const float wall[4][5] = {{-8, -6, 4, 0, 4}, {-8, 6, 4, 0, 0}, {40, -30, 20, 8, 4}, {40, 30, 20, 8, 0}};
        for (int i = 0; i < layers; ++i) {
            glBegin(GL_TRIANGLE_STRIP);
            for (auto& v : wall) {
                glColor4ub(255, 255, 255, 255);
                // Our vertices have one coordinate set; stage 1 reads it too.
                glMultiTexCoord2f(GL_TEXTURE0, v[3], v[4]);
                glMultiTexCoord2f(GL_TEXTURE1, v[3], v[4]);
                glVertex3f(v[0], v[1], v[2]);
            }
            glEnd();
        }
        glDisable(GL_FOG);
        glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_MODULATE);
        glDisable(GL_TEXTURE_2D);
        glActiveTexture(GL_TEXTURE0);
    }

    void lit_mesh(const Mesh& m, const D3DMATRIX& world) {
        projection_3d();
        D3DMATRIX wv;
        load(view_matrix(), GL_MODELVIEW);
        const float dir[4] = {-0.3f, 1, -0.4f, 0}, ld[4] = {1, 0.95f, 0.9f, 1}, zero[4] = {0, 0, 0, 1};
        const float pos[4] = {2, 3, 0, 1}, pd[4] = {0.5f, 0.3f, 0.1f, 1};
        const float amb[4] = {channel(kAmbient, 16), channel(kAmbient, 8), channel(kAmbient, 0), 1};
        const float white[4] = {1, 1, 1, 1};
        glEnable(GL_LIGHTING);
        glEnable(GL_LIGHT0);
        glEnable(GL_LIGHT1);
        glLightfv(GL_LIGHT0, GL_POSITION, dir);
        glLightfv(GL_LIGHT0, GL_DIFFUSE, ld);
        glLightfv(GL_LIGHT0, GL_SPECULAR, zero);
        glLightfv(GL_LIGHT1, GL_POSITION, pos);
        glLightfv(GL_LIGHT1, GL_DIFFUSE, pd);
        glLightfv(GL_LIGHT1, GL_SPECULAR, zero);
        glLightf(GL_LIGHT1, GL_CONSTANT_ATTENUATION, kPointAtt0);
        glLightf(GL_LIGHT1, GL_LINEAR_ATTENUATION, kPointAtt1);
        glLightModelfv(GL_LIGHT_MODEL_AMBIENT, amb);
        glMaterialfv(GL_FRONT_AND_BACK, GL_DIFFUSE, white);
        glMaterialfv(GL_FRONT_AND_BACK, GL_AMBIENT, white);
        dxmath::matrixMultiply(wv, world, view_matrix());
        load(wv, GL_MODELVIEW);
        glEnable(GL_DEPTH_TEST);
        glDepthFunc(GL_LEQUAL);
        glEnable(GL_TEXTURE_2D);
        glBindTexture(GL_TEXTURE_2D, tex0);
        glEnableClientState(GL_VERTEX_ARRAY);
        glEnableClientState(GL_NORMAL_ARRAY);
        glEnableClientState(GL_TEXTURE_COORD_ARRAY);
        glVertexPointer(3, GL_FLOAT, 32, &m.v[0].x);
        glNormalPointer(GL_FLOAT, 32, &m.v[0].nx);
        glTexCoordPointer(2, GL_FLOAT, 32, &m.v[0].tu);
        glDrawElements(GL_TRIANGLES, static_cast<GLsizei>(m.gl_idx.size()), GL_UNSIGNED_SHORT, m.gl_idx.data());
        glDisableClientState(GL_VERTEX_ARRAY);
        glDisableClientState(GL_NORMAL_ARRAY);
        glDisableClientState(GL_TEXTURE_COORD_ARRAY);
        glDisable(GL_TEXTURE_2D);
        glDisable(GL_LIGHTING);
        glDisable(GL_DEPTH_TEST);
    }
};

std::string figure(const Figure& f) {
    char b[64];
    std::snprintf(b, sizeof b, "%.1f (%.1f-%.1f)", f.median, f.min, f.max);
    return b;
}

// One scene: both pictures drawn once on a clear target and compared, then
// both timed (scenes a and b draw over the last frame, as a game's overlays do).
void scene(const char* what, const char* unit, double per_frame, Ours& ours, Mesa& mesa,
           const std::function<void()>& ours_frame, const std::function<void()>& mesa_frame) {
    std::string diff = "-", ratio = "-";
    bool agrees = false;
    if (mesa.ok) {
        ours.clear(), mesa.clear();
        ours_frame();
        mesa_frame();
        const auto mine = ours.read(), theirs = mesa.read();
        const Difference d = compare(mine, theirs);
        if (const char* dir = std::getenv("TARKO_BENCH_PICTURES")) {
            const std::string base = std::string(dir) + "/" + what[0];
            platform::write_png(platform::Frame{kW, kH, mine}, base + "_ours.png");
            platform::write_png(platform::Frame{kW, kH, theirs}, base + "_llvmpipe.png");
        }
        char b[160];
        std::snprintf(b, sizeof b, "max %d/%d/%d mean %.2f/%.2f/%.2f off %.2f%%", d.max[0], d.max[1], d.max[2],
                      d.mean[0], d.mean[1], d.mean[2], 100 * d.off_share);
        diff = b;
        agrees = d.agrees();
    }
    // Runs alternate, so that the load of a shared machine weighs on both alike.
    const auto none = [] {};
    const auto gl_finish = [&] { mesa.finish(); };
    ours_frame();
    if (mesa.ok) mesa_frame(), mesa.finish();  // warm up: texture conversion, shader compilation
    std::array<double, kRuns> ours_rates{}, mesa_rates{};
    // A pause before each run lets the other renderer's threads go idle: llvmpipe's
    // workers stay busy for a moment after glFinish and would take our cores.
    const auto settle = [] { std::this_thread::sleep_for(std::chrono::milliseconds(100)); };
    for (int r = 0; r < kRuns; ++r) {
        settle();
        ours_rates[static_cast<std::size_t>(r)] = run_once(ours_frame, none);
        settle();
        if (mesa.ok) mesa_rates[static_cast<std::size_t>(r)] = run_once(mesa_frame, gl_finish);
    }
    const Figure o = scaled(summary(ours_rates), per_frame), m = scaled(summary(mesa_rates), per_frame);
    if (mesa.ok) {
        char b[32];
        std::snprintf(b, sizeof b, "%.2fx", o.median / m.median);
        ratio = agrees ? b : "pictures differ";
    }
    std::printf("%-38s %-22s %-22s %-16s %s  %s\n", what, figure(o).c_str(), mesa.ok ? figure(m).c_str() : "-",
                ratio.c_str(), unit, diff.c_str());
}

}  // namespace

int main(int argc, char** argv) {
    const int threads = argc > 1 ? std::atoi(argv[1]) : 0;
    if (argc > 2) g_seconds = std::atof(argv[2]);
    Ours ours(threads, 32);
    const char* only_env = std::getenv("TARKO_BENCH_ONLY");
    const std::string only = only_env ? only_env : "abcde";
    auto wanted = [&only](char c) { return only.find(c) != std::string::npos; };
    const char* no_gl = std::getenv("TARKO_BENCH_NO_GL");
    const bool skip_gl = no_gl && *no_gl && *no_gl != '0';
    const auto mesa_holder = skip_gl ? std::make_unique<Mesa>(Mesa::Skip{}) : std::make_unique<Mesa>();
    Mesa& mesa = *mesa_holder;
    if (!mesa.ok) std::printf("llvmpipe unavailable (%s): our figures only\n", mesa.why.c_str());
    std::printf("640x480, X8R8G8B8 target, 16-bit z, our device on %d threads with %d-lane pixel routines; "
                "median (min-max) of %d runs\n", threads, Ours::lanes(), kRuns);
    std::printf("ratio only where the pictures agree: mean difference <= %.1f per channel, at most %.1f%% of pixels "
                "off by more than %d\n", kMeanTolerance, 100 * kOffShare, kOffBy);
    std::printf("%-38s %-22s %-22s %-16s %s  %s\n", "scene", "ours", "llvmpipe", "ratio", "unit",
                "difference r/g/b");
    const double pix = static_cast<double>(kW) * kH;

    constexpr int kLayers = 8;
    if (wanted('a'))
        scene("a) textured alpha-blended quads", "Mpix/s", kLayers * pix / 1e6, ours, mesa,
              [&] { ours.quads(kLayers); }, [&] { mesa.quads(kLayers); });
    if (wanted('b'))
        scene("b) two texture stages + fog", "Mpix/s", kLayers * pix / 1e6, ours, mesa,
              [&] { ours.two_stage_fog(kLayers); }, [&] { mesa.two_stage_fog(kLayers); });

    D3DMATRIX world;
    dxmath::identityMatrix(world);
    // c) 120 x 120 quads over a patch about 640 x 400 pixels: 28,800 triangles of ~9 pixels.
    const Mesh small = make_grid(120, 14);
    if (wanted('c'))
        scene("c) small lit textured triangles", "Mtri/s", static_cast<double>(small.idx.size() / 3) / 1e6, ours, mesa,
              [&] { ours.clear(), ours.lit_mesh(small, world); }, [&] { mesa.clear(), mesa.lit_mesh(small, world); });
    // d) 20,000 triangles: 100 x 100 quads, lit, textured, z-buffered.
    const Mesh big = make_grid(100, 20);
    if (wanted('d'))
        scene("d) 20,000-triangle lit textured scene", "frames/s", 1, ours, mesa,
              [&] { ours.clear(), ours.lit_mesh(big, world); }, [&] { mesa.clear(), mesa.lit_mesh(big, world); });
    if (wanted('e'))
        scene("e) 10,000 small textured strips", "frames/s", 1, ours, mesa, [&] { ours.clear(), ours.strips(); },
              [&] { mesa.clear(), mesa.strips(); });
    return 0;
}
