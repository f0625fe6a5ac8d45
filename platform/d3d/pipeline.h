// Internal records that flow between the device's stages: processed vertices,
// set-up triangles and the per-draw pixel state.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "platform/d3d/device_state.h"

namespace tarko::platform::d3d {

// Per-vertex values carried to the pixels.
enum Attr : int { kDiffR, kDiffG, kDiffB, kDiffA, kSpecR, kSpecG, kSpecB, kFog, kTexU, kTexV, kAttrCount };

// A vertex after transform and lighting. x, y, z, w are homogeneous screen
// coordinates (the viewport already applied), so that clipping and the
// projection to pixels are one step; sx, sy, sz, rhw the projected values.
struct ClipVertex {
    float x, y, z, w;
    float sx, sy, sz, rhw;
    std::array<float, kAttrCount> a;
    std::uint32_t outcode;  // planes this vertex lies outside of
    bool finite;
};

// Clip planes in homogeneous screen space.
enum ClipPlane : std::uint32_t {
    kClipLeft = 1, kClipRight = 2, kClipTop = 4, kClipBottom = 8, kClipNear = 16, kClipFar = 32, kClipW = 64,
};

// Screen rectangle pixels may be written in (viewport within the target).
struct Scissor {
    int x0 = 0, y0 = 0, x1 = 0, y1 = 0;  // x1, y1 exclusive
};

struct GuardBand {
    float left, top, right, bottom;  // pixels
    float minz, maxz;
    bool clip_z;
};

// Vertex stage: transform, lighting, fog for one draw. TL vertices pass
// through with their screen position.
class VertexStage {
public:
    VertexStage() = default;
    VertexStage(const DeviceState& state, Long fvf, const GuardBand& guard, const D3DVIEWPORT7& vp);
    // Takes a draw's state, keeping the light list's room from the last one.
    void set(const DeviceState& state, Long fvf, const GuardBand& guard, const D3DVIEWPORT7& vp);
    void run(const std::byte* vertices, std::size_t first, std::size_t count, ClipVertex* out) const;

private:
    struct Light {
        int type;
        float pos[3], dir[3];    // camera space; dir points from the light
        float ambient[3], diffuse[3], specular[3];
        float range, falloff, att0, att1, att2, cos_half_theta, cos_half_phi;
    };
    void light_vertex(const float p[3], const float n[3], const float* vertex_diffuse, const float* vertex_specular,
                      float out[kAttrCount]) const;
    void set_matrices(const DeviceState& s);
    void set_viewport_and_state(const DeviceState& s, const D3DVIEWPORT7& vp);

    Long fvf_ = 0;
    GuardBand guard_{};
    float wvp_[4][4] = {};
    float wv_[4][4] = {};
    float normal_m_[3][3] = {};
    float vp_x_ = 0, vp_y_ = 0, vp_hw_ = 0, vp_hh_ = 0, vp_minz_ = 0, vp_dz_ = 0;
    bool lighting_ = false, specular_ = false, fog_ = false;
    int fog_mode_ = 0;
    float fog_start_ = 0, fog_end_ = 0, fog_density_ = 0;
    float global_ambient_[3] = {};
    D3DMATERIAL7 mat_{};
    std::vector<Light> lights_;
};

// One converted texture: ARGB texels, or du/dv pairs for a bump map.
struct Texture {
    int width = 0, height = 0;
    bool bump = false;
    // Both sides powers of two: wrapping is a mask and rows a shift.
    bool pow2 = false;
    int width_shift = 0;
    std::vector<std::uint32_t> texels;  // width * height, row after row
};

// Texture stage settings as the pixel stage reads them.
struct StageSetup {
    int colour_op, colour_arg1, colour_arg2, alpha_op, alpha_arg1, alpha_arg2;
    const Texture* texture;  // nullptr: TEXTURE reads opaque white
    bool bilinear;
    float bump[4];           // 00, 01, 10, 11
};

// Diffuse: no stages. ModulateTexture: one stage, texture times diffuse.
// TextureTwice: that stage followed by a second texture combined with it by
// MODULATE, MODULATE2X, MODULATE4X or ADD, alpha passed on. Generic: the rest.
enum class CascadeKind : int { Diffuse, ModulateTexture, TextureTwice, Generic };
enum class TargetKind : int { R5G6B5, X8R8G8B8, Other };
enum class DepthKind : int { None, Z16, Z32 };

struct SetupTriangle;

// Everything a pixel needs that does not change within a draw.
struct DrawContext {
    // target
    std::uint8_t* colour = nullptr;
    int colour_pitch = 0;
    const tarko::platform::PixelFormat* colour_format = nullptr;
    bool colour_has_alpha = false;
    std::uint8_t* depth = nullptr;
    int depth_pitch = 0;
    int depth_shift = 0;           // z32 keeps 24 bits in the top of the word
    float depth_scale = 65535.0f;
    Scissor scissor;

