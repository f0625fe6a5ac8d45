// Speed of the software device against Mesa llvmpipe (EGL without a surface,
// fixed-function GL into a framebuffer object) on the same scenes at 640x480:
//   a) full-screen textured alpha-blended quads   Mpix/s
//   b) two texture stages and fog                 Mpix/s
//   c) many small lit textured triangles          Mtri/s
//   d) a 20,000-triangle lit textured scene       frames/s
// Usage: tarko_d3d_bench [threads] [seconds per figure]
// TARKO_BENCH_NO_GL=1 skips llvmpipe (for profiling our device alone);
// TARKO_BENCH_ONLY=abcd picks the scenes to run.
#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GL/gl.h>
#include <dlfcn.h>

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
#include "platform/pixel_format.h"
#include "platform/profile.h"
#include "platform/surface.h"

using namespace tarko;
using platform::PixelFormat;

namespace {

constexpr int kW = 640, kH = 480;
double g_seconds = 1.5;

double seconds_since(std::chrono::steady_clock::time_point t0) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
}

// Runs `frame` until the time is up; returns frames per second.
double measure(const std::function<void()>& frame, const std::function<void()>& finish) {
    frame();
    finish();  // warm up: texture conversion, JIT
    int frames = 0;
    const auto t0 = std::chrono::steady_clock::now();
    do {
        frame();
        ++frames;
        if (frames % 4 == 0) finish();
    } while (seconds_since(t0) < g_seconds);
    finish();
    return frames / seconds_since(t0);
}

// ---------- scene data shared by both renderers

struct Mesh {
    std::vector<D3DVERTEX> v;
    std::vector<Integer> idx;  // 16-bit, as the engine's
    std::vector<std::uint16_t> gl_idx;
};

std::vector<std::uint32_t> make_texels(int size, bool alpha) {
    std::vector<std::uint32_t> t;
    for (int y = 0; y < size; ++y)
        for (int x = 0; x < size; ++x) {
            const std::uint32_t a = alpha ? static_cast<std::uint32_t>(96 + ((x ^ y) & 127)) : 255u;
            t.push_back(a << 24 | static_cast<std::uint32_t>((x * 255) / size) << 16 |
                        static_cast<std::uint32_t>((y * 255) / size) << 8 | static_cast<std::uint32_t>(((x + y) & 31) * 8));
        }
    return t;
}

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
        const auto f = alpha ? PixelFormat::a4r4g4b4() : PixelFormat::r5g6b5();
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
        tex_alpha = texture(256, true);
        tex0 = texture(256, false);
        tex1 = texture(64, false);
        for (int s = 0; s < 2; ++s) {
            dev->setTextureStageState(s, dx::D3DTSS_MAGFILTER, dx::D3DTFG_LINEAR);
            dev->setTextureStageState(s, dx::D3DTSS_MINFILTER, dx::D3DTFN_LINEAR);
        }
    }
    void clear() { dev->clear(0, {}, dx::D3DCLEAR_TARGET | dx::D3DCLEAR_ZBUFFER, 0x203040, 1, 0); }

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
        dev->setRenderState(dx::D3DRENDERSTATE_FOGCOLOR, 0x8090A0);
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
        dev->setRenderState(dx::D3DRENDERSTATE_AMBIENT, 0x303030);
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
        p.range = 30;
        p.attenuation0 = 1;
        p.attenuation1 = 0.1f;
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
        glTexImage2D(GL_TEXTURE_2D, 0, alpha ? GL_RGBA4 : GL_RGB5, size, size, 0, GL_RGBA, GL_UNSIGNED_BYTE, rgba.data());
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
        D3DMATRIX c, m;  // depth 0..w to -w..w
        c.rc11 = 1, c.rc22 = 1, c.rc33 = 2, c.rc44 = 1, c.rc43 = -1;
        dxmath::matrixMultiply(m, projection(), c);
        load(m, GL_PROJECTION);
    }
    void clear() {
        glClearColor(0.125f, 0.19f, 0.25f, 1);
        glClearDepth(1);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    }
    void finish() { glFinish(); }

    void quads(int layers) {
        D3DMATRIX p;  // screen pixels
        p.rc11 = 2.0f / kW, p.rc22 = -2.0f / kH, p.rc33 = 1, p.rc44 = 1, p.rc41 = -1, p.rc42 = 1;
        load(p, GL_PROJECTION);
        D3DMATRIX id;
        dxmath::identityMatrix(id);
        load(id, GL_MODELVIEW);
        glDisable(GL_DEPTH_TEST);
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
        glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_MODULATE);
        glEnable(GL_FOG);
        glFogi(GL_FOG_MODE, GL_LINEAR);
        glFogf(GL_FOG_START, 2);
        glFogf(GL_FOG_END, 30);
        const float fc[4] = {0.5f, 0.56f, 0.63f, 1};
        glFogfv(GL_FOG_COLOR, fc);
        const float wall[4][5] = {{-8, -6, 4, 0, 4}, {-8, 6, 4, 0, 0}, {40, -30, 20, 8, 4}, {40, 30, 20, 8, 0}};
        for (int i = 0; i < layers; ++i) {
            glBegin(GL_TRIANGLE_STRIP);
            for (auto& v : wall) {
                glColor4ub(255, 255, 255, 255);
                glTexCoord2f(v[3], v[4]);
                glVertex3f(v[0], v[1], v[2]);
            }
            glEnd();
        }
        glDisable(GL_FOG);
        glDisable(GL_TEXTURE_2D);
        glActiveTexture(GL_TEXTURE0);
    }

    void lit_mesh(const Mesh& m, const D3DMATRIX& world) {
        projection_3d();
        D3DMATRIX wv;
        load(view_matrix(), GL_MODELVIEW);
        const float dir[4] = {-0.3f, 1, -0.4f, 0}, ld[4] = {1, 0.95f, 0.9f, 1}, zero[4] = {0, 0, 0, 1};
        const float pos[4] = {2, 3, 0, 1}, pd[4] = {0.5f, 0.3f, 0.1f, 1}, amb[4] = {0.19f, 0.19f, 0.19f, 1};
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

void row(const char* what, const char* unit, double ours, double mesa, bool have_mesa) {
    if (have_mesa)
        std::printf("%-44s %10.1f %10.1f %8.2fx  %s\n", what, ours, mesa, ours / mesa, unit);
    else
        std::printf("%-44s %10.1f %10s %8s   %s\n", what, ours, "-", "-", unit);
}

}  // namespace

