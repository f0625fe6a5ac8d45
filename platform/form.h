// A form as the window system sees it: controls with their places in pixels,
// texts, lists and states, and the user's actions on them. The form's logic
// lives above the platform; here it is drawn (Dear ImGui through our software
// device) and fed the user's input. No third-party header is seen here.
#pragma once

#include <string>
#include <vector>

#include "platform/frame.h"
#include "runtime/image.h"
#include "runtime/numeric.h"

namespace tarko::platform {

enum class ControlKind { Button, CheckBox, Frame, ComboBox, Picture };

struct FormControl {
    std::string name;                // "Command1", ...
    ControlKind kind = ControlKind::Button;
    std::string text;                // caption, or a combo's text when nothing is selected
    int left = 0, top = 0, width = 0, height = 0;  // pixels in the client area
    std::vector<std::string> items;  // combo entries
    int list_index = -1;             // the selected entry, -1 for none
    bool checked = false;
    bool enabled = true;
    const Image* picture = nullptr;  // stretched to the control
};

struct FormView {
    std::string caption;
    int width = 0, height = 0;          // client area in pixels
    std::vector<FormControl> controls;  // in tab order
};

enum class FormActionKind { Select, Tick, Click, Close };

struct FormAction {
    FormActionKind kind = FormActionKind::Click;
    std::string control;
    int index = -1;  // Select: the entry chosen
    friend bool operator==(const FormAction&, const FormAction&) = default;
};

// What a form offers its window: the view to draw, the actions to take, and
// whether it is still up. act() may throw; the window then closes and the
// error goes on to the caller of run_form_window.
class FormHost {
public:
    virtual ~FormHost() = default;
    virtual FormView view() const = 0;
    virtual void act(const FormAction& action) = 0;
    virtual bool is_shown() const = 0;
};

// The form drawn once, as its window would show it, with no input.
Frame render_form(const FormView& view);

// Runs the form modally in the SDL window `hwnd` until the host is no longer
// shown. `script` actions are taken one a frame after the first present (for
// unattended runs); when `snapshot_png` is not empty the first presented
// picture is written there. Closing the window or Escape acts Close.
void run_form_window(Long hwnd, FormHost& host, const std::vector<FormAction>& script = {},
                     const std::string& snapshot_png = {});

}  // namespace tarko::platform
