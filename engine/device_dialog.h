// DeviceDIALOGUE: the "Select DRIVERS" form with which an end user picks the
// display driver, the 3D device and the display mode, then starts the engine
// through Initialize_EngineEX. The form's logic (lists, events, layout) lives
// here, free of any widget library: a window draws it from view() and hands
// the user's actions to act(); tests and hosts without a display drive it
// with a script of the same actions.
//
// Decisions where the behaviour was left open:
// - Command2 (Cancel) drops the engine reference and leaves the form up; the
//   window's close box and Escape (a Close action) unload the form without
//   starting anything. OK after Cancel raises 91.
// - Setting a list's ListIndex fires its click event, from code as from the
//   user, except -1, which selects nothing and fires nothing. An index past
//   the last entry raises 380 (invalid property value).
// - A disabled control takes no action.
// - An error in an event (OK's start-up included) unloads the form and goes
//   to the caller of INIT_ShowDialog.
// - Image1 shows a picture drawn here (dialog_picture), 475 by 228 pixels.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "platform/d3d/direct3d.h"
#include "platform/ddraw.h"
#include "platform/dx_root.h"
#include "platform/form.h"
#include "platform/object_ref.h"
#include "platform/records.h"
#include "runtime/image.h"
#include "runtime/numeric.h"

class tarko_DX7;

namespace tarko::dialog {

// One control of the form, as laid out in twips (15 to a pixel); inside a
// frame the place is relative to the frame.
struct ControlLayout {
    const char* name;
    const char* parent;  // "" for the form
    const char* text;
    int left, top, width, height;
    int tab_index;
    platform::ControlKind kind;
};

inline constexpr int kTwipsPerPixel = 15;
inline constexpr int kClientWidthTwips = 6750, kClientHeightTwips = 4035;  // 450 x 269 pixels
inline constexpr const char* kCaption = "Select DRIVERS";

// The controls in tab order, then Image1 (which takes no focus).
inline constexpr std::array<ControlLayout, 10> kControls = {{
    {"Command1", "", "OK", 360, 3240, 1575, 375, 0, platform::ControlKind::Button},
    {"Check1", "", "Use Windows Desktop displaymode", 360, 2880, 3855, 255, 1, platform::ControlKind::CheckBox},
    {"Command2", "", "Cancel", 3720, 3360, 1695, 375, 2, platform::ControlKind::Button},
    {"Frame1", "", "Choose your GFX card", 2880, 120, 3735, 855, 3, platform::ControlKind::Frame},
    {"Combo1", "Frame1", "DirectDraw Device Available", 240, 360, 3375, 315, 4, platform::ControlKind::ComboBox},
    {"Frame2", "", "Choose your displaymode", 2880, 1080, 3735, 735, 5, platform::ControlKind::Frame},
    {"Combo3", "Frame2", "DisplayModes Available", 240, 240, 3375, 315, 6, platform::ControlKind::ComboBox},
    {"Frame3", "", "Choose your D3D device", 2880, 2040, 3735, 735, 7, platform::ControlKind::Frame},
    {"Combo2", "Frame3", "D3d Device Available", 240, 240, 3375, 315, 8, platform::ControlKind::ComboBox},
    {"Image1", "", "", 120, 240, 2655, 2415, -1, platform::ControlKind::Picture},
}};

struct PixelRect {
    int left, top, width, height;
    friend bool operator==(const PixelRect&, const PixelRect&) = default;
};
// A control's rectangle in client pixels (a frame's place added); an unknown
// name raises 5.
PixelRect pixel_rect(const std::string& name);

// The picture of Image1: 475 by 228 pixels, drawn by code.
const Image& dialog_picture();

// A combo box: entries, selection, enabled state.
struct ComboBox {
    std::vector<std::string> List;
    int ListIndex = -1;
    bool Enabled = true;
    int ListCount() const { return static_cast<int>(List.size()); }
};

struct ModeSize {
    Integer width = 0, height = 0;
    Byte depth = 0;
};

class DeviceDIALOGUE final : public platform::FormHost {
public:
    // Loads the form on the window `form_window` (its setCooperativeLevel
    // target), fills the lists, selects the defaults and shows it; the caller
    // then runs it until it is gone. A failure unloads the form and raises.
    void INIT_enum(tarko_DX7& TKX, Long Hand, Long form_window);

    // Events.
    void Combo1_Click();
    void Combo2_Click();
    void Combo3_Click();
    void Check1_Click();     // after Check1 has changed
    void Command1_Click();   // OK
    void Command2_Click();   // Cancel
    // Sets ListIndex; the list's click event follows (none for -1).
    void set_list_index(ComboBox& box, int index);
    void Unload();

    // platform::FormHost
    platform::FormView view() const override;
    void act(const platform::FormAction& action) override;
    bool is_shown() const override { return Visible; }

    // Controls and fields, as the form holds them.
    ComboBox Combo1, Combo2, Combo3;
    int Check1 = 0;  // 0 unticked, 1 ticked
    bool Loaded = false, Visible = false;
    tarko_DX7* TKX = nullptr;
    Long Hand = 0;
    Long FormWindow = 0;
    std::string DisplayGUID, DeviceGUID;
    bool isWindoWED = false;
    Integer width = 0, height = 0;
    Byte depth = 0;
    tarko::Ref<DirectDrawEnum> DisplayEnum;
    tarko::Ref<Direct3DEnumDevices> DeviceEnum;
    tarko::Ref<DirectDrawEnumModes> ModeEnum;
    std::vector<DDSURFACEDESC2> ModeRecords;
    std::vector<ModeSize> Modes;

private:
    ComboBox* combo(const std::string& name);
};

// The one form, made on first use.
DeviceDIALOGUE& device_dialogue();

// How INIT_ShowDialog runs the form.
struct DialogOptions {
    enum class Mode {
        Auto,      // a window where a display exists, else scripted
        Window,    // an SDL window drawn with ImGui; raises without a display
        Scripted,  // no window: the script's actions, in order
    };
    Mode mode = Mode::Auto;
    // Actions taken in order (in a window: one a frame, after the first
    // picture). When a scripted run ends with the form still up, it is
    // closed. A scripted run with no script at all clicks OK (the defaults).
    std::vector<platform::FormAction> script;
    // Where to write a PNG of the form as first shown ("" for none).
    std::string snapshot_png;
};
void set_dialog_options(DialogOptions options);
const DialogOptions& dialog_options();

// "select Combo3 2; tick Check1; click Command1; close": actions separated by
// ';', words by blanks. Anything else raises 5 naming what is wrong.
std::vector<platform::FormAction> parse_script(const std::string& text);

// Runs the shown form to its end as the options say (INIT_ShowDialog's loop).
void run_modal(DeviceDIALOGUE& form, const DialogOptions& options);

}  // namespace tarko::dialog