int main(int argc, char** argv) {
    const int threads = argc > 1 ? std::atoi(argv[1]) : 0;
    if (argc > 2) g_seconds = std::atof(argv[2]);
    Ours ours(threads, 32);
    const char* only_env = std::getenv("TARKO_BENCH_ONLY");
    const std::string only = only_env ? only_env : "abcd";
    auto wanted = [&only](char c) { return only.find(c) != std::string::npos; };
    const char* no_gl = std::getenv("TARKO_BENCH_NO_GL");
    const bool skip_gl = no_gl && *no_gl && *no_gl != '0';
    const auto mesa_holder = skip_gl ? std::make_unique<Mesa>(Mesa::Skip{}) : std::make_unique<Mesa>();
    Mesa& mesa = *mesa_holder;
    if (!mesa.ok) std::printf("llvmpipe unavailable (%s): our figures only\n", mesa.why.c_str());
    std::printf("640x480, X8R8G8B8 target, 16-bit z, our device on %d threads\n", ours.dev ? threads : 0);
    std::printf("%-44s %10s %10s %9s\n", "scene", "ours", "llvmpipe", "ratio");
    const double pix = static_cast<double>(kW) * kH;
    auto ours_finish = [] {};
    auto mesa_finish = [&] { mesa.finish(); };

    constexpr int kLayers = 8;
    if (wanted('a')) {
    const double a_ours = measure([&] { ours.quads(kLayers); }, ours_finish) * kLayers * pix / 1e6;
    const double a_mesa = mesa.ok ? measure([&] { mesa.quads(kLayers); }, mesa_finish) * kLayers * pix / 1e6 : 0;
    row("a) textured alpha-blended full-screen quads", "Mpix/s", a_ours, a_mesa, mesa.ok);
    }
    if (wanted('b')) {

    const double b_ours = measure([&] { ours.two_stage_fog(kLayers); }, ours_finish) * kLayers * pix / 1e6;
    const double b_mesa = mesa.ok ? measure([&] { mesa.two_stage_fog(kLayers); }, mesa_finish) * kLayers * pix / 1e6 : 0;
    row("b) two texture stages + fog", "Mpix/s", b_ours, b_mesa, mesa.ok);
    }

    // c) 120 x 120 quads over a patch about 640 x 400 pixels: 28,800 triangles of ~9 pixels.
    const Mesh small = make_grid(120, 14);
    D3DMATRIX world;
    dxmath::identityMatrix(world);
    const double tris_c = static_cast<double>(small.idx.size() / 3);
    if (wanted('c')) {
    const double c_ours = measure([&] { ours.clear(); ours.lit_mesh(small, world); }, ours_finish) * tris_c / 1e6;
    const double c_mesa = mesa.ok ? measure([&] { mesa.clear(); mesa.lit_mesh(small, world); }, mesa_finish) * tris_c / 1e6 : 0;
    row("c) small lit textured triangles", "Mtri/s", c_ours, c_mesa, mesa.ok);
    }

    // d) 20,000 triangles: 100 x 100 quads, lit, textured, z-buffered.
    const Mesh scene = make_grid(100, 20);
    if (wanted('d')) {
    const double d_ours = measure([&] { ours.clear(); ours.lit_mesh(scene, world); }, ours_finish);
    const double d_mesa = mesa.ok ? measure([&] { mesa.clear(); mesa.lit_mesh(scene, world); }, mesa_finish) : 0;
    row("d) 20,000-triangle lit textured scene", "frames/s", d_ours, d_mesa, mesa.ok);
    }
    return 0;
}
