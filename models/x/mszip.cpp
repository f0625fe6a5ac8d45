// MSZIP blocks through zlib's raw inflate.
#include "models/x/mszip.h"

#include <zlib.h>

#include <algorithm>

namespace tarko::x {

namespace {
constexpr std::size_t kBlock = 32768;   // largest block, also the deflate window
}

std::vector<std::uint8_t> inflate_mszip(io::ByteReader& in) {
    const std::size_t total_at = in.offset();
    const std::uint32_t total = in.u32();
    std::vector<std::uint8_t> out;
    z_stream z{};
    if (inflateInit2(&z, -MAX_WBITS) != Z_OK) in.fail("inflate could not start");
    struct Ender {
        z_stream* z;
        ~Ender() { inflateEnd(z); }
    } ender{&z};

    while (!in.at_end()) {
        const std::size_t at = in.offset();
        const std::size_t size = in.u16();
        const std::size_t packed = in.u16();
        if (size == 0 || size > kBlock) in.fail_at(at, "compressed block of " + std::to_string(size) + " bytes");
        if (packed < 2) in.fail_at(at, "compressed block without its signature");
        io::ByteReader block = in.sub(packed, "compressed block runs past the end");
        block.expect("CK", "compressed block without its CK signature");
        const auto data = block.bytes(block.remaining());

        inflateReset(&z);
        if (!out.empty()) {
            const std::size_t dict = std::min(out.size(), kBlock);
            inflateSetDictionary(&z, out.data() + out.size() - dict, static_cast<uInt>(dict));
        }
        const std::size_t start = out.size();
        out.resize(start + size);
        z.next_in = const_cast<Bytef*>(data.data());
        z.avail_in = static_cast<uInt>(data.size());
        z.next_out = out.data() + start;
        z.avail_out = static_cast<uInt>(size);
        const int rc = inflate(&z, Z_FINISH);
        if (rc != Z_STREAM_END && !(rc == Z_BUF_ERROR && z.avail_out == 0) && !(rc == Z_OK && z.avail_out == 0))
            in.fail_at(at, "compressed block does not inflate");
        if (z.avail_out != 0) in.fail_at(at, "compressed block gives fewer bytes than it states");
        if (out.size() > total) in.fail_at(total_at, "compressed blocks give more than the stated size");
    }
    if (out.empty()) in.fail("compressed file without blocks");
    return out;
}

}  // namespace tarko::x
