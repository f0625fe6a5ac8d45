// DirectInput keyboard and mouse over SDL events, with state that tests set
// by hand. Keyboard bytes are indexed by the scan codes of Tarko_KEY_CONST
// (0x80 when down); mouse moves are relative since the previous read.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>

#include "platform/object_ref.h"
#include "platform/records.h"
#include "runtime/numeric.h"

namespace tarko::platform {

// Everything the input devices and cursor calls read. SDL events feed it when
// a display exists; tests write it directly.
struct InputState {
    std::array<std::uint8_t, 256> keys{};     // DirectInput scan codes
    std::array<bool, 256> vk_down{};          // window-system virtual keys, for GetAsyncKeyState
    std::array<bool, 256> vk_pressed{};       // pressed since the last GetAsyncKeyState query
    long long mouse_dx = 0, mouse_dy = 0, mouse_dz = 0;  // accumulated since the last mouse read
    std::array<std::uint8_t, 4> buttons{};
    int cursor_x = 0, cursor_y = 0;           // screen coordinates
    int set_cursor_calls = 0;
    bool quit_requested = false;

    void press_key(int scan_code, bool down);           // sets the scan code and its virtual key
    void move_mouse(long long dx, long long dy, long long dz = 0);
};

InputState& input_state();
void reset_input_state();

// Window-system calls.
tarko::Integer GetAsyncKeyState(tarko::Long virtual_key);  // non-zero when down or pressed since last asked
void GetCursorPos(tarko::Long& x, tarko::Long& y);
void SetCursorPos(tarko::Long x, tarko::Long y);

// Scan code of Tarko_KEY_CONST for an SDL scancode (0 when there is none) and
// the window-system virtual key of a scan code.
int scan_code_from_sdl(int sdl_scancode);
int virtual_key_from_scan_code(int scan_code);

}  // namespace tarko::platform

inline constexpr tarko::Long DIFORMAT_KEYBOARD = 1;
inline constexpr tarko::Long DIFORMAT_MOUSE = 2;

class DirectInputDevice {
public:
    explicit DirectInputDevice(std::string guid) : guid_(std::move(guid)) {}
    void setCommonDataFormat(tarko::Long format);
    void setCooperativeLevel(tarko::Long hwnd, tarko::Long flags);
    void acquire();
    void unacquire();
    // A read on a device that is not acquired raises DIERR_NOTACQUIRED.
    void getDeviceStateKeyboard(std::array<std::uint8_t, 256>& keys);
    void getDeviceStateMouse(DIMOUSESTATE& state);  // moves since the previous read, then zeroed
    bool acquired() const { return acquired_; }
    const std::string& guid() const { return guid_; }

private:
    std::string guid_;
    tarko::Long format_ = 0;
    bool acquired_ = false;
};

class DirectInput {
public:
    // "GUID_SysKeyboard" or "GUID_SysMouse"; anything else raises DIERR_DEVICENOTREG.
    tarko::Ref<DirectInputDevice> createDevice(const std::string& guid);
};
