// Keyboard and mouse devices over the shared input state, and the cursor calls.
#include "platform/input.h"

#include <SDL_scancode.h>

#include "platform/status.h"
#include "platform/trace.h"

namespace tarko::platform {

void warp_cursor(int x, int y);  // sdl_window.cpp

namespace {
InputState state;

struct KeyMap {
    int sdl;
    int dik;
    int vk;
};

// SDL scancode -> keyboard scan code -> virtual key.
constexpr KeyMap kKeys[] = {
    {SDL_SCANCODE_ESCAPE, 1, 27},     {SDL_SCANCODE_1, 2, '1'},         {SDL_SCANCODE_2, 3, '2'},
    {SDL_SCANCODE_3, 4, '3'},         {SDL_SCANCODE_4, 5, '4'},         {SDL_SCANCODE_5, 6, '5'},
    {SDL_SCANCODE_6, 7, '6'},         {SDL_SCANCODE_7, 8, '7'},         {SDL_SCANCODE_8, 9, '8'},
    {SDL_SCANCODE_9, 10, '9'},        {SDL_SCANCODE_0, 11, '0'},        {SDL_SCANCODE_MINUS, 12, 189},
    {SDL_SCANCODE_EQUALS, 13, 187},   {SDL_SCANCODE_BACKSPACE, 14, 8}, {SDL_SCANCODE_TAB, 15, 9},
    {SDL_SCANCODE_Q, 16, 'Q'},        {SDL_SCANCODE_W, 17, 'W'},        {SDL_SCANCODE_E, 18, 'E'},
    {SDL_SCANCODE_R, 19, 'R'},        {SDL_SCANCODE_T, 20, 'T'},        {SDL_SCANCODE_Y, 21, 'Y'},
    {SDL_SCANCODE_U, 22, 'U'},        {SDL_SCANCODE_I, 23, 'I'},        {SDL_SCANCODE_O, 24, 'O'},
    {SDL_SCANCODE_P, 25, 'P'},        {SDL_SCANCODE_LEFTBRACKET, 26, 219}, {SDL_SCANCODE_RIGHTBRACKET, 27, 221},
    {SDL_SCANCODE_RETURN, 28, 13},    {SDL_SCANCODE_LCTRL, 29, 17},    {SDL_SCANCODE_A, 30, 'A'},
    {SDL_SCANCODE_S, 31, 'S'},        {SDL_SCANCODE_D, 32, 'D'},        {SDL_SCANCODE_F, 33, 'F'},
    {SDL_SCANCODE_G, 34, 'G'},        {SDL_SCANCODE_H, 35, 'H'},        {SDL_SCANCODE_J, 36, 'J'},
    {SDL_SCANCODE_K, 37, 'K'},        {SDL_SCANCODE_L, 38, 'L'},        {SDL_SCANCODE_SEMICOLON, 39, 186},
    {SDL_SCANCODE_APOSTROPHE, 40, 222}, {SDL_SCANCODE_GRAVE, 41, 192}, {SDL_SCANCODE_LSHIFT, 42, 16},
    {SDL_SCANCODE_BACKSLASH, 43, 220}, {SDL_SCANCODE_Z, 44, 'Z'},      {SDL_SCANCODE_X, 45, 'X'},
    {SDL_SCANCODE_C, 46, 'C'},        {SDL_SCANCODE_V, 47, 'V'},        {SDL_SCANCODE_B, 48, 'B'},
    {SDL_SCANCODE_N, 49, 'N'},        {SDL_SCANCODE_M, 50, 'M'},        {SDL_SCANCODE_COMMA, 51, 188},
    {SDL_SCANCODE_PERIOD, 52, 190},   {SDL_SCANCODE_SLASH, 53, 191},   {SDL_SCANCODE_RSHIFT, 54, 16},
    {SDL_SCANCODE_KP_MULTIPLY, 55, 106}, {SDL_SCANCODE_LALT, 56, 18},  {SDL_SCANCODE_SPACE, 57, 32},
    {SDL_SCANCODE_CAPSLOCK, 58, 20},  {SDL_SCANCODE_F1, 59, 112},      {SDL_SCANCODE_F2, 60, 113},
    {SDL_SCANCODE_F3, 61, 114},       {SDL_SCANCODE_F4, 62, 115},      {SDL_SCANCODE_F5, 63, 116},
    {SDL_SCANCODE_F6, 64, 117},       {SDL_SCANCODE_F7, 65, 118},      {SDL_SCANCODE_F8, 66, 119},
    {SDL_SCANCODE_F9, 67, 120},       {SDL_SCANCODE_F10, 68, 121},     {SDL_SCANCODE_NUMLOCKCLEAR, 69, 144},
    {SDL_SCANCODE_SCROLLLOCK, 70, 145}, {SDL_SCANCODE_KP_7, 71, 103},  {SDL_SCANCODE_KP_8, 72, 104},
    {SDL_SCANCODE_KP_9, 73, 105},     {SDL_SCANCODE_KP_MINUS, 74, 109}, {SDL_SCANCODE_KP_4, 75, 100},
    {SDL_SCANCODE_KP_5, 76, 101},     {SDL_SCANCODE_KP_6, 77, 102},    {SDL_SCANCODE_KP_PLUS, 78, 107},
    {SDL_SCANCODE_KP_1, 79, 97},      {SDL_SCANCODE_KP_2, 80, 98},     {SDL_SCANCODE_KP_3, 81, 99},
    {SDL_SCANCODE_KP_0, 82, 96},      {SDL_SCANCODE_KP_PERIOD, 83, 110}, {SDL_SCANCODE_NONUSBACKSLASH, 86, 226},
    {SDL_SCANCODE_F11, 87, 122},      {SDL_SCANCODE_F12, 88, 123},     {SDL_SCANCODE_F13, 100, 124},
    {SDL_SCANCODE_F14, 101, 125},     {SDL_SCANCODE_F15, 102, 126},    {SDL_SCANCODE_INTERNATIONAL2, 112, 0},
    {SDL_SCANCODE_INTERNATIONAL4, 121, 0}, {SDL_SCANCODE_INTERNATIONAL5, 123, 0}, {SDL_SCANCODE_INTERNATIONAL3, 125, 0},
    {SDL_SCANCODE_KP_EQUALS, 141, 0}, {SDL_SCANCODE_STOP, 149, 0},     {SDL_SCANCODE_KP_ENTER, 156, 13},
    {SDL_SCANCODE_RCTRL, 157, 17},    {SDL_SCANCODE_KP_COMMA, 179, 0}, {SDL_SCANCODE_KP_DIVIDE, 181, 111},
    {SDL_SCANCODE_SYSREQ, 183, 44},   {SDL_SCANCODE_PRINTSCREEN, 183, 44}, {SDL_SCANCODE_RALT, 184, 18},
    {SDL_SCANCODE_PAUSE, 197, 19},    {SDL_SCANCODE_HOME, 199, 36},    {SDL_SCANCODE_UP, 200, 38},
    {SDL_SCANCODE_PAGEUP, 201, 33},   {SDL_SCANCODE_LEFT, 203, 37},    {SDL_SCANCODE_RIGHT, 205, 39},
    {SDL_SCANCODE_END, 207, 35},      {SDL_SCANCODE_DOWN, 208, 40},    {SDL_SCANCODE_PAGEDOWN, 209, 34},
    {SDL_SCANCODE_INSERT, 210, 45},   {SDL_SCANCODE_DELETE, 211, 46},  {SDL_SCANCODE_LGUI, 219, 91},
    {SDL_SCANCODE_RGUI, 220, 92},     {SDL_SCANCODE_APPLICATION, 221, 93},
};
}  // namespace

InputState& input_state() { return state; }
void reset_input_state() { state = InputState{}; }

void InputState::press_key(int scan_code, bool down) {
    if (scan_code <= 0 || scan_code > 255) return;
    keys[static_cast<std::size_t>(scan_code)] = down ? 0x80 : 0;
    const int vk = virtual_key_from_scan_code(scan_code);
    if (vk > 0) {
        vk_down[static_cast<std::size_t>(vk)] = down;
        if (down) vk_pressed[static_cast<std::size_t>(vk)] = true;
    }
}

void InputState::move_mouse(long long dx, long long dy, long long dz) {
    mouse_dx += dx;
    mouse_dy += dy;
    mouse_dz += dz;
    cursor_x += static_cast<int>(dx);
    cursor_y += static_cast<int>(dy);
}

int scan_code_from_sdl(int sdl_scancode) {
    for (const auto& k : kKeys)
        if (k.sdl == sdl_scancode) return k.dik;
    return 0;
}

int virtual_key_from_scan_code(int scan_code) {
    for (const auto& k : kKeys)
        if (k.dik == scan_code) return k.vk;
    return 0;
}

Integer GetAsyncKeyState(Long virtual_key) {
    if (virtual_key < 0 || virtual_key > 255) return 0;
    const auto i = static_cast<std::size_t>(virtual_key);
    Integer result = 0;
    if (state.vk_down[i]) result = static_cast<Integer>(0x8000);
    if (state.vk_pressed[i]) result = static_cast<Integer>(result | 1);
    state.vk_pressed[i] = false;
    return result;
}

void GetCursorPos(Long& x, Long& y) {
    x = state.cursor_x;
    y = state.cursor_y;
}

void SetCursorPos(Long x, Long y) {
    record("User", "SetCursorPos", x, y);
    state.cursor_x = x;
    state.cursor_y = y;
    ++state.set_cursor_calls;
    warp_cursor(x, y);
}

}  // namespace tarko::platform

