// The frame cycle: clear, present with the two frame-rate measures and the
// frame time, the log console, and the release of the device objects.
#include <cmath>

#include "engine/tarko_dx7.h"
#include "platform/constants.h"
#include "platform/trace.h"
#include "runtime/errors.h"
#include "runtime/services.h"

using tarko::Long;
namespace rt = tarko::runtime;

namespace {
constexpr int kLineSpacing = 15;
// Variant arithmetic: a whole result stays a Long while it fits, else a Double.
tarko::Variant whole_or_double(double v) {
    if (v >= INT32_MIN && v <= INT32_MAX && v == std::floor(v)) return tarko::Variant(static_cast<Long>(v));
    return tarko::Variant(v);
}
}  // namespace

void tarko_DX7::Clear_3D() {
    rt::ResumeNext next;
    next([&] {
        const D3DRECT rects[1] = {ClearRect};
        D3D_DEV->clear(1, rects, dx::D3DCLEAR_TARGET | dx::D3DCLEAR_ZBUFFER, device_CLEAR_COLOR, 1.0f, 0);
    });
}

void tarko_DX7::FLIPP(Long Hand, bool, bool) {
    if (Jumping) Camera_update(true);

    if (FrameCount30 == 30) {
        const float elapsed = static_cast<float>(static_cast<double>(rt::Timer()) - LastTimer);
        if (elapsed != 0.0f && LastTimer != 0.0f) FpsValue = 30.0f / elapsed;
        LastTimer = rt::Timer();
        FrameCount30 = tarko::Variant(static_cast<tarko::Integer>(0));
    }
    FrameCount30 = whole_or_double(FrameCount30.to_double() + 1);

    ensure_root();
    RECT rect;
    DX_7->getWindowRect(Hand, rect);
    lWidth = rect.Right - rect.Left;
    lheight = rect.Bottom - rect.Top;

    SecondFrames = rt::CInt(static_cast<double>(SecondFrames) + 1);
    if (rt::CLng(static_cast<double>(DX_7->tickCount()) - 1000) > LastSecondTick) {
        const double delta = static_cast<double>(DX_7->tickCount()) - LastSecondTick;
        LastSecondTick = DX_7->tickCount();
        SecondRate = static_cast<float>(rt::Int(SecondFrames / (delta / 1000.0)));
        SecondFrames = 0;
    }

    const Long now = DX_7->tickCount();
    NBFrame = whole_or_double(static_cast<double>(now) - LastFrameTick.to_double() + 1);
    LastFrameTick = tarko::Variant(now);

    if (wType == FullScreeen) {
        Prim->flip(tarko::Ref<DirectDrawSurface7>(), dx::DDFLIP_WAIT);
    } else if (wType == Windowed) {
        DX_7->getWindowRect(Hand, WindowRect);
        const Long status = Prim->blt(WindowRect, BAK, BackRect, dx::DDBLT_WAIT);
        if (status != 0) {
            rt::MsgBox("Couldn't copy the source rectangle to the destination surface.\r" + rt::Hex(status));
            return;
        }
    }

    if (DS_Listener) move_listener_to_camera();
}

float tarko_DX7::FramesPerSec() const { return FpsValue; }
float tarko_DX7::ImparSeconde() const { return SecondRate; }
float tarko_DX7::ElapseFrame() const { return NBFrame.to_single(); }

void tarko_DX7::WriteLOG(const std::string& St, Long Hand) {
    ensure_root();
    BAK->setForeColor(rt::RGB(255, 255, 255));
    if (!St.empty()) {
        LogCount = rt::CInt(static_cast<double>(LogCount) + 1);
        if (LogLines.dimensioned())
            LogLines.ReDimPreserve(LogCount);
        else
            LogLines.ReDim(1, LogCount);
        LogLines(LogCount) = St;
    }
    // From here a failure ends the operation quietly.
    rt::catch_all([&] {
        BAK->bltColorFill(RECT{}, 0);
        for (Long i = 1; i <= LogCount; ++i) {
            Long x, y;
            if (kLineSpacing * i - kLineSpacing <= BackRect.Bottom) {
                x = 10;
                y = kLineSpacing * i + 10;
            } else {
                x = static_cast<Long>(rt::Int(BackRect.Right / 2.7));
                y = kLineSpacing * i + 10 - BackRect.Bottom;
            }
            BAK->drawText(x, y, LogLines(i), false);
        }
        FLIPP(Hand, true, false);
    });
}

void tarko_DX7::FreeDX(Long Hand) {
    if (wType == NOt_init) return;
    namespace platform = tarko::platform;
    if (ExternCubeCount > 0) ExternCubes.Erase();   // the count stays: numbering goes on

    ddraw->setCooperativeLevel(Hand, dx::DDSCL_NORMAL);
    ddraw->restoreDisplayMode();

    platform::record("tarko_DX7", "release", "ZBuffer");
    ZBuffer.reset();
    platform::record("tarko_DX7", "release", "D3D_DEV");
    D3D_DEV.reset();
    platform::record("tarko_DX7", "release", "Prim");
    Prim.reset();
    platform::record("tarko_DX7", "release", "ddraw");
    ddraw.reset();

    release_sound_buffers();

    if (Dinput_isINIT) {
        Dinput_DEV->unacquire();
        MouseDevice->unacquire();
        platform::record("tarko_DX7", "release", "MouseDevice");
        MouseDevice.reset();
    }
}
