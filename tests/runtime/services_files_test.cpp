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
    services.clock().now = 1500;
    EXPECT_EQ(tick_count(), 1500);
    EXPECT_FLOAT_EQ(Timer(), 36001.5f);
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
    DoEvents();
    DoEvents();
    EXPECT_EQ(services.pumps(), 2);
}

class Files : public ::testing::Test {
protected:
    void SetUp() override {
        dir = tarko::test::scratch_dir("runtime_files");
        std::filesystem::create_directories(dir / "Models" / "Textures");
        std::ofstream(dir / "Models" / "Textures" / "Wall.BMP", std::ios::binary) << "ABCDEFGH";
    }
    std::filesystem::path dir;
};

TEST_F(Files, FindsNamesWithEitherSeparatorAndInAnyCaseAndMissingOnesRaise) {
    const std::string windows_style = dir.string() + "\\models\\TEXTURES\\wall.bmp";
    ASSERT_TRUE(file_exists(windows_style));
    const auto bytes = read_file(windows_style);
    EXPECT_EQ(std::string(bytes.begin(), bytes.end()), "ABCDEFGH");
    EXPECT_EQ(*resolve_path(dir.string() + "/Models/Textures/Wall.BMP"), dir / "Models" / "Textures" / "Wall.BMP");
    // A missing file raises 53, or reads empty where asked, and is never created.
    EXPECT_EQ(tarko::test::error_of([&] { read_file(dir.string() + "/nothing.bin"); }), err::FileNotFound);
    EXPECT_TRUE(read_file_or_empty(dir.string() + "/nothing.bin").empty());
    EXPECT_FALSE(std::filesystem::exists(dir / "nothing.bin"));
}

TEST_F(Files, BinaryReadsAreOneBasedAndStopAtTheEnd) {
    auto f = BinaryFile::open(dir.string() + "/Models/Textures/Wall.BMP");
    EXPECT_EQ(f.LOF(), 8);
    f.Seek(2);
    EXPECT_EQ(f.get_byte(), 'B');
    EXPECT_EQ(f.get_integer(), 'C' | ('D' << 8));
    f.Seek(7);
    EXPECT_EQ(f.get_string(2), "GH");
    EXPECT_EQ(tarko::test::error_of([&] { f.get_byte(); }), err::InputPastEnd);
}

TEST(Paths, DirectoryOfTakesTheLastSeparatorOfEitherKindAndStrayBytesReadAsLatin1) {
    EXPECT_EQ(directory_of("c:\\games\\music\\a.mid"), "c:\\games\\music\\");
    EXPECT_EQ(directory_of("data/sounds/a.wav"), "data/sounds/");
    EXPECT_EQ(directory_of("a.wav"), "");
    EXPECT_EQ(join_path("data\\", "a.wav"), "data\\a.wav");
    EXPECT_EQ(utf8_to_codepoints("é"), std::u32string(1, U'\u00e9'));
    EXPECT_EQ(utf8_to_codepoints("\xe9t\xe9"), (std::u32string{0xE9, 't', 0xE9}));
    EXPECT_EQ(latin1_to_utf8("\xe9"), "é");
}
