// The bounded byte reader every file format is read with: little- and
// big-endian integers, 32- and 64-bit floats, fixed and counted strings,
// sub-ranges for chunks, and the offset of the next byte in the file.
//
// Nothing is read outside the span it was given: every read that would run
// past the end throws ParseError with the offset of the read and a reason.
// Offsets are file offsets, also inside a sub-range, so an error names the
// byte a person would look at in a hex dump. A public operation catches
// ParseError at its boundary and turns it into the system's own error.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

namespace tarko::io {

// A file that is not what its reader expects: why, and where (byte offset).
class ParseError : public std::runtime_error {
public:
    ParseError(std::string reason, std::size_t offset)
        : std::runtime_error(reason + " (at byte " + std::to_string(offset) + ")"),
          reason_(std::move(reason)), offset_(offset) {}
    const std::string& reason() const noexcept { return reason_; }
    std::size_t offset() const noexcept { return offset_; }

private:
    std::string reason_;
    std::size_t offset_;
};

// a * b, or ParseError(reason, at) when it does not fit in size_t.
inline std::size_t checked_mul(std::size_t a, std::size_t b, std::string_view reason, std::size_t at) {
    if (b != 0 && a > std::numeric_limits<std::size_t>::max() / b) throw ParseError(std::string(reason), at);
    return a * b;
}

class ByteReader {
public:
    ByteReader() = default;
    // `base` is the file offset of bytes[0] (for readers over part of a file).
    explicit ByteReader(std::span<const std::uint8_t> bytes, std::size_t base = 0)
        : bytes_(bytes), base_(base) {}

    std::size_t offset() const noexcept { return base_ + pos_; }        // file offset of the next byte
    std::size_t begin_offset() const noexcept { return base_; }         // file offset of this range
    std::size_t end_offset() const noexcept { return base_ + bytes_.size(); }
    std::size_t size() const noexcept { return bytes_.size(); }
    std::size_t position() const noexcept { return pos_; }              // offset within this range
    std::size_t remaining() const noexcept { return bytes_.size() - pos_; }
    bool at_end() const noexcept { return pos_ == bytes_.size(); }
    std::span<const std::uint8_t> data() const noexcept { return bytes_; }

    [[noreturn]] void fail(std::string reason) const { throw ParseError(std::move(reason), offset()); }
    [[noreturn]] void fail_at(std::size_t file_offset, std::string reason) const {
        throw ParseError(std::move(reason), file_offset);
    }

    // Throws unless n more bytes are there.
    void need(std::size_t n, std::string_view what = "file cut short") const {
        if (n > remaining()) fail(std::string(what));
    }
    // Checks that `count` records of `record_size` bytes fit in what is left,
    // before anything is allocated for them; gives the count back.
    std::size_t count_fits(std::uint64_t count, std::size_t record_size, std::string_view what) const {
        if (count > std::numeric_limits<std::size_t>::max() ||
            (record_size != 0 && count > remaining() / record_size))
            fail(std::string(what) + ": " + std::to_string(count) + " records do not fit in the file");
        return static_cast<std::size_t>(count);
    }

    // Moves to a position within this range (0 is its first byte).
    void seek(std::size_t position) {
        if (position > bytes_.size()) fail_at(base_ + bytes_.size(), "offset " + std::to_string(base_ + position) + " past the end");
        pos_ = position;
    }
    void skip(std::size_t n) {
        need(n, "skip past the end");
        pos_ += n;
    }

    std::uint8_t u8() { return read_le<std::uint8_t>(); }
    std::int8_t i8() { return read_le<std::int8_t>(); }
    std::uint16_t u16() { return read_le<std::uint16_t>(); }
    std::int16_t i16() { return read_le<std::int16_t>(); }
    std::uint32_t u32() { return read_le<std::uint32_t>(); }
    std::int32_t i32() { return read_le<std::int32_t>(); }
    std::uint64_t u64() { return read_le<std::uint64_t>(); }
    std::uint16_t u16be() { return static_cast<std::uint16_t>(read_be(2)); }
    std::uint32_t u32be() { return static_cast<std::uint32_t>(read_be(4)); }
    std::uint32_t u24be() { return static_cast<std::uint32_t>(read_be(3)); }
    float f32() {
        const std::uint32_t bits = u32();
        float f;
        std::memcpy(&f, &bits, 4);
        return f;
    }
    double f64() {
        const std::uint64_t bits = u64();
        double d;
        std::memcpy(&d, &bits, 8);
        return d;
    }

