// The shared byte reader: byte order, bounds, sub-ranges keeping file offsets.
#include <gtest/gtest.h>

#include <vector>

#include "runtime/byte_reader.h"
#include "runtime/image.h"

using tarko::io::ByteReader;
using tarko::io::ParseError;

namespace {
// The offset a failing read reports, or -1 when it does not throw.
template <class F>
long long fail_offset(F&& f) {
    try {
        f();
    } catch (const ParseError& e) {
        return static_cast<long long>(e.offset());
    }
    return -1;
}
}  // namespace

TEST(ByteReader, ReadsBothByteOrdersFloatsAndStrings) {
    const std::vector<std::uint8_t> b = {0x34, 0x12, 0x78, 0x56, 0x34, 0x12, 0xFF, 0xFF, 0x12, 0x34, 0x56,
                                         0x00, 0x00, 0x80, 0x3F,                     // 1.0f
                                         0, 0, 0, 0, 0, 0, 0xF0, 0xBF,               // -1.0
                                         'a', 'b', 0, 'x', 3, 0, 'x', 'y', 'z', 'q', 0};
    ByteReader r(b);
    EXPECT_EQ(r.u16(), 0x1234);
    EXPECT_EQ(r.u32(), 0x12345678u);
    EXPECT_EQ(r.i16(), -1);
    EXPECT_EQ(r.u24be(), 0x123456u);
    EXPECT_EQ(r.f32(), 1.0f);
    EXPECT_EQ(r.f64(), -1.0);
    EXPECT_EQ(r.fixed_string(4), "ab");  // cut at the NUL, the whole field consumed
    EXPECT_EQ(r.counted_string<std::uint16_t>(), "xyz");
    EXPECT_EQ(r.zstring(), "q");
    EXPECT_TRUE(r.at_end());
}

TEST(ByteReader, RefusesEveryReadPastTheEndWithItsOffset) {
    const std::vector<std::uint8_t> b = {1, 2, 3, 4, 5, 6, 'a'};
    ByteReader r(b, 100);  // this range starts at byte 100 of its file
    r.skip(5);
    EXPECT_EQ(fail_offset([&] { r.u32(); }), 105);
    EXPECT_EQ(r.offset(), 105u) << "a failed read does not move";
    EXPECT_EQ(fail_offset([&] { r.counted_string<std::uint8_t>(); }), 105);  // 6 bytes announced, 1 left
    ByteReader s(b);
    s.skip(6);
    EXPECT_EQ(fail_offset([&] { s.zstring(); }), 6);
    EXPECT_EQ(fail_offset([&] { s.count_fits(2, 1, "faces"); }), 6);
    EXPECT_EQ(fail_offset([&] { s.count_fits(1ull << 62, 8, "faces"); }), 6) << "no overflow in count x size";
    EXPECT_EQ(s.count_fits(1, 1, "faces"), 1u);
    EXPECT_EQ(fail_offset([&] { s.seek(8); }), 7);
    try {
        s.need(2, "header cut short");
        FAIL();
    } catch (const ParseError& e) {
        EXPECT_EQ(e.reason(), "header cut short");
        EXPECT_STREQ(e.what(), "header cut short (at byte 6)");
    }
}

TEST(ByteReader, SubRangesAreBoundedAndKeepFileOffsets) {
    const std::vector<std::uint8_t> b = {9, 9, 1, 0, 2, 0, 7};
    ByteReader r(b);
    r.skip(2);
    ByteReader chunk = r.sub(4);
    EXPECT_EQ(r.offset(), 6u) << "the parent moves past the chunk";
    EXPECT_EQ(chunk.u16(), 1);
    EXPECT_EQ(chunk.offset(), 4u);
    EXPECT_EQ(chunk.u16(), 2);
    EXPECT_EQ(fail_offset([&] { chunk.u8(); }), 6) << "the chunk ends at its own length, not the file's";
    EXPECT_EQ(fail_offset([&] { r.sub(2); }), 6);
    EXPECT_EQ(r.range(4, 3).u8(), 2);
    EXPECT_EQ(fail_offset([&] { r.range(5, 3); }), 5);
    EXPECT_EQ(fail_offset([&] { r.range(9, 0); }), 7);
}

TEST(ImageLimits, CapSidesAndPixelCountBeforeAllocation) {
    EXPECT_TRUE(tarko::image_size_allowed(8192, 8192));  // 2^26 pixels exactly
    EXPECT_FALSE(tarko::image_size_allowed(8192, 8193));
    EXPECT_FALSE(tarko::image_size_allowed(16385, 1));
    EXPECT_FALSE(tarko::image_size_allowed(0, 5));
    EXPECT_FALSE(tarko::image_size_allowed(1 << 20, 1 << 20));
}

TEST(ImageLimits, OversizedPicturesAreRefusedAsTooLargeWhereTheSizeIsStored) {
    EXPECT_NO_THROW(tarko::check_image_size(4, 4, 12, 16));
    EXPECT_EQ(fail_offset([] { tarko::check_image_size(4, 5, 12, 16); }), 12) << "20 pixels past a cap of 16";
    EXPECT_THROW(tarko::check_image_size(16385, 1, 0), tarko::ImageTooLarge);
    EXPECT_THROW(tarko::check_image_size(0, 1, 0), tarko::ImageTooLarge);
}
