// Polled keyboard and mouse reads with injected device state, and the
// window-system key and cursor reads.
#include "engine_test_support.h"
#include "platform/input.h"

using namespace tarko;
using tarko::test::EngineFixture;

class Input : public EngineFixture {
protected:
    platform::InputState& in() { return platform::input_state(); }
};

TEST_F(Input, ReadsBeforeStartUpAndOutsideTheTablesRaise) {
    EXPECT_EQ(error_of([&] { engine.GetKEY(Tarko_KEY_A); }), err::ObjectNotSet);
    EXPECT_EQ(error_of([&] { engine.Mouse_X(); }), err::ObjectNotSet);
    EXPECT_EQ(error_of([&] { engine.Mousse_PressedButton(Left_Button); }), err::ObjectNotSet);
    open();
    EXPECT_EQ(error_of([&] { engine.GetKEY(255); }), 0);
    EXPECT_EQ(error_of([&] { engine.GetKEY(256); }), err::SubscriptOutOfRange);
    EXPECT_EQ(error_of([&] { engine.GetKEY(-1); }), err::SubscriptOutOfRange);
    EXPECT_EQ(error_of([&] { engine.Mousse_PressedButton(4); }), err::SubscriptOutOfRange);  // 3 is the last
    EXPECT_EQ(error_of([&] { engine.Mousse_PressedButton(-1); }), err::SubscriptOutOfRange);
    engine.FreeDX(hwnd);
    EXPECT_NE(error_of([&] { engine.GetKEY(Tarko_KEY_A); }), 0);  // the keyboard is unacquired
}

TEST_F(Input, KeysAndButtonsReadTheirState) {
    open();
    in().press_key(Tarko_KEY_SPACE, true);
    EXPECT_TRUE(engine.GetKEY(Tarko_KEY_SPACE));
    EXPECT_TRUE(engine.GetKEY(Tarko_KEY_SPACE));  // held: true on every call
    EXPECT_FALSE(engine.GetKEY(Tarko_KEY_A));
    in().press_key(Tarko_KEY_SPACE, false);
    EXPECT_FALSE(engine.GetKEY(Tarko_KEY_SPACE));
    in().buttons[1] = 0x80;
    in().buttons[3] = 0x80;
    EXPECT_FALSE(engine.Mousse_PressedButton(Left_Button));
    EXPECT_TRUE(engine.Mousse_PressedButton(Right_Button));
    EXPECT_TRUE(engine.Mousse_PressedButton(3));
}

TEST_F(Input, MouseAxesAreRelativeToThePreviousPoll) {
    open();
    in().move_mouse(5, -3, 120);
    EXPECT_EQ(engine.Mouse_X().to_long(), 5);
    EXPECT_EQ(engine.Mouse_X().to_long(), 0);  // a still mouse reads 0
    in().move_mouse(4, 7, 0);
    in().move_mouse(1, 1, -240);
    EXPECT_EQ(engine.Mouse_Z().to_long(), -240);  // moves accumulate between polls
    in().move_mouse(3, 9);
    EXPECT_EQ(engine.Mouse_X().to_long(), 3);
    EXPECT_EQ(engine.Mouse_Y().to_long(), 0);  // the first poll took the 9 with it
    EXPECT_EQ(engine.Mouse_X().type(), Variant::Type::Long);
}

TEST_F(Input, WindowSystemKeyLatchesAPressAndTheCursorNeedsNoDevice) {
    const int vk = platform::virtual_key_from_scan_code(Tarko_KEY_A);
    ASSERT_GT(vk, 0);
    in().press_key(Tarko_KEY_A, true);
    in().press_key(Tarko_KEY_A, false);
    EXPECT_TRUE(engine.GetKEY_API(vk));   // pressed since the last query
    EXPECT_FALSE(engine.GetKEY_API(vk));  // latch cleared
    in().press_key(Tarko_KEY_A, true);
    EXPECT_TRUE(engine.GetKEY_API(vk));
    EXPECT_TRUE(engine.GetKEY_API(vk));  // still down
    EXPECT_FALSE(engine.GetKEY_API(-5));
    in().cursor_x = 812;
    in().cursor_y = -4;  // left of a second screen
    EXPECT_EQ(engine.MOUSE_Cursor_API_X().to_long(), 812);
    EXPECT_EQ(engine.MOUSE_Cursor_API_Y().to_long(), -4);
}
