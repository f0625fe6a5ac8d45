// The device against Mesa's fixed-function GL (llvmpipe through surfaceless
// EGL). scripts/setup.sh installs Mesa, so a machine without it fails these
// checks; TARKO_NO_MESA=1 skips them for hacking elsewhere. GL samples pixel centres at +0.5 and maps depth to
// -w..w, so its projection gets a half-pixel shift and the depth remap; pixels
// within two of a triangle edge are not compared, the rest must agree within
// kTolerance per channel.
#include <gtest/gtest.h>

#include <cstdlib>

namespace {
bool mesa_opted_out() {
    const char* v = std::getenv("TARKO_NO_MESA");
    return v && *v && *v != '0';
}
}  // namespace

#if __has_include(<EGL/egl.h>) && __has_include(<GL/gl.h>)
#define GL_GLEXT_PROTOTYPES
#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GL/gl.h>
#include <dlfcn.h>

#include <array>
#include <cmath>
#include <cstdlib>
#include <numbers>

#include "d3d_test_util.h"
#include "platform/base/dx_math.h"

using namespace tarko;
using namespace tarko::d3dtest;

namespace {

constexpr int kW = 96, kH = 72, kTolerance = 3;

// Entry points are looked up at run time, so the test links without GL.
#define GL_FUNCTIONS(X)                                                                                        \
    X(glViewport) X(glClearColor) X(glClear) X(glMatrixMode) X(glLoadMatrixf) X(glLoadIdentity) X(glBegin)      \
    X(glEnd) X(glColor4ub) X(glVertex4f) X(glVertex3f) X(glNormal3f) X(glTexCoord2f) X(glEnable) X(glDisable) \
    X(glBlendFunc) X(glLightfv) X(glMaterialfv) X(glFogi) X(glFogf) X(glFogfv)                                \
    X(glGenTextures) X(glBindTexture) X(glTexImage2D) X(glTexParameteri) X(glTexEnvi) X(glReadPixels)         \
    X(glFinish) X(glGenFramebuffers) X(glBindFramebuffer) X(glGenRenderbuffers) X(glBindRenderbuffer)         \
    X(glRenderbufferStorage) X(glFramebufferRenderbuffer) X(glCheckFramebufferStatus) X(eglGetPlatformDisplay)   \
    X(eglInitialize) X(eglBindAPI) X(eglChooseConfig) X(eglCreateContext) X(eglMakeCurrent)

struct Gl {
    bool ok = false;
    const char* why = "libEGL.so.1 or eglGetProcAddress missing";
#define DECLARE_GL_FUNCTION(name) decltype(&::name) name = nullptr;
    GL_FUNCTIONS(DECLARE_GL_FUNCTION)

    Gl() {
        setenv("LIBGL_ALWAYS_SOFTWARE", "1", 0);
        setenv("GALLIUM_DRIVER", "llvmpipe", 0);
        void* lib = dlopen("libEGL.so.1", RTLD_NOW | RTLD_LOCAL);
        decltype(&eglGetProcAddress) proc = nullptr;
        if (!lib || !(proc = reinterpret_cast<decltype(proc)>(dlsym(lib, "eglGetProcAddress")))) return;
        bool all = true;
        auto load = [&]<class F>(F& f, const char* n) {
            void* p = dlsym(lib, n);
            f = p ? reinterpret_cast<F>(p) : reinterpret_cast<F>(proc(n));
            all = all && f;
        };
#define LOAD_GL_FUNCTION(name) load(name, #name);
        GL_FUNCTIONS(LOAD_GL_FUNCTION)  // GL's entry points resolve without a context in Mesa
        if (!all) {
            why = "GL or EGL entry points missing";
            return;
        }
        EGLDisplay dpy = eglGetPlatformDisplay(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr);
        const EGLint attrs[] = {EGL_RENDERABLE_TYPE, EGL_OPENGL_BIT, EGL_SURFACE_TYPE, 0, EGL_NONE};
        EGLConfig config;
        EGLint n = 0;
        why = "no surfaceless EGL display with desktop GL";
        if (dpy == EGL_NO_DISPLAY || !eglInitialize(dpy, &n, &n) || !eglBindAPI(EGL_OPENGL_API) ||
            !eglChooseConfig(dpy, attrs, &config, 1, &n) || n < 1)
            return;
        EGLContext ctx = eglCreateContext(dpy, config, EGL_NO_CONTEXT, nullptr);
        why = "no EGL context or framebuffer";
        if (ctx == EGL_NO_CONTEXT || !eglMakeCurrent(dpy, EGL_NO_SURFACE, EGL_NO_SURFACE, ctx)) return;
        GLuint fbo = 0, rb = 0;
        glGenFramebuffers(1, &fbo), glBindFramebuffer(GL_FRAMEBUFFER, fbo);
        glGenRenderbuffers(1, &rb), glBindRenderbuffer(GL_RENDERBUFFER, rb);
        glRenderbufferStorage(GL_RENDERBUFFER, GL_RGBA8, kW, kH);
        glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, rb);
        ok = glCheckFramebufferStatus(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE;
        glViewport(0, 0, kW, kH);
    }

