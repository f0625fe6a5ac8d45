// Keyboard and mouse devices over the injected input state.
#include <gtest/gtest.h>

#include "platform/input.h"
#include "platform/status.h"
#include "runtime/errors.h"
#include "support/test_support.h"

using namespace tarko;

class InputDevices : public ::testing::Test {
protected:
    void SetUp() override { platform::reset_input_state(); }
    DirectInput input;
};

TEST_F(InputDevices, MouseMovesAreRelativeSinceThePreviousRead) {
    auto mouse = input.createDevice("GUID_SysMouse");
    mouse->setCommonDataFormat(DIFORMAT_MOUSE);
    mouse->acquire();
    platform::input_state().move_mouse(5, -3, 120);
    platform::input_state().move_mouse(2, 0);
    DIMOUSESTATE s;
    mouse->getDeviceStateMouse(s);
    EXPECT_EQ(s.lX, 7);
    mouse->getDeviceStateMouse(s);  // a second read in a row sees no move
    EXPECT_EQ(s.lX, 0);
}

TEST_F(InputDevices, KeyboardReadsScanCodesAndUnacquiredReadsRaise) {
    auto keyboard = input.createDevice("GUID_SysKeyboard");
    std::array<std::uint8_t, 256> keys{};
    EXPECT_EQ(tarko::test::error_of([&] { keyboard->getDeviceStateKeyboard(keys); }), platform::DIERR_NOTACQUIRED);
    keyboard->acquire();
    platform::input_state().press_key(platform::scan_code_from_sdl(82), true);  // SDL up -> 200
    keyboard->getDeviceStateKeyboard(keys);
    EXPECT_EQ(keys[200], 0x80);
}

TEST_F(InputDevices, AsyncKeyStateLatchesPressesUntilAsked) {
    platform::input_state().press_key(57, true);  // space, virtual key 32
    platform::input_state().press_key(57, false);
    EXPECT_NE(platform::GetAsyncKeyState(32), 0);  // pressed since last asked
    EXPECT_EQ(platform::GetAsyncKeyState(32), 0);
    platform::input_state().press_key(30, true);  // 'A' held
    EXPECT_NE(platform::GetAsyncKeyState('A'), 0);
    EXPECT_NE(platform::GetAsyncKeyState('A'), 0);  // held keys stay down
}
