// MSZIP blocks: raw deflate blocks, each with the output before it as its dictionary.
#include "models/x/mszip.h"

#include "platform/deflate.h"

#include <algorithm>

namespace tarko::x {

namespace {
constexpr std::size_t kBlock = 32768;   // largest block, also the deflate window
}

std::vector<std::uint8_t> inflate_mszip(io::ByteReader& in) {
    const std::size_t total_at = in.offset();
    const std::uint32_t total = in.u32();
    std::vector<std::uint8_t> out;
    while (!in.at_end()) {
        const std::size_t at = in.offset();
        const std::size_t size = in.u16();
        const std::size_t packed = in.u16();
        if (size == 0 || size > kBlock) in.fail_at(at, "compressed block of " + std::to_string(size) + " bytes");
        if (packed < 2) in.fail_at(at, "compressed block without its signature");
        io::ByteReader block = in.sub(packed, "compressed block runs past the end");
        block.expect("CK", "compressed block without its CK signature");
        const auto data = block.bytes(block.remaining());

        const std::size_t start = out.size();
        const std::size_t dict = std::min(start, kBlock);
        out.resize(start + size);
        if (!platform::zip::inflate_block(data, std::span(out).subspan(start - dict, dict),
                                              std::span(out).subspan(start, size)))
            in.fail_at(at, "compressed block does not inflate to the size it states");
        if (out.size() > total) in.fail_at(total_at, "compressed blocks give more than the stated size");
    }
    if (out.empty()) in.fail("compressed file without blocks");
    return out;
}

}  // namespace tarko::x
