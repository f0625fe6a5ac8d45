// Forms drawn headless: each kind of control lands on its rectangle, texts and
// pictures draw, and views a form should never hand over still draw or raise
// a clear error.
#include <gtest/gtest.h>

#include "platform/form.h"
#include "platform/status.h"
#include "platform/trace.h"
#include "support/test_support.h"

using namespace tarko;
using platform::ControlKind;
using tarko::test::error_of;

namespace {

std::uint32_t rgb(const platform::Frame& f, int x, int y) { return f.at(x, y) & 0xFFFFFF; }

constexpr std::uint32_t kWindow = 0xD4D0C8, kButton = 0xE4E2DC, kWhite = 0xFFFFFF;

platform::FormView small_form(int width = 120, int height = 80) {
    platform::FormView v;
    v.caption = "Test";
    v.width = width;
    v.height = height;
    v.controls.push_back({"B", ControlKind::Button, "", 10, 10, 40, 20});
    v.controls.push_back({"L", ControlKind::ComboBox, "none", 10, 40, 100, 21, {"a", "b"}, 5});  // index past the end
    return v;
}

}  // namespace

TEST(Form, ControlsLandOnTheirRectanglesOverTheWindowGrey) {
    const platform::Frame f = platform::render_form(small_form());
    ASSERT_EQ(f.width, 120);
    ASSERT_EQ(f.height, 80);
    // Inside the button (10..49 x 10..29), just right of it, just under it; the list from y 40, and
    // 40 + 21 = 61 the first row below it.
    for (auto [x, y, want] : {std::tuple{2, 2, kWindow}, {12, 12, kButton}, {47, 27, kButton}, {51, 12, kWindow},
                              {12, 31, kWindow}, {12, 42, kWhite}, {12, 62, kWindow}})
        EXPECT_EQ(rgb(f, x, y), want) << x << ", " << y;
}

TEST(Form, TextAndPicturesDraw) {
    platform::FormView v = small_form();
    v.controls[0].text = "OK";
    Image picture(2, 2, 0xFF0000FFu);  // blue
    v.controls.push_back({"P", ControlKind::Picture, "", 60, 60, 20, 10});
    v.controls.back().picture = &picture;
    const platform::Frame f = platform::render_form(v);
    int dark = 0;  // the caption's black pixels in the button
    for (int y = 10; y < 30; ++y)
        for (int x = 10; x < 50; ++x) dark += (rgb(f, x, y) & 0xFF) < 64;
    EXPECT_GT(dark, 16);  // "O" and "K" take about 12 each, black on whole pixels
    for (auto [x, y, want] : {std::tuple{61, 61, 0x0000FFu}, {78, 68, 0x0000FFu}, {81, 65, kWindow}})
        EXPECT_EQ(rgb(f, x, y), want) << x << ", " << y;  // stretched over 60..79 x 60..69
}

TEST(Form, DrawingLeavesTheCallTraceAlone) {
    platform::ScopedTrace trace;
    platform::render_form(small_form());
    EXPECT_TRUE(trace.entries().empty());
    EXPECT_TRUE(platform::trace().enabled());
}

TEST(Form, ASizeOutsideOneTo4096PixelsIsRefused) {
    for (auto [w, h] : {std::pair{0, 80}, {120, -1}, {5000, 80}}) {
        EXPECT_EQ(error_of([&] { platform::render_form(small_form(w, h)); }), platform::DDERR_INVALIDPARAMS) << w << "x" << h;
    }
    platform::FormView empty_picture = small_form();
    Image none;
    empty_picture.controls.push_back({"P", ControlKind::Picture, "", 0, 0, 10, 10});
    empty_picture.controls.back().picture = &none;  // nothing to draw, nothing read
    EXPECT_EQ(rgb(platform::render_form(empty_picture), 2, 2), kWindow);
}
