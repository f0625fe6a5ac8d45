// The frame model reader: header, skin names, texture coordinates,
// triangles and frames, each table checked against the file before it is
// sized; then the flattened indices, the animations and the play range.
#include <cstddef>
#include <cstring>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "models/md2/md2.h"

namespace tarko::md2 {
namespace {

struct RawTriangle {
    std::int16_t v[3];
    std::int16_t st[3];
};

// A reader over the `count` records of `record_size` bytes at `offset`, the
// header fields at `count_at` and `offset_at` named when they are wrong.
io::ByteReader table(const io::ByteReader& file, std::int32_t count, std::int32_t offset, std::size_t record_size,
                     std::size_t count_at, std::size_t offset_at, const char* what) {
    if (count < 0) file.fail_at(count_at, std::string("negative ") + what + " count");
    if (count == 0) return {};
    if (offset < 0 || static_cast<std::size_t>(offset) > file.size())
        file.fail_at(offset_at, std::string(what) + " table offset outside the file");
    const std::size_t bytes = io::checked_mul(static_cast<std::size_t>(count), record_size, "table size", count_at);
    if (bytes > file.size() - static_cast<std::size_t>(offset))
        file.fail_at(count_at, std::string(what) + " table runs past the end of the file");
    return file.range(static_cast<std::size_t>(offset), bytes);
}

Md2Header read_header(io::ByteReader& in) {
    in.need(kHeaderSize, "header cut short");
    if (!in.match("IDP2")) in.fail("not an IDP2 file");
    Md2Header h;
    for (std::int32_t* field : {&h.Version, &h.SkinWidth, &h.SkinHeight, &h.FrameSize, &h.SkinCount, &h.VertexCount,
                                &h.StCount, &h.TriangleCount, &h.CommandCount, &h.FrameCount, &h.SkinOffset,
                                &h.StOffset, &h.TriangleOffset, &h.FrameOffset, &h.CommandOffset, &h.EndOffset})
        *field = in.i32();
    return h;
}

// Header field offsets, for the errors.
constexpr std::size_t kAtSkinWidth = 8, kAtSkinHeight = 12, kAtFrameSize = 16, kAtSkinCount = 20,
                      kAtVertexCount = 24, kAtStCount = 28, kAtTriangleCount = 32, kAtFrameCount = 40,
                      kAtSkinOffset = 44, kAtStOffset = 48, kAtTriangleOffset = 52, kAtFrameOffset = 56;

// Each point is packed times scale plus translate, per axis, worked out in
// Doubles and rounded once when stored. Packed is x, y, z, normal index
// (ignored). An iterator, so that the point table is built in one pass
// without being zeroed first.
class PointDecoder {
public:
    using iterator_category = std::random_access_iterator_tag;
    using value_type = D3DVECTOR;
    using difference_type = std::ptrdiff_t;
    using pointer = const D3DVECTOR*;
    using reference = D3DVECTOR;

    PointDecoder(const std::uint8_t* raw, const float scale[3], const float translate[3])
        : raw_(raw), scale_{scale[0], scale[1], scale[2]}, translate_{translate[0], translate[1], translate[2]} {}

