// Clock, random generator, message boxes and file access with the path rules.
#include <gtest/gtest.h>

#include <fstream>

#include "runtime/errors.h"
#include "runtime/files.h"
#include "runtime/services.h"
#include "support/test_support.h"

using namespace tarko;
using namespace tarko::runtime;

TEST(Services, ClockRandomGeneratorAndMessageBoxes) {
    ScopedTestServices services;
    services.clock().midnight_offset_s = 86399.0;
    services.clock().now = 2000;  // past midnight: Timer jumps back
    EXPECT_FLOAT_EQ(Timer(), 1.0f);

    Randomize(12345.5);
    const float a = Rnd(), b = Rnd();
    Randomize(12345.5);  // the same seed repeats the sequence
    EXPECT_EQ(Rnd(), a);
    EXPECT_EQ(Rnd(), b);
    Randomize(12345.75);
    EXPECT_NE(Rnd(), a);
    for (int i = 0; i < 10000; ++i) {
        const float x = Rnd();
        ASSERT_GE(x, 0.0f);
        ASSERT_LT(x, 1.0f);
    }

    MsgBox("hello", vbExclamation);
    ASSERT_EQ(services.messages().size(), 1u);
    EXPECT_EQ(services.messages()[0].text, "hello");
    EXPECT_EQ(services.messages()[0].style, vbExclamation);
    EXPECT_EQ(services.messages()[0].caption, kDefaultCaption);
}

TEST(Services, AClockReplacedDuringAReadLivesUntilTheReadEnds) {
    tarko::test::SelfReplacingClock::install();
    EXPECT_EQ(now_ms(), 42);
    EXPECT_FALSE(tarko::test::SelfReplacingClock::read_after_free);
    EXPECT_TRUE(tarko::test::SelfReplacingClock::destroyed);  // and then it goes
}

TEST(Files, FindsNamesWithEitherSeparatorInAnyCaseAndReadsOneBased) {
    const auto dir = tarko::test::scratch_dir("runtime_files");
    std::filesystem::create_directories(dir / "Models");
    std::ofstream(dir / "Models" / "Wall.BMP", std::ios::binary) << "ABCDEFGH";
    const auto bytes = read_file(dir.string() + "\\models\\wall.bmp");
    EXPECT_EQ(std::string(bytes.begin(), bytes.end()), "ABCDEFGH");
    EXPECT_EQ(tarko::test::error_of([&] { read_file(dir.string() + "/nothing.bin"); }), err::FileNotFound);
    EXPECT_FALSE(std::filesystem::exists(dir / "nothing.bin"));

    auto f = BinaryFile::open(dir.string() + "/Models/Wall.BMP");
    f.Seek(2);
    EXPECT_EQ(f.get_integer(), 'B' | ('C' << 8));
    f.Seek(7);
    EXPECT_EQ(f.get_string(2), "GH");
    EXPECT_EQ(tarko::test::error_of([&] { f.get_byte(); }), err::InputPastEnd);
    EXPECT_EQ(directory_of("c:\\games\\music/a.mid"), "c:\\games\\music/");
    EXPECT_EQ(utf8_to_codepoints("\xe9t"), (std::u32string{0xE9, 't'}));  // stray bytes read as Latin-1
}