namespace platform = tarko::platform;

void DirectInputDevice::setCommonDataFormat(tarko::Long format) {
    platform::record("DirectInputDevice", "setCommonDataFormat", format);
    if (format != DIFORMAT_KEYBOARD && format != DIFORMAT_MOUSE)
        platform::fail(platform::DDERR_INVALIDPARAMS, "setCommonDataFormat");
    format_ = format;
}

void DirectInputDevice::setCooperativeLevel(tarko::Long hwnd, tarko::Long flags) {
    platform::record("DirectInputDevice", "setCooperativeLevel", hwnd, flags);
}

void DirectInputDevice::acquire() {
    platform::record("DirectInputDevice", "acquire", guid_);
    acquired_ = true;
}

void DirectInputDevice::unacquire() {
    platform::record("DirectInputDevice", "unacquire", guid_);
    acquired_ = false;
}

void DirectInputDevice::getDeviceStateKeyboard(std::array<std::uint8_t, 256>& keys) {
    if (!acquired_) platform::fail(platform::DIERR_NOTACQUIRED, "getDeviceStateKeyboard");
    keys = platform::input_state().keys;
}

void DirectInputDevice::getDeviceStateMouse(DIMOUSESTATE& out) {
    if (!acquired_) platform::fail(platform::DIERR_NOTACQUIRED, "getDeviceStateMouse");
    auto& s = platform::input_state();
    auto clamp = [](long long v) {
        return static_cast<std::int32_t>(v > INT32_MAX ? INT32_MAX : v < INT32_MIN ? INT32_MIN : v);
    };
    out.lX = clamp(s.mouse_dx);
    out.lY = clamp(s.mouse_dy);
    out.lZ = clamp(s.mouse_dz);
    out.buttons = s.buttons;
    s.mouse_dx = s.mouse_dy = s.mouse_dz = 0;
}

tarko::Ref<DirectInputDevice> DirectInput::createDevice(const std::string& guid) {
    platform::record("DirectInput", "createDevice", guid);
    if (guid != "GUID_SysKeyboard" && guid != "GUID_SysMouse")
        platform::fail(platform::DIERR_DEVICENOTREG, "createDevice " + guid);
    return tarko::Ref<DirectInputDevice>(std::make_shared<DirectInputDevice>(guid));
}
