// The device dialog's logic: filling, default selections, events, layout in
// pixels and the scripted and windowed runs.
#include "engine/device_dialog.h"

#include <sstream>

#include "engine/tarko_dx7.h"
#include "platform/constants.h"
#include "platform/trace.h"
#include "platform/window.h"
#include "runtime/errors.h"

namespace tarko::dialog {
namespace {

const ControlLayout* find_layout(const std::string& name) {
    for (const ControlLayout& c : kControls)
        if (name == c.name) return &c;
    return nullptr;
}

DialogOptions& options_store() {
    static DialogOptions options;
    return options;
}

}  // namespace

PixelRect pixel_rect(const std::string& name) {
    const ControlLayout* c = find_layout(name);
    if (!c) raise_error(err::InvalidCall, "no control named " + name);
    int left = c->left, top = c->top;
    if (*c->parent) {
        const ControlLayout* frame = find_layout(c->parent);
        left += frame->left;
        top += frame->top;
    }
    return {left / kTwipsPerPixel, top / kTwipsPerPixel, c->width / kTwipsPerPixel, c->height / kTwipsPerPixel};
}

DeviceDIALOGUE& device_dialogue() {
    static DeviceDIALOGUE form;
    return form;
}

void set_dialog_options(DialogOptions options) { options_store() = std::move(options); }
const DialogOptions& dialog_options() { return options_store(); }

void DeviceDIALOGUE::INIT_enum(tarko_DX7& engine, Long hand, Long form_window) {
    Unload();                  // a form still up from an earlier load goes first, with its window
    *this = DeviceDIALOGUE{};  // a fresh form on every load
    Loaded = true;
    FormWindow = form_window;
    platform::record("DeviceDIALOGUE", "Load");
    try {
        TKX = &engine;
        Hand = hand;
        if (!TKX->DX_7) TKX->DX_7 = tarko::Ref<DirectX7>(std::make_shared<DirectX7>());  // made on first use

        DisplayEnum = TKX->DX_7->getDDEnum();
        for (Long i = 1; i <= DisplayEnum->getCount(); ++i) Combo1.List.push_back(DisplayEnum->getDescription(i));
        set_list_index(Combo1, 0);

        TKX->ddraw = TKX->DX_7->directDrawCreate("");
        TKX->d3d = TKX->ddraw->getDirect3D();
        DeviceEnum = TKX->d3d->getDevicesEnum();
        for (Long i = 1; i <= DeviceEnum->getCount(); ++i) Combo2.List.push_back(DeviceEnum->getName(i));
        // The entry before the last; with one device that is -1: nothing.
        set_list_index(Combo2, Combo2.ListCount() - 2);

        TKX->ddraw = TKX->DX_7->directDrawCreate("");
        TKX->ddraw->setCooperativeLevel(FormWindow, dx::DDSCL_NORMAL);
        DDSURFACEDESC2 all;
        ModeEnum = TKX->ddraw->getDisplayModesEnum(0, all);
        const Long count = ModeEnum->getCount();
        ModeRecords.resize(static_cast<std::size_t>(count));
        Modes.resize(static_cast<std::size_t>(count));
        for (Long i = 1; i <= count; ++i) {
            DDSURFACEDESC2& record = ModeRecords[static_cast<std::size_t>(i - 1)];
            ModeEnum->getItem(i, record);
            ModeSize& m = Modes[static_cast<std::size_t>(i - 1)];
            m.width = runtime::CInt(record.lWidth);
            m.height = runtime::CInt(record.lHeight);
            m.depth = runtime::CByte(record.ddpfPixelFormat.lRGBBitCount);
            Combo3.List.push_back(std::to_string(record.lWidth) + "x" + std::to_string(record.lHeight) + " " +
                                  std::to_string(record.ddpfPixelFormat.lRGBBitCount) + "bpp");
        }
        // The walk stops at the first entry holding the text, or one past the
        // last, which cannot be selected.
        int index = 0;
        while (index < Combo3.ListCount() && Combo3.List[static_cast<std::size_t>(index)].find("640x480 16bpp") ==
                                                 std::string::npos)
            ++index;
        set_list_index(Combo3, index);

        TKX->d3d.reset();
        TKX->ddraw.reset();
        Visible = true;
        platform::record("DeviceDIALOGUE", "Show");
    } catch (...) {
        Unload();
        throw;
    }
}

void DeviceDIALOGUE::set_list_index(ComboBox& box, int index) {
    if (index < -1 || index >= box.ListCount())
        raise_error(err::InvalidPropertyValue, "ListIndex " + std::to_string(index) + " of a list of " +
                                                   std::to_string(box.ListCount()));
    box.ListIndex = index;
    if (index == -1) return;
    if (&box == &Combo1) Combo1_Click();
    else if (&box == &Combo2) Combo2_Click();
    else if (&box == &Combo3) Combo3_Click();
}

void DeviceDIALOGUE::Combo1_Click() { DisplayGUID = DisplayEnum->getGuid(Combo1.ListIndex + 1); }

void DeviceDIALOGUE::Combo2_Click() { DeviceGUID = DeviceEnum->getGuid(Combo2.ListIndex + 1); }

void DeviceDIALOGUE::Combo3_Click() {
    if (Combo3.ListIndex < 0 || Combo3.ListIndex >= static_cast<int>(Modes.size()))
        raise_error(err::SubscriptOutOfRange, "display mode " + std::to_string(Combo3.ListIndex + 1));
    const ModeSize& m = Modes[static_cast<std::size_t>(Combo3.ListIndex)];
    depth = m.depth;
    width = m.width;
    height = m.height;
}

void DeviceDIALOGUE::Check1_Click() {
    isWindoWED = !isWindoWED;
    Combo3.Enabled = !isWindoWED;
}

void DeviceDIALOGUE::Command1_Click() {
    Visible = false;
    if (auto window = platform::windows().find(FormWindow)) window->set_visible(false);
    platform::record("DeviceDIALOGUE", "Hide");
    if (!TKX) raise_error(err::ObjectNotSet, "the form's engine reference was dropped");
    TKX->Initialize_EngineEX(Hand, DisplayGUID, DeviceGUID, isWindoWED, width, height, depth);
    Unload();
}

void DeviceDIALOGUE::Command2_Click() { TKX = nullptr; }

void DeviceDIALOGUE::Unload() {
    if (!Loaded) return;
    if (FormWindow) platform::windows().remove(FormWindow);
    platform::record("DeviceDIALOGUE", "Unload");
    *this = DeviceDIALOGUE{};
}

ComboBox* DeviceDIALOGUE::combo(const std::string& name) {
    if (name == "Combo1") return &Combo1;
    if (name == "Combo2") return &Combo2;
    if (name == "Combo3") return &Combo3;
    return nullptr;
}

void DeviceDIALOGUE::act(const platform::FormAction& action) {
    using K = platform::FormActionKind;
    if (!Visible) return;
    if (action.kind == K::Close) {
        Unload();
        return;
    }
    if (action.kind == K::Select) {
        ComboBox* box = combo(action.control);
        if (!box) raise_error(err::InvalidCall, action.control + " is not a list");
        if (box->Enabled) set_list_index(*box, action.index);
        return;
    }
    if (action.kind == K::Tick) {
        if (action.control != "Check1") raise_error(err::InvalidCall, action.control + " is not a tick box");
        Check1 = 1 - Check1;
        Check1_Click();
        return;
    }
    if (action.control == "Command1") Command1_Click();
    else if (action.control == "Command2") Command2_Click();
    else raise_error(err::InvalidCall, action.control + " is not a button");
}

platform::FormView DeviceDIALOGUE::view() const {
    platform::FormView v;
    v.caption = kCaption;
    v.width = kClientWidthTwips / kTwipsPerPixel;
    v.height = kClientHeightTwips / kTwipsPerPixel;
    for (const ControlLayout& entry : kControls) {
        platform::FormControl c;
        c.name = entry.name;
        c.kind = entry.kind;
        c.text = entry.text;
        const PixelRect r = pixel_rect(entry.name);
        c.left = r.left;
        c.top = r.top;
        c.width = r.width;
        c.height = r.height;
        const ComboBox* box = c.name == "Combo1" ? &Combo1 : c.name == "Combo2" ? &Combo2
                              : c.name == "Combo3" ? &Combo3 : nullptr;
        if (box) {
            c.items = box->List;
            c.list_index = box->ListIndex;
            c.enabled = box->Enabled;
        }
        c.checked = c.name == "Check1" && Check1 != 0;
        if (entry.kind == platform::ControlKind::Picture) c.picture = &dialog_picture();
        v.controls.push_back(std::move(c));
    }
    return v;
}

std::vector<platform::FormAction> parse_script(const std::string& text) {
    using K = platform::FormActionKind;
    std::vector<platform::FormAction> actions;
    std::stringstream steps(text);
    std::string step;
    while (std::getline(steps, step, ';')) {
        std::istringstream words(step);
        std::string verb, control, extra;
        if (!(words >> verb)) continue;  // an empty step
        platform::FormAction a;
        if (verb == "close") {
            a.kind = K::Close;
        } else {
            if (!(words >> control)) raise_error(err::InvalidCall, "dialog script: '" + verb + "' needs a control");
            a.control = control;
            if (verb == "click") a.kind = K::Click;
            else if (verb == "tick") a.kind = K::Tick;
            else if (verb == "select") {
                a.kind = K::Select;
                long index = -1;
                if (!(words >> index) || index < 0 || index > 32767)
                    raise_error(err::InvalidCall, "dialog script: 'select " + control + "' needs an entry number");
                a.index = static_cast<int>(index);
            } else {
                raise_error(err::InvalidCall, "dialog script: unknown action '" + verb + "'");
            }
        }
        if (words >> extra) raise_error(err::InvalidCall, "dialog script: unexpected '" + extra + "'");
        actions.push_back(std::move(a));
    }
    return actions;
}

void run_modal(DeviceDIALOGUE& form, const DialogOptions& options) {
    try {
        const bool window = platform::windows().find(form.FormWindow) &&
                            platform::windows().get(form.FormWindow)->has_display();
        if (window) {
            platform::run_form_window(form.FormWindow, form, options.script, options.snapshot_png);
            return;
        }
        if (!options.snapshot_png.empty() && !platform::write_png(platform::render_form(form.view()),
                                                                   options.snapshot_png))
            raise_error(err::PathNotFound, "cannot write " + options.snapshot_png);
        std::vector<platform::FormAction> script = options.script;
        if (script.empty()) script.push_back({platform::FormActionKind::Click, "Command1"});
        for (const auto& action : script) {
            if (!form.is_shown()) break;
            form.act(action);
        }
        form.Unload();  // the script ended with the form still up: closed
    } catch (...) {
        form.Unload();
        throw;
    }
}

}  // namespace tarko::dialog