    D3DVECTOR operator*() const {
        const std::uint8_t* p = raw_ + 4 * i_;
#if defined(__SSE2__)
        // The same products and sums two Doubles at a time: the same roundings.
        std::int32_t word;
        std::memcpy(&word, p, 4);
        const __m128i zero = _mm_setzero_si128();
        const __m128i bytes = _mm_unpacklo_epi16(_mm_unpacklo_epi8(_mm_cvtsi32_si128(word), zero), zero);
        const __m128d xy = _mm_add_pd(_mm_mul_pd(_mm_cvtepi32_pd(bytes), _mm_set_pd(scale_[1], scale_[0])),
                                      _mm_set_pd(translate_[1], translate_[0]));
        const __m128d z = _mm_add_sd(_mm_mul_sd(_mm_cvtepi32_pd(_mm_shuffle_epi32(bytes, _MM_SHUFFLE(3, 2, 3, 2))),
                                                _mm_set_sd(scale_[2])),
                                     _mm_set_sd(translate_[2]));
        const __m128 f = _mm_cvtpd_ps(xy);
        return {_mm_cvtss_f32(f), _mm_cvtss_f32(_mm_shuffle_ps(f, f, 1)), _mm_cvtss_f32(_mm_cvtsd_ss(f, z))};
#else
        return {static_cast<float>(p[0] * scale_[0] + translate_[0]), static_cast<float>(p[1] * scale_[1] + translate_[1]),
                static_cast<float>(p[2] * scale_[2] + translate_[2])};
#endif
    }
    PointDecoder& operator++() { ++i_; return *this; }
    PointDecoder operator++(int) { PointDecoder old = *this; ++i_; return old; }
    PointDecoder& operator--() { --i_; return *this; }
    PointDecoder& operator+=(difference_type n) { i_ += n; return *this; }
    PointDecoder operator+(difference_type n) const { PointDecoder r = *this; r.i_ += n; return r; }
    difference_type operator-(const PointDecoder& o) const { return i_ - o.i_; }
    bool operator==(const PointDecoder& o) const { return i_ == o.i_; }
    bool operator!=(const PointDecoder& o) const { return i_ != o.i_; }
    bool operator<(const PointDecoder& o) const { return i_ < o.i_; }

private:
    const std::uint8_t* raw_;
    double scale_[3], translate_[3];
    std::ptrdiff_t i_ = 0;
};

void read_frame(io::ByteReader in, std::int32_t vertex_count, Md2Frame& frame) {
    float scale[3], translate[3];
    for (float& s : scale) s = in.f32();
    for (float& t : translate) t = in.f32();
    const auto name = in.bytes(kFrameNameSize);
    const void* nul = std::memchr(name.data(), 0, name.size());
    if (!nul) in.fail_at(in.offset() - kFrameNameSize, "frame name without its terminating zero");
    frame.Name.assign(reinterpret_cast<const char*>(name.data()),
                      static_cast<std::size_t>(static_cast<const std::uint8_t*>(nul) - name.data()));
    const auto raw = in.bytes(static_cast<std::size_t>(vertex_count) * 4);
    const PointDecoder first(raw.data(), scale, translate);
    frame.Points.assign(first, first + vertex_count);
}

void read_tables(std::span<const std::uint8_t> file, Md2Data& md2, ReadResult& result) {
    io::ByteReader in(file);
    md2.Header = read_header(in);
    const Md2Header& h = md2.Header;

    io::ByteReader skins = table(in, h.SkinCount, h.SkinOffset, kSkinNameSize, kAtSkinCount, kAtSkinOffset, "skin");
    md2.SkinNames.clear();
    while (!skins.at_end()) md2.SkinNames.push_back(skins.fixed_string(kSkinNameSize));

    io::ByteReader st = table(in, h.StCount, h.StOffset, kStCoordSize, kAtStCount, kAtStOffset, "texture coordinate");
    if (h.StCount > 0 && h.SkinWidth == 0) in.fail_at(kAtSkinWidth, "skin width of 0 divides the texture coordinates");
    if (h.StCount > 0 && h.SkinHeight == 0) in.fail_at(kAtSkinHeight, "skin height of 0 divides the texture coordinates");
    std::vector<Md2StCoord> coords(static_cast<std::size_t>(h.StCount));
    for (Md2StCoord& c : coords) {
        const std::int16_t s = st.i16(), t = st.i16();
        c = {static_cast<float>(s / static_cast<double>(h.SkinWidth)), static_cast<float>(t / static_cast<double>(h.SkinHeight))};
    }
    md2.StCoords = std::move(coords);

    io::ByteReader tri = table(in, h.TriangleCount, h.TriangleOffset, kTriangleSize, kAtTriangleCount, kAtTriangleOffset, "triangle");
    std::vector<RawTriangle> triangles(static_cast<std::size_t>(h.TriangleCount));
    for (RawTriangle& t : triangles) {
        for (std::int16_t& v : t.v) v = tri.i16();
        for (std::int16_t& s : t.st) s = tri.i16();
    }

    if (h.VertexCount < 0 || h.VertexCount > kMaxVertices)
        in.fail_at(kAtVertexCount, "vertex count outside 0 to 2049");
    if (h.FrameSize > kMaxFrameSize) in.fail_at(kAtFrameSize, "frame size above 8236 bytes");
    if (h.FrameSize < 0 || static_cast<std::size_t>(h.FrameSize) < kFrameHeaderSize + 4 * static_cast<std::size_t>(h.VertexCount))
        in.fail_at(kAtFrameSize, "frame size too small for its vertices");
    const std::size_t frame_size = static_cast<std::size_t>(h.FrameSize);
    io::ByteReader frames = table(in, h.FrameCount, h.FrameOffset, frame_size, kAtFrameCount, kAtFrameOffset, "frame");
    md2.Frames.assign(static_cast<std::size_t>(h.FrameCount), {});
    for (Md2Frame& f : md2.Frames) read_frame(frames.sub(frame_size), h.VertexCount, f);

    md2.VertexIndices.resize(3 * triangles.size());
    md2.StIndices.resize(3 * triangles.size());
    for (std::size_t i = 0; i < triangles.size(); ++i)
        for (std::size_t k = 0; k < 3; ++k) {
            md2.VertexIndices[3 * i + k] = triangles[i].v[k];
            md2.StIndices[3 * i + k] = triangles[i].st[k];
        }
    result.loaded = true;

    // The running animation starts from frame 0's name, which a file without frames lacks.
    md2.Animations.clear();
    if (md2.Frames.empty()) in.fail_at(kAtFrameCount, "no frame to start the animations from");
    md2.Animations = split_animations(md2.Frames);
    md2.FirstPlayFrame = 0;
    md2.LastPlayFrame = static_cast<float>(h.FrameCount - 1);
}

}  // namespace

bool is_md2(std::span<const std::uint8_t> file) {
    return file.size() >= 4 && std::memcmp(file.data(), "IDP2", 4) == 0;
}

ReadResult read_md2(std::span<const std::uint8_t> file, Md2Data& into) {
    ReadResult result;
    try {
        read_tables(file, into, result);
    } catch (const io::ParseError& e) {
        result.stopped = e;
    }
    return result;
}

}  // namespace tarko::md2
