// Direct3DDevice7: the fixed-function device the engine draws through. This
// class keeps the device state (render states, stage states, transforms,
// lights, material, viewport, textures), records calls when the trace is on,
// checks arguments, and hands clears and draws to the rasteriser.
//
// Behaviour where the published contract leaves room, as this device has it:
// - Pixel centres lie on whole coordinates; positions are snapped to 1/16
//   pixel; the top-left rule decides pixels on edges (top and left edges in,
//   right and bottom out), so triangles sharing an edge neither overlap nor
//   leave gaps. One exception: an edge lying exactly on the viewport's last
//   column or row keeps its pixels, so a TL quad from (0, 0) to (w-1, h-1)
//   covers every pixel of a w x h viewport (a quad from 0 to w as well).
// - A stage whose TEXTURE argument has no texture bound reads opaque white;
//   a texture without alpha reads alpha 1. Every vertex format has one
//   coordinate set: a stage asking for another (TEXCOORDINDEX) reads set 0.
// - Lighting on vertices without a normal (LVERTEX) or with a zero normal:
//   only ambient and emissive terms contribute; for LVERTEX the vertex colour
//   is the diffuse source (and gives the alpha), its specular colour the
//   specular source. Normals are always normalised after the transform.
//   Lit vertices: diffuse = Me + Ma (Ga + sum La att spot) + Md sum Ld (N.L)
//   att spot; specular = Ms sum Ls (N.H)^power att spot with a local viewer.
//   Point and spot lights with a range of 0 light nothing.
// - Fog is vertex fog on eye-space depth (FOGVERTEXMODE, or FOGTABLEMODE when
//   that is set: evaluated per vertex too); modes none, exp, exp2, linear.
//   TL vertices are never fogged (the specular alpha is not a fog factor), so
//   screen overlays keep their colour under any fog state.
// - Colours are held in 8 bits per channel, as the hardware of the time did:
//   the interpolated diffuse and specular colours, each texture stage's
//   result and the fog factor are rounded to 8 bits; products round to
//   nearest (MODULATE of 128 and 255 gives 128), specular adds saturate, fog
//   and blends are rounded mixes, round((s fs + d fd) / 255) capped at 255.
//   A triangle whose three vertices share one colour is drawn in exactly that
//   colour.
// - Power-of-two textures are addressed in 1/256 texel: bilinear weights are
//   8 bits; coordinates beyond 2^23 texels have no fraction left and land at
//   a fixed texel. Other sizes wrap in floating point first.
// - DITHERENABLE is ignored: an additive black pass changes no pixel.
// - BUMPENVMATxx values are read as the number the Long holds (the engine
//   sends -1, 0 or 1), not as the bits of a Single.
// - Invalid state values never raise at draw time: a CULLMODE other than
//   CW (2) or CCW (3), 0 included, culls nothing; SHADEMODE other than flat
//   (1) is Gouraud; FILLMODE other than point (1) or wireframe (2) is solid;
//   an unknown blend factor is ONE as source and ZERO as destination; an
//   unknown texture operation selects its first argument; an unknown compare
//   function always passes.
// - Colour keys apply when COLORKEYENABLE is on and the stage 0 texture has a
//   source key: keyed texels are not drawn.
// - Depth: 16-bit z surfaces hold z x 65535; 24- and 32-bit ones hold 24 bits
//   (a 32-bit surface in its top 24 bits). ZENABLE is on by default and takes
//   effect when a z surface is attached.
// - Bad input never reads outside the caller's arrays: counts are cut to the
//   data given, triangles naming an index outside 0..vertex_count-1 are
//   skipped, NaN or infinite positions drop their triangle, degenerate
//   triangles draw nothing.
#pragma once

#include <array>
#include <cstddef>
#include <map>
#include <memory>
#include <span>
#include <string>

#include "platform/object_ref.h"
#include "platform/records.h"
#include "platform/surface.h"
#include "runtime/numeric.h"

namespace tarko::platform::d3d {
class Rasteriser;
struct DeviceState;
}  // namespace tarko::platform::d3d

class Direct3DEnumPixelFormats;

class Direct3DDevice7 {
public:
    static constexpr int kMaxStages = 8;
    static constexpr int kRenderStateCount = 256;
    static constexpr int kStageStateCount = 32;

    Direct3DDevice7(std::string guid, const tarko::Ref<DirectDrawSurface7>& target);
    ~Direct3DDevice7();
    Direct3DDevice7(const Direct3DDevice7&) = delete;
    Direct3DDevice7& operator=(const Direct3DDevice7&) = delete;

    // Fills the rectangles (all of the viewport when count is 0) of the target
    // and/or z-buffer.
    void clear(tarko::Long count, std::span<const D3DRECT> rects, tarko::Long flags, tarko::Long colour, float z,
               tarko::Long stencil);
    void beginScene();
    void endScene();