    // Rows top first, 0x00RRGGBB.
    std::vector<std::uint32_t> read() {
        std::vector<std::uint32_t> px(static_cast<std::size_t>(kW) * kH), out;
        glFinish();
        glReadPixels(0, 0, kW, kH, GL_BGRA, GL_UNSIGNED_INT_8_8_8_8_REV, px.data());
        for (int y = kH - 1; y >= 0; --y)
            for (int x = 0; x < kW; ++x) out.push_back(px[static_cast<std::size_t>(y) * kW + x] & 0xFFFFFFu);
        return out;
    }

    // Clears to `bg` and loads D3D's projection (row vectors, z 0..w) as GL's:
    // x + w/W, y - w/H, 2z - w.
    void start(const D3DMATRIX& p, std::uint32_t bg = 0) {
        glClearColor(((bg >> 16) & 255) / 255.0f, ((bg >> 8) & 255) / 255.0f, (bg & 255) / 255.0f, 1);
        glClear(GL_COLOR_BUFFER_BIT);
        D3DMATRIX c, m;
        c.rc11 = 1, c.rc22 = 1, c.rc33 = 2, c.rc44 = 1, c.rc41 = 1.0f / kW, c.rc42 = -1.0f / kH, c.rc43 = -1;
        dxmath::matrixMultiply(m, p, c);
        glMatrixMode(GL_PROJECTION), glLoadMatrixf(&m.rc11);  // row-major D3D = column-major GL of the transpose
        glMatrixMode(GL_MODELVIEW), glLoadIdentity();
    }
};

Gl& gl() { static Gl g; return g; }

#define REQUIRE_GL()                                                                                 \
    if (mesa_opted_out()) GTEST_SKIP() << "TARKO_NO_MESA is set";                                     \
    ASSERT_TRUE(gl().ok) << "Mesa llvmpipe unavailable (" << gl().why << "): run scripts/setup.sh"; \
    auto& g = gl()

std::array<float, 4> rgba(const D3DCOLORVALUE& c) { return {c.r, c.g, c.b, c.a}; }

using Point = std::pair<double, double>;
using Triangle = std::array<Point, 3>;

// Compares pixels at least two away from every edge of the listed screen triangles.
void expect_close(const Scene& s, const std::vector<std::uint32_t>& ref, const std::vector<Triangle>& tris) {
    int compared = 0;
    const auto bad = [&](int x, int y, std::uint32_t a, std::uint32_t b) {
        bool inside_any = false, near_edge = false;
        for (const auto& t : tris) {
            double sign = 0;
            bool inside = true;
            for (std::size_t k = 0; k < 3; ++k) {
                const auto [ax, ay] = t[k];
                const auto [bx, by] = t[(k + 1) % 3];
                const double d = ((bx - ax) * (y - ay) - (by - ay) * (x - ax)) / std::hypot(bx - ax, by - ay);
                if (sign == 0) sign = d >= 0 ? 1 : -1;
                inside = inside && d * sign >= 0;
                near_edge = near_edge || std::fabs(d) < 2;
            }
            inside_any = inside_any || inside;
        }
        if (!inside_any || near_edge) return false;
        ++compared;
        return channels_differ(a, b, kTolerance);
    };
    EXPECT_TRUE(same_picture("mesa", s.picture(), Picture{kW, kH, ref}, bad));
    EXPECT_GT(compared, 100);
}

}  // namespace