    // The next byte without moving; throws at the end.
    std::uint8_t peek_u8() const {
        need(1);
        return bytes_[pos_];
    }
    // True (and moves past it) when the next bytes are `tag`.
    bool match(std::string_view tag) {
        if (tag.size() > remaining() || std::memcmp(bytes_.data() + pos_, tag.data(), tag.size()) != 0) return false;
        pos_ += tag.size();
        return true;
    }
    void expect(std::string_view tag, std::string_view what) {
        if (!match(tag)) fail(std::string(what));
    }

    std::span<const std::uint8_t> bytes(std::size_t n) {
        need(n);
        const auto out = bytes_.subspan(pos_, n);
        pos_ += n;
        return out;
    }
    // n bytes, cut at the first NUL (the field's full width is consumed).
    std::string fixed_string(std::size_t n) {
        const auto raw = bytes(n);
        std::size_t len = 0;
        while (len < n && raw[len] != 0) ++len;
        return std::string(reinterpret_cast<const char*>(raw.data()), len);
    }
    // Bytes up to a NUL, which is consumed; throws if there is none.
    std::string zstring() {
        const std::uint8_t* start = bytes_.data() + pos_;
        const void* nul = std::memchr(start, 0, remaining());
        if (!nul) fail("string without its terminating zero");
        const std::size_t len = static_cast<std::size_t>(static_cast<const std::uint8_t*>(nul) - start);
        std::string s(reinterpret_cast<const char*>(start), len);
        pos_ += len + 1;
        return s;
    }
    // A length of type Count, then that many bytes.
    template <class Count = std::uint32_t>
    std::string counted_string() {
        const std::size_t at = offset();
        const std::uint64_t n = read_le<Count>();
        if (n > remaining()) fail_at(at, "string length " + std::to_string(n) + " runs past the end");
        const auto raw = bytes(static_cast<std::size_t>(n));
        return std::string(reinterpret_cast<const char*>(raw.data()), raw.size());
    }

    // The next n bytes as a reader of their own (a chunk body); this one moves past them.
    ByteReader sub(std::size_t n, std::string_view what = "chunk runs past the end") {
        need(n, what);
        ByteReader r(bytes_.subspan(pos_, n), offset());
        pos_ += n;
        return r;
    }
    // A reader over [position, position + n) of this range, without moving.
    ByteReader range(std::size_t position, std::size_t n, std::string_view what = "range runs past the end") const {
        if (position > bytes_.size() || n > bytes_.size() - position)
            fail_at(base_ + std::min(position, bytes_.size()), std::string(what));
        return ByteReader(bytes_.subspan(position, n), base_ + position);
    }

private:
    template <class T>
    T read_le() {
        static_assert(std::is_integral_v<T>);
        need(sizeof(T));
        std::make_unsigned_t<T> v = 0;
        for (std::size_t i = 0; i < sizeof(T); ++i)
            v = static_cast<std::make_unsigned_t<T>>(v | static_cast<std::make_unsigned_t<T>>(bytes_[pos_ + i]) << (8 * i));
        pos_ += sizeof(T);
        return static_cast<T>(v);
    }
    std::uint64_t read_be(std::size_t n) {
        need(n);
        std::uint64_t v = 0;
        for (std::size_t i = 0; i < n; ++i) v = v << 8 | bytes_[pos_ + i];
        pos_ += n;
        return v;
    }

    std::span<const std::uint8_t> bytes_;
    std::size_t pos_ = 0;
    std::size_t base_ = 0;
};

}  // namespace tarko::io
