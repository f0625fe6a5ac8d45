// Frame names into animations, choosing one by number or by name, and the
// frame step on the engine's frame clock within the chosen range.
#include <gtest/gtest.h>

#include <tuple>

#include "models/md2/md2.h"
#include "runtime/errors.h"
#include "support/test_support.h"

namespace {

using namespace tarko;

std::vector<md2::Md2Frame> named(std::initializer_list<const char*> names) {
    std::vector<md2::Md2Frame> frames;
    for (const char* n : names) frames.push_back({n, {}});
    return frames;
}

TEST(Md2Animations, FrameNamesSplitAsTheRunningNameChanges) {
    const struct {
        const char* what;
        std::vector<md2::Md2Frame> frames;
        std::vector<md2::Md2Animation> expected;
    } rows[] = {
        // i = 3 (run01) differs from "stand": stand closes at 3, run starts at 4; i = 5 is the last
        {"a new name belongs to the animation before it",
         named({"stand01", "stand02", "stand03", "run01", "run02", "run03"}),
         {{"stand", 0, 3}, {"run", 4, 5}}},
        {"two characters go whatever they are", named({"run1", "run2", "run3"}), {{"ru", 0, 2}}},
        // the last frame closes with the running name, even when its own differs
        {"the last frame closes the running one", named({"walk01", "walk02", "pain01"}), {{"walk", 0, 2}}},
        // "Stand" and "stand" differ: closed at 1, the next starts at 2 and the last frame closes it
        {"case counts", named({"Stand01", "stand02", "stand03"}), {{"Stand", 0, 1}, {"stand", 2, 2}}},
        // pain differs at 1 (closes "" 0..1), death at 3 is the last: closes pain 2..3
        {"names shorter than two characters have an empty base", named({"x", "pain01", "pain02", "death1"}),
         {{"", 0, 1}, {"pain", 2, 3}}},
        {"one frame makes no animation", named({"stand01"}), {}},
        {"two frames make one", named({"stand01", "walk01"}), {{"stand", 0, 1}}},
        {"no frames", {}, {}},
    };
    for (const auto& row : rows) {
        const auto got = md2::split_animations(row.frames);
        ASSERT_EQ(got.size(), row.expected.size()) << row.what;
        for (std::size_t i = 0; i < got.size(); ++i) {
            const md2::Md2Animation& a = got[i], &e = row.expected[i];
            EXPECT_EQ(std::tie(a.Name, a.FirstFrame, a.LastFrame), std::tie(e.Name, e.FirstFrame, e.LastFrame)) << row.what << " #" << i;
        }
    }
}

md2::Md2Data four_animations() {
    md2::Md2Data d;
    d.Frames = named({"stand01", "stand02", "run01", "run02", "run03", "attack01", "attack02", "sneeze01", "sneeze02", "end01"});
    d.Animations = md2::split_animations(d.Frames);  // stand 0..2, run 3..5, attack 6..7, sneeze 8..9
    d.LastPlayFrame = 9;
    return d;
}

TEST(Md2Animations, NamesAreFoundAsPartsIgnoringCase) {
    const md2::Md2Data d = four_animations();
    ASSERT_EQ(d.Animations.size(), 4u);
    const struct {
        const char* text;
        std::optional<std::size_t> found;
    } rows[] = {
        {"run", 1}, {"RUN", 1}, {"aTTa", 2}, {"un", 1}, {"EEz", 3}, {"ZE", 3},
        {"a", 0},   // stand and attack both hold it: the first wins
        {"", 0},    // an empty text matches the first name
        {"walk", std::nullopt}, {"runs", std::nullopt},
    };
    for (const auto& row : rows) EXPECT_EQ(md2::find_animation(d, row.text), row.found) << row.text;
}

TEST(Md2Animations, ChoosingAnAnimationSetsItsRangeAndStartsAtItsFirstFrame) {
    md2::Md2Data d = four_animations();
    d.FramePosition = 1.5f;
    md2::set_animation(d, 1);
    EXPECT_EQ((std::array{d.FirstPlayFrame, d.FramePosition, d.LastPlayFrame}), (std::array{3.0f, 3.0f, 5.0f}));
    md2::set_animation(d, -1);  // the whole file: 10 frames
    EXPECT_EQ((std::array{d.FirstPlayFrame, d.FramePosition, d.LastPlayFrame}), (std::array{0.0f, 0.0f, 9.0f}));

    md2::set_animation(d, 2);
    for (const std::int32_t bad : {4, -2, 32767}) {
        EXPECT_EQ(test::error_of([&] { md2::set_animation(d, bad); }), err::SubscriptOutOfRange) << bad;
        EXPECT_EQ((std::array{d.FirstPlayFrame, d.FramePosition, d.LastPlayFrame}), (std::array{6.0f, 6.0f, 7.0f}));
    }
}

TEST(Md2Animations, FramesStepOnTheFrameClockWithinTheRange) {
    const struct {
        const char* what;
        float first, last, position, speed, elapse, new_position;
        std::int64_t frame, next;
        float t;
    } rows[] = {
        // + speed x elapse / 1000 = 10 x 25 / 1000 = 0.25
        {"a step within the range", 0, 9, 7.5f, 10, 25, 7.75f, 7, 8, 0.75f},
        {"past last - 2 the next frame is the first", 0, 9, 8.5f, 10, 25, 8.75f, 8, 0, 0.75f},
        {"exactly the last frame stays", 0, 9, 8.75f, 10, 25, 9.0f, 9, 0, 0.0f},
        {"above the last it becomes the first, fraction lost", 0, 9, 8.875f, 10, 25, 0.0f, 0, 1, 0.0f},
        // 19.5 + 20 x 50 / 1000 = 20.5 > 20: back to 10
        {"a range inside the file wraps to its first", 10, 20, 19.5f, 20, 50, 10.0f, 10, 11, 0.0f},
        {"a range of two frames only blends back to its first", 4, 5, 4.25f, 10, 25, 4.5f, 4, 4, 0.5f},
        // 1 x 101 / 1000: one frame per second at a 100 ms frame (NBFrame is 100 + 1)
        {"the frame clock counts milliseconds plus one", 0, 9, 0, 1, 101, 0.101f, 0, 1, 0.101f},
        // 2.25 + (-10 x 25) / 1000 = 2.0: going back does not wrap
        {"a negative speed goes back", 0, 9, 2.25f, -10, 25, 2.0f, 2, 3, 0.0f},
        {"below the first nothing wraps", 3, 9, 0.0f, -10, 25, -0.25f, -1, 0, 0.75f},
        {"no time, no step", 0, 9, 3.5f, 10, 0, 3.5f, 3, 4, 0.5f},
    };
    for (const auto& row : rows) {
        md2::Md2Data d;
        d.FirstPlayFrame = row.first;
        d.LastPlayFrame = row.last;
        d.FramePosition = row.position;
        const md2::Blend b = md2::advance(d, row.speed, row.elapse);
        EXPECT_EQ(d.FramePosition, row.new_position) << row.what;
        EXPECT_EQ((std::array{b.Frame, b.Next}), (std::array{row.frame, row.next})) << row.what;
        EXPECT_FLOAT_EQ(b.T, row.t) << row.what;
    }
}

TEST(Md2Animations, ThePositionIsRoundedOnceFromDoubles) {
    // 0.1f + 7 x 17 / 1000: in Doubles 0.10000000149 + 0.119 = 0.21900000149, nearest Single
    // 0.21899999678; with the step rounded to a Single first the sum is 0.21900001168
    md2::Md2Data d;
    d.LastPlayFrame = 9;
    d.FramePosition = 0.1f;
    md2::advance(d, 7, 17);
    EXPECT_EQ(d.FramePosition, 0.21899999678134918f);
}

}  // namespace
