// The drawing half of the device: clears and draws into the render target and
// its z-buffer from the device state. A draw runs the stages in order:
// transform and light (vertex_stage.cpp), assemble and clip, set up, bin into
// 64x64 tiles, then the tiles are shared among the worker threads, each tile
// drawn by one thread with its triangles in submission order (pixel_stage.cpp),
// so pictures do not depend on the thread count.
//
// Draws are gathered: each is transformed, set up and binned when it comes,
// with a copy of its context (states, converted textures), and the tiles of
// all gathered draws are drawn together at flush(): when the device ends a
// scene, before a clear, when the batch grows large, and whenever anything
// else touches the target or its z-buffer (the surfaces settle the batch
// before a lock, blit, flip or pixel read). Pictures are the same as drawing
// each call at once.
#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <vector>

#include "platform/d3d/device_state.h"
#include "platform/d3d/pipeline.h"
#include "platform/d3d/texture_cache.h"
#include "platform/d3d/worker_pool.h"
#include "platform/surface.h"

namespace tarko::platform::d3d {

class Rasteriser {
public:
    explicit Rasteriser(DirectDrawSurface7& target);
    ~Rasteriser();

    void clear(const DeviceState& state, std::span<const D3DRECT> rects, Long flags, std::uint32_t colour, float z);
    // `vertices` holds vertex_count records; indices (if any) are checked
    // against vertex_count.
    void draw(const DeviceState& state, Long primitive_type, Long vertex_type, std::span<const std::byte> vertices,
              std::size_t vertex_count, std::span<const Integer> indices);
    // Draws every gathered draw; a no-op when none waits.
    void flush();
    // Off: each draw is drawn before draw() returns (for comparisons).
    void set_batching(bool on);
    bool batching() const { return batching_; }
    void set_threads(int threads);
    int threads() const { return pool_->size(); }
    void set_fast_paths(bool on) { fast_paths_ = on; }
    void set_pixel_routines(Routines kind) { routines_ = kind; }

    static constexpr int kTileSize = 64;
    // A batch is drawn once it holds this many triangles or draws.
    static constexpr std::size_t kBatchTriangles = 1 << 16;
    static constexpr std::size_t kBatchDraws = 4096;

private:
    bool build_context(const DeviceState& state, Long fvf, DrawContext& ctx);
    // Set-up appends to `out`; it only reads the draw's state, so parts of
    // a triangle list may be set up on several threads at once.
    using Tris = std::vector<SetupTriangle>;
    void triangle(const ClipVertex* v0, const ClipVertex* v1, const ClipVertex* v2, int cull, Tris& out) const;
    void setup(const ClipVertex& v0, const ClipVertex& v1, const ClipVertex& v2, int cull, const ClipVertex& provoking,
               Tris& out) const;
    void point(const ClipVertex& v, Tris& out) const;
    void line(const ClipVertex& a, const ClipVertex& b, Tris& out) const;
    void queue_draw();
    // A gathered draw: its context, the textures the context points into and
    // the z-buffer it writes, and its set-up triangles.
    struct QueuedDraw {
        DrawContext ctx;
        std::vector<std::shared_ptr<const Texture>> held;
        std::shared_ptr<DirectDrawSurface7> zbuffer;
        std::vector<std::vector<SetupTriangle>> parts;
        std::size_t part_count = 0;
    };
    struct BinEntry {
        const SetupTriangle* tri;
        const DrawContext* ctx;
    };

    DirectDrawSurface7& target_;
    std::unique_ptr<WorkerPool> pool_;
    TextureCache textures_;
    std::vector<std::shared_ptr<const Texture>> held_;  // textures of the draw in progress
    DrawContext ctx_;
    GuardBand guard_{};
    int vp_right_ = 0, vp_bottom_ = 0;  // last pixel column and row of the viewport
    bool flat_ = false;
    bool fast_paths_ = true;
    Routines routines_ = Routines::Best;
    int fill_ = 3;
    std::vector<ClipVertex> verts_;
    std::vector<Tris> tris_;       // set-up triangles in submission order, part after part
    std::size_t tri_parts_ = 0;    // parts of tris_ in use
    std::vector<std::unique_ptr<QueuedDraw>> queue_;  // kept across batches for their capacity
    std::size_t queued_ = 0, queued_tris_ = 0;
    bool batching_ = true, flushing_ = false;
    std::weak_ptr<DirectDrawSurface7> hooked_zbuffer_;
    std::vector<std::vector<BinEntry>> bins_;
    std::vector<int> busy_bins_;
    int tiles_x_ = 0, tiles_y_ = 0;
};

}  // namespace tarko::platform::d3d