TEST(MesaCrossCheck, LitPerspectiveQuadWithAndWithoutLinearFog) {
    REQUIRE_GL();
    // A quad tilted in depth with a different normal at each corner. GL's
    // defaults match the device's here: global ambient 0.2, no emission or
    // specular, no light ambient.
    D3DMATRIX proj;
    dxmath::projectionMatrix(proj, 1, 50, static_cast<float>(std::numbers::pi / 3));
    const float pos[4][3] = {{-2, -1.5f, 4}, {-2, 1.5f, 6}, {2, -1.5f, 4}, {2, 1.5f, 6}};
    float nrm[4][3] = {{-0.3f, -0.2f, -1}, {-0.2f, 0.4f, -1}, {0.5f, -0.1f, -1}, {0.1f, 0.3f, -1}};
    for (auto& n : nrm) {
        const float l = std::hypot(n[0], n[1], n[2]);
        n[0] /= l, n[1] /= l, n[2] /= l;
    }
    const D3DMATERIAL7 m{.diffuse = {0.9f, 0.6f, 0.3f, 1}, .ambient = {0.5f, 0.5f, 1, 1}};
    const D3DLIGHT7 l{.dltType = D3DLIGHT_DIRECTIONAL, .diffuse = {1, 0.9f, 0.8f, 1}, .direction = {0.4f, -0.5f, 0.77f}};
    const float gl_dir[4] = {-l.direction.x, -l.direction.y, -l.direction.z, 0};  // GL names the way to the light
    const float fog[4] = {0.2f, 0.4f, 1.0f, 1};
    for (bool fogged : {false, true}) {
        g.start(proj);
        g.glEnable(GL_LIGHTING), g.glEnable(GL_LIGHT0);
        if (fogged) g.glEnable(GL_FOG), g.glFogi(GL_FOG_MODE, GL_LINEAR), g.glFogfv(GL_FOG_COLOR, fog);
        g.glFogf(GL_FOG_START, 2), g.glFogf(GL_FOG_END, 12);
        g.glLightfv(GL_LIGHT0, GL_POSITION, gl_dir);
        g.glLightfv(GL_LIGHT0, GL_DIFFUSE, rgba(l.diffuse).data());
        g.glMaterialfv(GL_FRONT_AND_BACK, GL_DIFFUSE, rgba(m.diffuse).data());
        g.glMaterialfv(GL_FRONT_AND_BACK, GL_AMBIENT, rgba(m.ambient).data());
        g.glBegin(GL_TRIANGLE_STRIP);
        for (auto i = 0; i < 4; ++i) g.glNormal3f(nrm[i][0], nrm[i][1], nrm[i][2]), g.glVertex3f(pos[i][0], pos[i][1], pos[i][2]);
        g.glEnd();
        g.glDisable(GL_LIGHTING), g.glDisable(GL_FOG);

        Scene s(kW, kH, PixelFormat::x8r8g8b8(), 0);
        s.dev->setTransform(dx::D3DTRANSFORMSTATE_PROJECTION, proj);
        s.dev->setMaterial(m);
        s.states({{dx::D3DRENDERSTATE_AMBIENT, 0x00333333}, {dx::D3DRENDERSTATE_FOGENABLE, fogged},  // 51/255 = 0.2
                  {dx::D3DRENDERSTATE_FOGVERTEXMODE, dx::D3DFOG_LINEAR}, {dx::D3DRENDERSTATE_FOGCOLOR, 0x003366FF}});
        s.dev->setRenderStateSingle(dx::D3DRENDERSTATE_FOGSTART, 2);
        s.dev->setRenderStateSingle(dx::D3DRENDERSTATE_FOGEND, 12);
        s.light(0, l);
        std::vector<D3DVERTEX> q;
        Point sp[4];
        for (int i = 0; i < 4; ++i) {
            q.push_back(vtx(pos[i][0], pos[i][1], pos[i][2], nrm[i][0], nrm[i][1], nrm[i][2]));
            sp[i] = {(pos[i][0] * proj.rc11 / pos[i][2] + 1) * kW / 2, (1 - pos[i][1] * proj.rc22 / pos[i][2]) * kH / 2};
        }
        s.draw(dx::D3DPT_TRIANGLESTRIP, dx::D3DFVF_VERTEX, q);
        expect_close(s, g.read(), {{sp[0], sp[1], sp[2]}, {sp[1], sp[3], sp[2]}});
    }
}