    int stage_count = 0;           // stages before the first DISABLE
    std::array<StageSetup, 8> stages{};
    bool textured = false;         // some stage reads a texture
    bool z_test = false, z_write = false;
    int z_func = 4;
    bool alpha_test = false;
    int alpha_func = 8;
    int alpha_ref = 0;
    bool blend = false;
    int src_blend = 2, dest_blend = 1;
    bool blend_over = false;       // source alpha over inverse source alpha, done directly
    bool fog = false;
    std::uint32_t fog_colour = 0;  // A8R8G8B8
    bool specular = false;
    bool colour_key = false;       // discard texels that matched the key
    bool modulate_alpha = false;   // stage 0 multiplies the texture's alpha by the diffuse alpha
    std::uint32_t tfactor = 0xFFFFFFFFu;

    using RasterFn = void (*)(const DrawContext&, const SetupTriangle&, int tile_x0, int tile_y0, int tile_x1,
                              int tile_y1);
    RasterFn raster = nullptr;
};

// Plane equation of an interpolated value: v(x, y) = c + dx (x - ref_x) +
// dy (y - ref_y), pixel centres on whole coordinates.
struct Plane {
    float c, dx, dy;
};

enum PlaneIndex : int { kPlaneRhw, kPlaneZ, kPlaneU, kPlaneV, kPlaneR, kPlaneG, kPlaneB, kPlaneA, kPlaneSR, kPlaneSG,
                        kPlaneSB, kPlaneFog, kPlaneCount };

// A triangle ready for the pixel loops. Edge functions are in 1/16 pixel units
// scaled so that a pixel is covered when all three are >= 0 at its centre
// (the top-left rule is folded into c).
struct SetupTriangle {
    SetupTriangle() {}  // set-up fills what the pixels read; nothing is cleared first
    std::int32_t a[3], b[3];  // per 1/16 pixel step in x and in y
    std::int64_t c[3];
    int minx, miny, maxx, maxy;  // pixel bounds, inclusive, within the scissor
    float ref_x, ref_y;          // planes are taken relative to this point
    Plane p[kPlaneCount];
    float flat[8];               // diffuse rgba, specular rgb, unused: for flat shading or
    bool is_flat;                // when the three vertices share their colours
};

// The pixel routines instantiated for each state combination, once per
// instruction set (pixel_stage_body.h).
namespace avx512 { DrawContext::RasterFn select_raster(TargetKind, DepthKind, CascadeKind); }
namespace avx2 { DrawContext::RasterFn select_raster(TargetKind, DepthKind, CascadeKind); }
namespace sse2 { DrawContext::RasterFn select_raster(TargetKind, DepthKind, CascadeKind); }
namespace portable { DrawContext::RasterFn select_raster(TargetKind, DepthKind, CascadeKind); }

// Best: sixteen AVX-512 lanes where the processor has them, else eight AVX2
// lanes, else the baseline (SSE2 four lanes on x86-64, portable elsewhere).
// EightLanes: AVX2 where the processor has it, else the baseline. All draw
// the same pictures.
enum class Routines { Best, EightLanes, FourLanes, Portable };
bool wide_pixels_available();     // AVX2
bool widest_pixels_available();   // AVX-512 F, BW, DQ
// The lanes that `kind` draws with on this processor: 16, 8, 4, or 0 for portable.
int lanes_of(Routines kind);
DrawContext::RasterFn select_raster(TargetKind target, DepthKind depth, CascadeKind cascade, Routines kind);

}  // namespace tarko::platform::d3d
