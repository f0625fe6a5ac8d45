// Polled keyboard and mouse reads through DirectInput, and the window
// system's key and cursor calls.
#include "engine/tarko_dx7.h"
#include "platform/input.h"
#include "runtime/errors.h"

using tarko::Variant;

bool tarko_DX7::GetKEY(tarko::Long Key) {
    Dinput_DEV->getDeviceStateKeyboard(KeyState);
    if (Key < 0 || Key >= static_cast<tarko::Long>(KeyState.size())) tarko::raise_error(tarko::err::SubscriptOutOfRange);
    return KeyState[static_cast<std::size_t>(Key)] > 0;
}

bool tarko_DX7::GetKEY_API(tarko::Long Key) { return tarko::platform::GetAsyncKeyState(Key) != 0; }

Variant tarko_DX7::Mouse_X() {
    MouseDevice->getDeviceStateMouse(MouseState);
    return Variant(static_cast<tarko::Long>(MouseState.lX));
}
Variant tarko_DX7::Mouse_Y() {
    MouseDevice->getDeviceStateMouse(MouseState);
    return Variant(static_cast<tarko::Long>(MouseState.lY));
}
Variant tarko_DX7::Mouse_Z() {
    MouseDevice->getDeviceStateMouse(MouseState);
    return Variant(static_cast<tarko::Long>(MouseState.lZ));
}

Variant tarko_DX7::MOUSE_Cursor_API_X() {
    tarko::platform::GetCursorPos(CursorPoint.x, CursorPoint.y);
    return Variant(CursorPoint.x);
}
Variant tarko_DX7::MOUSE_Cursor_API_Y() {
    tarko::platform::GetCursorPos(CursorPoint.x, CursorPoint.y);
    return Variant(CursorPoint.y);
}

bool tarko_DX7::Mousse_PressedButton(tarko::Long BUTT) {
    MouseDevice->getDeviceStateMouse(MouseState);
    if (BUTT < 0 || BUTT >= static_cast<tarko::Long>(MouseState.buttons.size()))
        tarko::raise_error(tarko::err::SubscriptOutOfRange);
    return MouseState.buttons[static_cast<std::size_t>(BUTT)] != 0;
}
