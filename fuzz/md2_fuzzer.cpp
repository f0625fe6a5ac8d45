// Fuzz target: the MD2 reader, the animation choice, the frame step and the
// vertex build. A bad file ends in ReadResult::stopped; what loads must hold
// its promises (tables of the header's sizes, animations inside the frames),
// and the build either fills one vertex a corner or raises Subscript out of range.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <vector>

#include "models/md2/md2.h"
#include "runtime/errors.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    namespace md2 = tarko::md2;
    md2::Md2Data d;
    const md2::ReadResult r = md2::read_md2(std::span<const std::uint8_t>(data, size), d);
    if (r.stopped && r.stopped->offset() > size) std::abort();
    if (!r.loaded) return 0;
    if (d.VertexIndices.size() != 3 * static_cast<std::size_t>(d.Header.TriangleCount) ||
        d.StIndices.size() != d.VertexIndices.size() || d.Frames.size() != static_cast<std::size_t>(d.Header.FrameCount))
        std::abort();
    for (const md2::Md2Frame& f : d.Frames)
        if (f.Points.size() != static_cast<std::size_t>(d.Header.VertexCount)) std::abort();
    for (const md2::Md2Animation& a : d.Animations)
        if (a.FirstFrame < 0 || a.LastFrame >= d.Header.FrameCount || a.FirstFrame > a.LastFrame) std::abort();

    std::vector<D3DLVERTEX> fast, plain;
    const auto draw = [&](const md2::Blend& b) {
        bool fast_ok = true, plain_ok = true;
        try { md2::build_md2_vertices(d, b, -1, fast); } catch (const tarko::RuntimeError&) { fast_ok = false; }
        try { md2::build_md2_vertices_reference(d, b, -1, plain); } catch (const tarko::RuntimeError&) { plain_ok = false; }
        if (fast_ok != plain_ok || (fast_ok && fast.size() != d.VertexIndices.size())) std::abort();
    };
    const std::int32_t choice = size > 0 ? static_cast<std::int32_t>(data[size - 1] % (d.Animations.size() + 2)) - 1 : -1;
    try { md2::set_animation(d, choice); } catch (const tarko::RuntimeError&) {}
    (void)md2::find_animation(d, size > 1 ? std::string_view(reinterpret_cast<const char*>(data), 2) : "");
    for (int step = 0; step < 4; ++step) draw(md2::advance(d, 10, 101));
    return 0;
}