    // Draws `vertex_count` vertices from `vertices` (32-byte records of the
    // given format). Counts beyond the data given are cut to it; primitive
    // types 1..6; an unknown type or format raises.
    void drawPrimitive(tarko::Long primitive_type, tarko::Long vertex_type, std::span<const std::byte> vertices,
                       tarko::Long vertex_count, tarko::Long flags);
    // Indices (16-bit) select from the first `vertex_count` vertices; a
    // triangle with an index beyond them is skipped.
    void drawIndexedPrimitive(tarko::Long primitive_type, tarko::Long vertex_type, std::span<const std::byte> vertices,
                              tarko::Long vertex_count, std::span<const tarko::Integer> indices,
                              tarko::Long index_count, tarko::Long flags);

    template <class V>
    void drawPrimitive(tarko::Long pt, tarko::Long fvf, std::span<V> v, tarko::Long count, tarko::Long flags) {
        drawPrimitive(pt, fvf, std::as_bytes(v), count, flags);
    }
    template <class V, class I>
    void drawIndexedPrimitive(tarko::Long pt, tarko::Long fvf, std::span<V> v, tarko::Long vcount, std::span<I> idx,
                              tarko::Long icount, tarko::Long flags) {
        drawIndexedPrimitive(pt, fvf, std::as_bytes(v), vcount, std::span<const tarko::Integer>(idx.data(), idx.size()),
                             icount, flags);
    }

    // Clip status of a sphere (model space, through world x view x
    // projection): union bits 0x1..0x20 for each plane it crosses or lies
    // outside, intersection bits 0x1000..0x20000 for each plane it lies wholly
    // outside.
    tarko::Long computeSphereVisibility(const D3DVECTOR& centre, float radius);

    void setRenderState(tarko::Long state, tarko::Long value);
    void setRenderStateSingle(tarko::Long state, float value);
    tarko::Long getRenderState(tarko::Long state) const;
    float getRenderStateSingle(tarko::Long state) const;
    void setTextureStageState(tarko::Long stage, tarko::Long type, tarko::Long value);
    tarko::Long getTextureStageState(tarko::Long stage, tarko::Long type) const;
    void setTexture(tarko::Long stage, const tarko::Ref<DirectDrawSurface7>& texture);
    tarko::Ref<DirectDrawSurface7> getTexture(tarko::Long stage) const;
    void setTransform(tarko::Long type, const D3DMATRIX& m);
    void getTransform(tarko::Long type, D3DMATRIX& m) const;
    void setViewport(const D3DVIEWPORT7& viewport);
    void getViewport(D3DVIEWPORT7& viewport) const;
    void setMaterial(const D3DMATERIAL7& material);
    void getMaterial(D3DMATERIAL7& material) const;
    // Any slot number from 0 up; there is no small fixed limit.
    void setLight(tarko::Long index, const D3DLIGHT7& light);
    void getLight(tarko::Long index, D3DLIGHT7& light) const;
    void lightEnable(tarko::Long index, bool enable);
    bool getLightEnable(tarko::Long index) const;
    void getCaps(D3DDEVICEDESC7& desc) const;
    tarko::Ref<Direct3DEnumPixelFormats> getTextureFormatsEnum() const;
    std::string getDeviceGuid() const { return guid_; }

    // --- for the platform layer and tests
    const tarko::Ref<DirectDrawSurface7>& render_target() const { return target_; }
    const tarko::platform::d3d::DeviceState& state() const { return *state_; }
    // Worker threads of the rasteriser (0 = all cores, the default); pictures
    // are identical bit for bit for every count.
    void set_thread_count(int threads);
    // Draws are gathered and drawn together at endScene, before a clear, when
    // many wait, and before anything reads or writes the target or z-buffer
    // (see the head of rasteriser.h). Off: each draw lands before it returns.
    // The pictures are the same either way; tests compare them.
    void set_batching(bool on);
    // Off: every draw goes through the general texture cascade and blend
    // (the pictures must not change; tests compare the two).
    void set_fast_paths(bool on);
    // Which compiled pixel routines draw: the best this processor runs
    // (AVX-512 sixteen lanes, else AVX2 eight, else SSE2 four), AVX2 eight
    // lanes (where present), SSE2 four lanes, or the portable ones other
    // machines use. The pictures must not change; tests compare them.
    enum class PixelRoutines { Best, EightLanes, FourLanes, Portable };
    void set_pixel_routines(PixelRoutines kind);
    int draw_calls() const { return draw_calls_; }

private:
    std::string guid_;
    tarko::Ref<DirectDrawSurface7> target_;
    std::unique_ptr<tarko::platform::d3d::DeviceState> state_;
    std::unique_ptr<tarko::platform::d3d::Rasteriser> rasteriser_;
    int draw_calls_ = 0;
    bool in_scene_ = false;
};