TEST(MesaCrossCheck, BilinearTextureWithPerspectiveAndAlphaBlend) {
    REQUIRE_GL();
    // 4 x 4 texture, smooth enough that rounding of coordinates moves little.
    std::vector<std::uint32_t> texels;
    for (int i = 0; i < 16; ++i)
        texels.push_back(static_cast<std::uint32_t>(0xFF000000 | (40 + 50 * (i % 4)) << 16 | (30 + 60 * (i / 4)) << 8 |
                                                    (200 - 30 * (i % 4))));
    const float xs[4] = {8, 10, 88, 80}, ys[4] = {66, 6, 60, 10}, rhw[4] = {1, 0.5f, 0.8f, 0.3f};
    const float us[4] = {0, 0, 2, 2}, vs[4] = {2, 0, 2, 0};
    const std::uint32_t bg = 0xFF305070;
    const std::uint8_t alpha = 160;

    GLuint tex = 0;
    g.glGenTextures(1, &tex), g.glBindTexture(GL_TEXTURE_2D, tex);
    g.glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, 4, 4, 0, GL_BGRA, GL_UNSIGNED_INT_8_8_8_8_REV, texels.data());
    for (GLenum p : {GL_TEXTURE_MIN_FILTER, GL_TEXTURE_MAG_FILTER}) g.glTexParameteri(GL_TEXTURE_2D, p, GL_LINEAR);
    for (GLenum p : {GL_TEXTURE_WRAP_S, GL_TEXTURE_WRAP_T}) g.glTexParameteri(GL_TEXTURE_2D, p, GL_REPEAT);
    g.glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_MODULATE);
    // Screen pixels as D3D's TL vertices give them: x' = 2x/W - 1, y' = 1 - 2y/H.
    D3DMATRIX screen;
    screen.rc11 = 2.0f / kW, screen.rc22 = -2.0f / kH, screen.rc33 = 1, screen.rc44 = 1, screen.rc41 = -1, screen.rc42 = 1;
    g.start(screen, bg);
    g.glEnable(GL_TEXTURE_2D), g.glEnable(GL_BLEND);
    g.glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    g.glBegin(GL_TRIANGLE_STRIP);
    g.glColor4ub(255, 255, 255, alpha);
    for (int i = 0; i < 4; ++i)
        g.glTexCoord2f(us[i], vs[i]), g.glVertex4f(xs[i] / rhw[i], ys[i] / rhw[i], 0.5f / rhw[i], 1 / rhw[i]);
    g.glEnd();
    g.glDisable(GL_BLEND), g.glDisable(GL_TEXTURE_2D);

    Scene s(kW, kH, PixelFormat::x8r8g8b8(), 0);
    s.dev->clear(0, {}, dx::D3DCLEAR_TARGET, static_cast<Long>(bg), 1, 0);
    s.dev->setTexture(0, make_texture(4, 4, texels));
    s.bilinear(0);
    s.stage(0, {{dx::D3DTSS_ALPHAOP, dx::D3DTOP_MODULATE}, {dx::D3DTSS_ALPHAARG2, dx::D3DTA_DIFFUSE}});
    s.blend(dx::D3DBLEND_SRCALPHA, dx::D3DBLEND_INVSRCALPHA);
    std::vector<D3DTLVERTEX> q;
    for (int i = 0; i < 4; ++i)
        q.push_back(tl(xs[i], ys[i], static_cast<std::uint32_t>(alpha) << 24 | 0xFFFFFF, 0.5f, rhw[i], us[i], vs[i]));
    s.draw(dx::D3DPT_TRIANGLESTRIP, dx::D3DFVF_TLVERTEX, q);
    expect_close(s, g.read(), {{{{xs[0], ys[0]}, {xs[1], ys[1]}, {xs[2], ys[2]}}},
                               {{{xs[1], ys[1]}, {xs[3], ys[3]}, {xs[2], ys[2]}}}});
}

#else
TEST(MesaCrossCheck, NeedsEglAndGlHeaders) {
    if (mesa_opted_out()) GTEST_SKIP() << "TARKO_NO_MESA is set";
    FAIL() << "built without EGL/GL headers: run scripts/setup.sh";
}
#endif
