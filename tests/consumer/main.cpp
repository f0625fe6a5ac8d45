// The smallest host: open off screen, clear, present, log, release.
#include <cstdio>

#include "engine/tarko_dx7.h"
#include "platform/window.h"

int main() {
    const tarko::Long hwnd = tarko::platform::create_headless_window(160, 120);
    tarko_DX7 engine;
    engine.Initialize_Windowed(hwnd);
    if (!engine.D3D_DEV) return 1;
    engine.device_CLEAR_COLOR = 0x00336699;
    engine.Clear_3D();
    engine.FLIPP(hwnd);
    const auto& frame = tarko::platform::windows().get(hwnd)->frame();
    const bool ok = frame.at(80, 60) == 0x336699u;
    engine.FreeDX(hwnd);
    std::printf("consumer: %s\n", ok ? "ok" : "wrong pixel");
    return ok ? 0 : 1;
}
