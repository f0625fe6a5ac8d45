// Polled keyboard and mouse reads with injected device state.
#include "support/engine_test_support.h"
#include "platform/input.h"

using namespace tarko;
using tarko::test::EngineFixture;

class Input : public EngineFixture {
protected:
    platform::InputState& in() { return platform::input_state(); }
};

TEST_F(Input, ReadsBeforeStartUpAndOutsideTheTablesRaise) {
    EXPECT_EQ(error_of([&] { engine.GetKEY(Tarko_KEY_A); }), err::ObjectNotSet);
    open();
    EXPECT_EQ(error_of([&] { engine.GetKEY(255); }), 0);
    EXPECT_EQ(error_of([&] { engine.GetKEY(256); }), err::SubscriptOutOfRange);
    EXPECT_EQ(error_of([&] { engine.Mousse_PressedButton(4); }), err::SubscriptOutOfRange);  // 3 is the last
    engine.FreeDX(hwnd);
    EXPECT_NE(error_of([&] { engine.GetKEY(Tarko_KEY_A); }), 0);  // the keyboard is unacquired
}

TEST_F(Input, MouseAxesAreRelativeToThePreviousPoll) {
    open();
    in().move_mouse(5, -3, 120);
    EXPECT_EQ(engine.Mouse_X().to_long(), 5);
    in().move_mouse(4, 7, 0);
    in().move_mouse(1, 1, -240);
    EXPECT_EQ(engine.Mouse_Z().to_long(), -240);  // moves accumulate between polls
    in().move_mouse(3, 9);
    EXPECT_EQ(engine.Mouse_X().to_long(), 3);
    EXPECT_EQ(engine.Mouse_Y().to_long(), 0);  // the first poll took the 9 with it
    EXPECT_EQ(engine.Mouse_X().type(), Variant::Type::Long);
}

