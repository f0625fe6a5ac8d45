// The drawing half of the device: clears and draws into the render target and
// its z-buffer from the device state. A draw runs the stages in order:
// transform and light (vertex_stage.cpp), assemble and clip, set up, bin into
// 64x64 tiles, then each tile is drawn by one thread with its triangles in
// submission order (pixel_stage.cpp), so pictures do not depend on the
// thread count.
//
// Draws are gathered: a draw keeps a copy of its vertices, its context
// (states, converted textures) and its transform, and the gathered draws go
// through the stages together at flush(): when the device ends a scene,
// before a clear, when the batch grows large, and whenever anything else
// touches the target or its z-buffer (the surfaces settle the batch before a
// lock, blit, flip or pixel read). At a flush the workers transform and set
// up runs of draws (a large draw in parts) side by side, each into bins of
// its own, then draw the tiles, each tile reading the bins in submission
// order. A batch that fills up goes to the workers alone while the next one
// gathers; any other flush lands both. Pictures are the same as drawing each
// call at once.
#pragma once

#include <atomic>
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

// What set-up reads of a draw besides its vertices.
struct SetupParams {
    Scissor scissor;
    GuardBand guard{};
    int vp_right = 0, vp_bottom = 0;  // last pixel column and row of the viewport
    bool flat = false, specular = false, fog = false, textured = false;
    int fill = 3, cull = 1;
    Long primitive = 0;
};

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
    // A batch is drawn once it holds this many primitives, vertices or draws.
    static constexpr std::size_t kBatchPrimitives = 1 << 14;
    static constexpr std::size_t kBatchVertices = 1 << 15;
    static constexpr std::size_t kBatchDraws = 4096;

private:
    // A gathered draw: its context, the z-buffer it writes, and what its
    // vertices need to reach set-up. The textures its context points into
    // live in the texture cache until no batch is left (a count taken per
    // draw would be a write beside the texels the workers read).
    struct QueuedDraw {
        DrawContext ctx;
        SetupParams params;
        VertexStage stage;
        std::shared_ptr<DirectDrawSurface7> zbuffer;
        std::vector<std::byte> vertices;  // vertex_count records of 32 bytes
        std::size_t vertex_count = 0;
        std::vector<Integer> indices;
        std::size_t primitives = 0;       // points, lines or triangles it assembles
        bool split = false;               // transformed ahead, set up in parts
        std::vector<ClipVertex> verts;    // a split draw's transformed vertices
    };
    struct BinEntry {
        const SetupTriangle* tri;
        const DrawContext* ctx;
    };
    // Set-up work for one thread: draws [first, last) whole, or primitives
    // [from, to) of the split draw `first`. Its triangles are binned into
    // bins of its own, which the tiles read job after job.
    struct SetupJob {
        std::size_t first = 0, last = 0, from = 0, to = 0;
        bool part = false;
        std::vector<ClipVertex> scratch;
        std::vector<SetupTriangle> tris;
        std::vector<std::size_t> ends;  // per draw of the job, the end of its triangles in `tris`
        std::vector<std::vector<BinEntry>> bins;
        std::vector<int> busy;
    };
    using Tris = std::vector<SetupTriangle>;
    // The draws gathered between two flushes and the work they are shared
    // out as. Two take turns: the workers may draw one while draws join the
    // other.
    struct Batch {
        std::vector<std::unique_ptr<QueuedDraw>> queue;  // kept across batches for their capacity
        std::size_t queued = 0, primitives = 0, vertices = 0;
        std::vector<std::pair<std::size_t, std::size_t>> transforms;  // (draw, first vertex) chunks of split draws
        std::vector<SetupJob> jobs;
        std::size_t job_count = 0;
        std::vector<int> busy_tiles;
        std::vector<char> tile_busy;
        // Jobs done of each kind, while the workers draw the batch alone.
        std::atomic<std::size_t> transformed{0}, set_up{0};
    };

    bool build_context(const DeviceState& state, Long fvf, QueuedDraw& q);
    void settle_hooks(QueuedDraw& q);
    void plan_jobs(Batch& b);
    void transform(Batch& b, std::size_t chunk);
    void run_job(Batch& b, SetupJob& job);
    void bin(Batch& b, SetupJob& job);
    void draw_tile(Batch& b, int tile);
    void draw_batch(Batch& b);
    void start_batch(Batch& b);
    void finish_started();
    void clear_batch(Batch& b);
    static void assemble(const QueuedDraw& q, const ClipVertex* verts, std::size_t from, std::size_t to, Tris& out);

    DirectDrawSurface7& target_;
    std::unique_ptr<WorkerPool> pool_;
    TextureCache textures_;
    bool fast_paths_ = true;
    Routines routines_ = Routines::Best;
    Batch batches_[2];
    int current_ = 0;        // the batch draws join; while the pool has started jobs, the other is with it
    bool batching_ = true, flushing_ = false;
    std::weak_ptr<DirectDrawSurface7> hooked_zbuffer_;
    int tiles_x_ = 0, tiles_y_ = 0;
};

}  // namespace tarko::platform::d3d
