// INIT_ShowDialog: the device dialog on its own window, modal, ending in
// Initialize_EngineEX when the user presses OK.
#include "engine/device_dialog.h"
#include "engine/tarko_dx7.h"
#include "platform/window.h"
#include "runtime/errors.h"

namespace dlg = tarko::dialog;

tarko::Variant tarko_DX7::INIT_ShowDialog(tarko::Long Hand) {
    ensure_root();
    const dlg::DialogOptions& options = dlg::dialog_options();
    const bool windowed = options.mode == dlg::DialogOptions::Mode::Window ||
                          (options.mode == dlg::DialogOptions::Mode::Auto && tarko::platform::display_available());
    const int width = dlg::kClientWidthTwips / dlg::kTwipsPerPixel;
    const int height = dlg::kClientHeightTwips / dlg::kTwipsPerPixel;
    // The form's own window: setCooperativeLevel is asked for it while the modes are listed.
    const tarko::Long form_window = windowed ? tarko::platform::create_sdl_window(dlg::kCaption, width, height)
                                             : tarko::platform::create_headless_window(width, height);
    if (!windowed) tarko::platform::windows().get(form_window)->set_title(dlg::kCaption);
    dlg::DeviceDIALOGUE& form = dlg::device_dialogue();
    form.INIT_enum(*this, Hand, form_window);  // unloads the form (and its window) when it fails
    dlg::run_modal(form, options);
    return {};
}
