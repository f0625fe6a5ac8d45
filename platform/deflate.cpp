// Raw deflate blocks through zlib.
#include "platform/deflate.h"

#include <zlib.h>

#include <stdexcept>

namespace tarko::platform::zip {

bool inflate_block(std::span<const std::uint8_t> packed, std::span<const std::uint8_t> dictionary,
                   std::span<std::uint8_t> out) {
    z_stream z{};
    if (inflateInit2(&z, -MAX_WBITS) != Z_OK) return false;
    if (!dictionary.empty() && inflateSetDictionary(&z, dictionary.data(), static_cast<uInt>(dictionary.size())) != Z_OK) {
        inflateEnd(&z);
        return false;
    }
    z.next_in = const_cast<Bytef*>(packed.data());
    z.avail_in = static_cast<uInt>(packed.size());
    z.next_out = out.data();
    z.avail_out = static_cast<uInt>(out.size());
    const int rc = inflate(&z, Z_FINISH);
    const bool full = z.avail_out == 0;
    inflateEnd(&z);
    // A block that fills its stated size counts, whether or not its stream says it ended there.
    return full && (rc == Z_STREAM_END || rc == Z_BUF_ERROR || rc == Z_OK);
}

std::vector<std::uint8_t> deflate_block(std::span<const std::uint8_t> plain, std::span<const std::uint8_t> dictionary) {
    z_stream z{};
    if (deflateInit2(&z, Z_BEST_COMPRESSION, Z_DEFLATED, -MAX_WBITS, 8, Z_DEFAULT_STRATEGY) != Z_OK)
        throw std::runtime_error("deflate could not start");
    if (!dictionary.empty()) deflateSetDictionary(&z, dictionary.data(), static_cast<uInt>(dictionary.size()));
    std::vector<std::uint8_t> out(deflateBound(&z, static_cast<uLong>(plain.size())) + 16);
    z.next_in = const_cast<Bytef*>(plain.data());
    z.avail_in = static_cast<uInt>(plain.size());
    z.next_out = out.data();
    z.avail_out = static_cast<uInt>(out.size());
    deflate(&z, Z_FINISH);
    out.resize(out.size() - z.avail_out);
    deflateEnd(&z);
    return out;
}

}  // namespace tarko::platform::zip
