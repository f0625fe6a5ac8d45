// The smallest host: open off screen, hand a sound listener to the engine,
// clear, present, release. Everything through the one installed header.
#include <cstdio>

#include <tarko/tarko.h>

int main() {
    const tarko::Long hwnd = tarko::platform::create_headless_window(160, 120);
    cTarko_Sound sound;
    sound.INIT_SoundENGINE(0);
    tarko_DX7 engine;
    engine.Initialize_Windowed(hwnd);
    if (!engine.D3D_DEV) return 1;
    engine.DS_Listener = sound.DS_Listener;  // FLIPP moves it to the camera
    engine.device_CLEAR_COLOR = 0x00336699;
    engine.Clear_3D();
    engine.D3D_DEV->beginScene();
    engine.D3D_DEV->endScene();
    engine.FLIPP(hwnd);
    const auto& frame = tarko::platform::windows().get(hwnd)->frame();
    const bool ok = frame.at(80, 60) == 0x336699u;
    engine.FreeDX(hwnd);
    sound.Engine_Free();
    std::printf("consumer: %s\n", ok ? "ok" : "wrong pixel");
    return ok ? 0 : 1;
}
