// The device dialog: layout, list filling and default selections, each
// event, OK's start-up with the chosen driver, device and mode, scripted runs,
// and the picture of the form with its controls where the layout puts them.
#include "support/engine_test_support.h"
#include "engine/device_dialog.h"
#include "platform/form.h"
#include "platform/profile.h"

using namespace tarko;
using tarko::test::EngineFixture;
namespace dlg = tarko::dialog;
using K = platform::FormActionKind;

namespace {

const char* const kFirstGuid = "{5A1E0001-0000-0000-0000-000000000001}";
const char* const kSecondGuid = "{5A1E0002-0000-0000-0000-000000000002}";

// Two drivers; three devices (software, hardware that cannot be made, a
// third); modes whose third entry is the 640 x 480 at 16 bits one.
platform::MachineProfile machine(std::vector<platform::DisplayMode> modes = {{320, 240, 16}, {640, 480, 32},
                                                                            {640, 480, 16}, {800, 600, 16}},
                                 int device_count = 3) {
    auto p = platform::default_profile();
    p.drivers = {{"Main Card", kFirstGuid}, {"Second Card", kSecondGuid}};
    p.display_modes = std::move(modes);
    auto third = p.devices[0];
    third.name = "Third Device";
    third.guid = "IID_IDirect3DTnLHalDevice";
    p.devices.push_back(third);  // RGB Emulation, Direct3D HAL, Third Device
    p.devices.resize(static_cast<std::size_t>(device_count));
    return p;
}

class Dialog : public EngineFixture {
protected:
    void SetUp() override {
        EngineFixture::SetUp();
        hand = open_window(300, 200);
    }
    void TearDown() override {
        dlg::device_dialogue().Unload();
        dlg::set_dialog_options({});
        EngineFixture::TearDown();
    }
    // Loads the form as INIT_ShowDialog does, without running it.
    dlg::DeviceDIALOGUE& load() {
        form_window = platform::create_headless_window(450, 269);
        auto& form = dlg::device_dialogue();
        form.INIT_enum(engine, hand, form_window);
        return form;
    }
    void show_scripted(const std::string& script) {
        dlg::set_dialog_options({dlg::DialogOptions::Mode::Scripted, dlg::parse_script(script), {}});
        engine.INIT_ShowDialog(hand);
    }
    // Index of the first entry at or after `from`; -1 when missing or when `from` is (a missing step before).
    int at(const std::string& prefix, int from = 0) const {
        return from < 0 ? -1 : platform::trace().find(prefix, from);
    }

    platform::ScopedProfile profile{machine()};
    Long hand = 0, form_window = 0;
};

}  // namespace

TEST(DialogLayout, TwipsBecomePixelsAtFifteenAndFramesCarryTheirControls) {
    struct Row { const char* name; dlg::PixelRect px; };
    const Row rows[] = {
        {"Command1", {24, 216, 105, 25}},   // 360/15, 3240/15, 1575/15, 375/15
        {"Check1", {24, 192, 257, 17}},     // 2880/15 = 192, 3855/15 = 257, 255/15 = 17
        {"Command2", {248, 224, 113, 25}},  // 3720/15, 3360/15, 1695/15
        {"Frame1", {192, 8, 249, 57}},      // 2880/15, 120/15, 3735/15, 855/15
        {"Combo1", {208, 32, 225, 21}},     // (2880 + 240)/15, (120 + 360)/15, 3375/15, 315/15
        {"Frame2", {192, 72, 249, 49}},     // 1080/15, 735/15
        {"Combo3", {208, 88, 225, 21}},     // (1080 + 240)/15
        {"Frame3", {192, 136, 249, 49}},    // 2040/15
        {"Combo2", {208, 152, 225, 21}},    // (2040 + 240)/15
        {"Image1", {8, 16, 177, 161}},      // 120/15, 240/15, 2655/15, 2415/15
    };
    for (const Row& r : rows) EXPECT_EQ(dlg::pixel_rect(r.name), r.px) << r.name;
    EXPECT_EQ(test::error_of([] { dlg::pixel_rect("Combo4"); }), 5);

    const platform::FormView view = dlg::DeviceDIALOGUE{}.view();
    EXPECT_EQ(view.caption, "Select DRIVERS");
    EXPECT_EQ(view.width, 450);   // 6750 / 15
    EXPECT_EQ(view.height, 269);  // 4035 / 15
    std::vector<std::string> order, texts;
    for (const auto& c : view.controls) order.push_back(c.name), texts.push_back(c.text);
    EXPECT_EQ(order, (std::vector<std::string>{"Command1", "Check1", "Command2", "Frame1", "Combo1", "Frame2",
                                               "Combo3", "Frame3", "Combo2", "Image1"}));  // tab order, then the picture
    EXPECT_EQ(texts, (std::vector<std::string>{"OK", "Use Windows Desktop displaymode", "Cancel",
                                               "Choose your GFX card", "DirectDraw Device Available",
                                               "Choose your displaymode", "DisplayModes Available",
                                               "Choose your D3D device", "D3d Device Available", ""}));
    const auto& picture = dlg::dialog_picture();
    EXPECT_EQ(picture.width, 475);
    EXPECT_EQ(picture.height, 228);
}

TEST_F(Dialog, FillsTheListsAndSelectsFirstDriverDeviceBeforeTheLastAnd640x480At16) {
    auto& form = load();
    EXPECT_EQ(form.Combo1.List, (std::vector<std::string>{"Main Card", "Second Card"}));
    EXPECT_EQ(form.Combo1.ListIndex, 0);
    EXPECT_EQ(form.DisplayGUID, kFirstGuid);  // the selection fired the click
    EXPECT_EQ(form.Combo2.List, (std::vector<std::string>{"RGB Emulation", "Direct3D HAL", "Third Device"}));
    EXPECT_EQ(form.Combo2.ListIndex, 1);  // count 3 - 2
    EXPECT_EQ(form.DeviceGUID, "IID_IDirect3DHALDevice");
    EXPECT_EQ(form.Combo3.List,
              (std::vector<std::string>{"320x240 16bpp", "640x480 32bpp", "640x480 16bpp", "800x600 16bpp"}));
    EXPECT_EQ(form.Combo3.ListIndex, 2);
    EXPECT_EQ(form.width, 640);
    EXPECT_EQ(form.height, 480);
    EXPECT_EQ(form.depth, 16);
    EXPECT_FALSE(form.isWindoWED);
    EXPECT_TRUE(form.Combo3.Enabled);
    EXPECT_TRUE(form.is_shown());
    // The listing objects are dropped before the form shows.
    EXPECT_FALSE(engine.ddraw);
    EXPECT_FALSE(engine.d3d);

    const auto w = std::to_string(form_window);
    int i = at("DeviceDIALOGUE.Load");
    const std::vector<std::string> steps = {"DirectX7.directDrawCreate \"\"", "DirectDraw7.getDirect3D",
                                            "Direct3D7.getDevicesEnum", "DirectX7.directDrawCreate \"\"",
                                            "DirectDraw7.setCooperativeLevel " + w + ", 8",
                                            "DirectDraw7.getDisplayModesEnum 0", "DeviceDIALOGUE.Show"};
    for (const std::string& step : steps) {
        const int next = at(step, i + 1);
        EXPECT_GT(next, i) << step;
        i = next;
    }
}

TEST_F(Dialog, TheModeWalkTakesTheFirstEntryThatContainsTheText) {
    // "1640x480 16bpp" contains "640x480 16bpp", so the walk stops there.
    platform::ScopedProfile wide(machine({{800, 600, 16}, {1640, 480, 16}, {640, 480, 16}}));
    auto& form = load();
    EXPECT_EQ(form.Combo3.ListIndex, 1);
    EXPECT_EQ(form.width, 1640);
}

TEST_F(Dialog, WithOneDeviceNothingIsSelectedAndTheDeviceStaysEmpty) {
    platform::ScopedProfile one(machine({{640, 480, 16}}, 1));
    auto& form = load();
    EXPECT_EQ(form.Combo2.List, std::vector<std::string>{"RGB Emulation"});
    EXPECT_EQ(form.Combo2.ListIndex, -1);  // count 1 - 2
    EXPECT_EQ(form.DeviceGUID, "");
    form.act({K::Select, "Combo2", 0});    // until the user clicks
    EXPECT_EQ(form.DeviceGUID, "IID_IDirect3DRGBDevice");
}

TEST_F(Dialog, WithoutA640x480At16ModeTheSelectionRaisesAndTheFormGoes) {
    platform::ScopedProfile no_mode(machine({{640, 480, 32}, {800, 600, 16}}));
    const auto windows_before = platform::windows().find(hand) != nullptr;
    EXPECT_EQ(error_of([&] { load(); }), 380);  // ListIndex 2 of a list of 2
    EXPECT_TRUE(windows_before);
    EXPECT_FALSE(dlg::device_dialogue().Loaded);
    EXPECT_EQ(platform::windows().find(form_window), nullptr);
    // Through the public operation: the same error, the engine not started.
    dlg::set_dialog_options({dlg::DialogOptions::Mode::Scripted, {}, {}});
    EXPECT_EQ(error_of([&] { engine.INIT_ShowDialog(hand); }), 380);
    EXPECT_EQ(engine.wType, NOt_init);
    EXPECT_FALSE(engine.D3D_DEV);
}

TEST_F(Dialog, EachEventChangesWhatItOwns) {
    auto& form = load();
    form.act({K::Select, "Combo1", 1});
    EXPECT_EQ(form.DisplayGUID, kSecondGuid);  // getGuid(ListIndex + 1)
    form.act({K::Select, "Combo2", 2});
    EXPECT_EQ(form.DeviceGUID, "IID_IDirect3DTnLHalDevice");
    form.act({K::Select, "Combo2", 0});
    EXPECT_EQ(form.DeviceGUID, "IID_IDirect3DRGBDevice");
    form.act({K::Select, "Combo3", 3});
    EXPECT_EQ(std::tuple(form.width, form.height, form.depth), std::tuple(Integer{800}, Integer{600}, Byte{16}));
    form.act({K::Select, "Combo3", 1});
    EXPECT_EQ(std::tuple(form.width, form.height, form.depth), std::tuple(Integer{640}, Integer{480}, Byte{32}));
    form.act({K::Select, "Combo3", 0});
    EXPECT_EQ(std::tuple(form.width, form.height, form.depth), std::tuple(Integer{320}, Integer{240}, Byte{16}));

    form.act({K::Tick, "Check1"});
    EXPECT_TRUE(form.isWindoWED);
    EXPECT_EQ(form.Check1, 1);
    EXPECT_FALSE(form.Combo3.Enabled);
    form.act({K::Select, "Combo3", 3});  // a disabled list takes no click
    EXPECT_EQ(form.width, 320);
    EXPECT_EQ(form.Combo3.ListIndex, 0);
    form.act({K::Tick, "Check1"});
    EXPECT_FALSE(form.isWindoWED);
    EXPECT_TRUE(form.Combo3.Enabled);

    EXPECT_EQ(error_of([&] { form.act({K::Select, "Combo1", 2}); }), 380);  // past the last entry
    EXPECT_EQ(error_of([&] { form.act({K::Click, "Check1"}); }), 5);         // not a button
    EXPECT_EQ(error_of([&] { form.act({K::Select, "Command1", 0}); }), 5);   // not a list

    form.act({K::Click, "Command2"});  // Cancel: the reference goes, the form stays
    EXPECT_EQ(form.TKX, nullptr);
    EXPECT_TRUE(form.is_shown());
    EXPECT_EQ(engine.wType, NOt_init);
    EXPECT_EQ(error_of([&] { form.act({K::Click, "Command1"}); }), 91);  // OK with no engine
}

TEST_F(Dialog, OkHidesThenStartsFullScreenOnTheChoiceThenUnloads) {
    show_scripted("select Combo1 1; select Combo3 3; select Combo2 0; click Command1");
    const auto h = std::to_string(hand);
    const int hide = at("DeviceDIALOGUE.Hide");
    const int create = at("DirectX7.directDrawCreate \"" + std::string(kSecondGuid) + "\"", hide);
    const int coop = at("DirectDraw7.setCooperativeLevel " + h + ", 19", create);
    const int mode = at("DirectDraw7.setDisplayMode 800, 600, 16, 0, 0", coop);
    const int device = at("Direct3D7.createDevice \"IID_IDirect3DRGBDevice\"", mode);
    const int unload = at("DeviceDIALOGUE.Unload", device);
    EXPECT_GE(hide, 0);
    EXPECT_GT(create, hide);
    EXPECT_GT(coop, create);
    EXPECT_GT(mode, coop);
    EXPECT_GT(device, mode);
    EXPECT_GT(unload, device);
    EXPECT_EQ(at("Direct3D7.getEnumZBufferFormats \"IID_IDirect3DRGBDevice\"", mode) > 0, true);
    EXPECT_EQ(engine.wType, FullScreeen);
    ASSERT_TRUE(engine.D3D_DEV);
    EXPECT_EQ(engine.lWidth, 800);
    EXPECT_EQ(engine.MEMORY, 2048);  // the software device's GUID
    EXPECT_FALSE(dlg::device_dialogue().Loaded);
}

TEST_F(Dialog, WithTheTickBoxTheWindowGivesTheSizeNotTheModeList) {
    show_scripted("tick Check1; click Command1");  // default device: the HAL one, which falls back
    EXPECT_EQ(at("DirectDraw7.setDisplayMode"), -1);
    EXPECT_GT(at("DirectDraw7.setCooperativeLevel " + std::to_string(hand) + ", 8", at("DeviceDIALOGUE.Hide")), 0);
    EXPECT_GT(at("Direct3D7.createDevice \"IID_IDirect3DHALDevice\""), 0);
    EXPECT_EQ(engine.wType, Windowed);
    ASSERT_TRUE(engine.D3D_DEV);
    EXPECT_EQ(engine.lWidth, 300);  // the host window, not 640 x 480
    EXPECT_EQ(engine.lheight, 200);
    EXPECT_EQ(engine.MEMORY, 16384);  // not the RGB GUID
}

TEST_F(Dialog, TheFormIsHiddenWhileTheEngineStarts) {
    // An 8-bit host window makes the windowed start-up show its message: the form is gone by then.
    window->set_display_depth(8);
    std::vector<bool> shown;
    const auto previous = runtime::set_message_box_handler(
        [&](const MessageBoxRequest&) { shown.push_back(dlg::device_dialogue().is_shown()); });
    show_scripted("tick Check1; click Command1");
    runtime::set_message_box_handler(previous);
    EXPECT_EQ(shown, std::vector<bool>{false});
    EXPECT_FALSE(engine.D3D_DEV);
}

TEST_F(Dialog, ScriptedRunsCloseCancelAndDefaultToOk) {
    show_scripted("click Command2");  // the script ends with the form up: it is closed
    EXPECT_FALSE(dlg::device_dialogue().Loaded);
    EXPECT_EQ(engine.wType, NOt_init);
    show_scripted("close");
    EXPECT_EQ(engine.wType, NOt_init);
    EXPECT_EQ(at("DeviceDIALOGUE.Hide"), -1);
    show_scripted("");  // no script: the defaults, OK
    EXPECT_EQ(engine.wType, FullScreeen);
    EXPECT_GT(at("DirectX7.directDrawCreate \"" + std::string(kFirstGuid) + "\"", at("DeviceDIALOGUE.Hide")), 0);
    EXPECT_GT(at("DirectDraw7.setDisplayMode 640, 480, 16, 0, 0"), 0);
}

TEST_F(Dialog, OkAfterCancelRaisesFromTheOperation) {
    dlg::set_dialog_options({dlg::DialogOptions::Mode::Scripted, dlg::parse_script("click Command2; click Command1"), {}});
    EXPECT_EQ(error_of([&] { engine.INIT_ShowDialog(hand); }), 91);
    EXPECT_FALSE(dlg::device_dialogue().Loaded);
}

TEST(DialogScript, ReadsActionsAndRefusesWhatItCannotRead) {
    const auto actions = dlg::parse_script(" select Combo3 2 ;tick Check1;; click Command1; close");
    const std::vector<platform::FormAction> expected = {
        {K::Select, "Combo3", 2}, {K::Tick, "Check1", -1}, {K::Click, "Command1", -1}, {K::Close, "", -1}};
    EXPECT_EQ(actions, expected);
    for (const char* bad : {"push Command1", "select Combo3", "select Combo3 x", "select Combo3 -1", "click",
                            "click Command1 twice"})
        EXPECT_EQ(test::error_of([&] { dlg::parse_script(bad); }), 5) << bad;
}

// ---- the picture of the form, drawn headless by the same ImGui road

namespace {
struct Rgb { int r, g, b; };
Rgb rgb_at(const platform::Frame& f, int x, int y) {
    const std::uint32_t p = f.at(x, y);
    return {static_cast<int>((p >> 16) & 255), static_cast<int>((p >> 8) & 255), static_cast<int>(p & 255)};
}
::testing::AssertionResult near(const platform::Frame& f, int x, int y, Rgb want, int tolerance = 2) {
    const Rgb got = rgb_at(f, x, y);
    if (std::abs(got.r - want.r) <= tolerance && std::abs(got.g - want.g) <= tolerance &&
        std::abs(got.b - want.b) <= tolerance)
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "(" << x << ", " << y << ") is " << got.r << "," << got.g << ","
                                         << got.b << ", not " << want.r << "," << want.g << "," << want.b;
}
constexpr Rgb kWindow{212, 208, 200}, kButton{228, 226, 220}, kList{255, 255, 255}, kLine{128, 128, 128};
}  // namespace

TEST_F(Dialog, ThePictureShowsEachControlWhereTheLayoutPutsIt) {
    auto& form = load();
    const platform::Frame f = platform::render_form(form.view());
    if (const char* out = std::getenv("TARKO_DIALOG_PNG")) platform::write_png(f, out);  // to look at it
    ASSERT_EQ(f.width, 450);
    ASSERT_EQ(f.height, 269);
    // Buttons: their face inside, the window's grey just outside to the left and above.
    for (const char* name : {"Command1", "Command2"}) {
        const auto r = dlg::pixel_rect(name);
        EXPECT_TRUE(near(f, r.left + 3, r.top + 3, kButton)) << name;
        EXPECT_TRUE(near(f, r.left + r.width - 4, r.top + r.height - 4, kButton)) << name;
        EXPECT_TRUE(near(f, r.left - 2, r.top + 3, kWindow)) << name;
        EXPECT_TRUE(near(f, r.left + 3, r.top - 2, kWindow)) << name;
        EXPECT_TRUE(near(f, r.left + r.width + 1, r.top + 3, kWindow)) << name;
    }
    // Lists: white inside their border, grey around.
    for (const char* name : {"Combo1", "Combo2", "Combo3"}) {
        const auto r = dlg::pixel_rect(name);
        EXPECT_TRUE(near(f, r.left + 2, r.top + 2, kList)) << name;
        EXPECT_TRUE(near(f, r.left + 2, r.top + r.height - 3, kList)) << name;
        EXPECT_TRUE(near(f, r.left + r.width - 3, r.top + 2, kButton)) << name;  // the arrow's button, at the right end
        EXPECT_TRUE(near(f, r.left + r.width + 1, r.top + 2, kWindow)) << name;
        EXPECT_TRUE(near(f, r.left, r.top + 10, kLine)) << name;  // the border
        EXPECT_TRUE(near(f, r.left - 2, r.top + 10, kWindow)) << name;
        EXPECT_TRUE(near(f, r.left + 2, r.top + r.height + 1, kWindow)) << name;
    }
    // Frames: a grey line down the left, along the bottom and down the right.
    for (const char* name : {"Frame1", "Frame2", "Frame3"}) {
        const auto r = dlg::pixel_rect(name);
        EXPECT_TRUE(near(f, r.left, r.top + r.height - 10, kLine)) << name;
        EXPECT_TRUE(near(f, r.left + 4, r.top + r.height - 1, kLine)) << name;
        EXPECT_TRUE(near(f, r.left - 2, r.top + r.height - 10, kWindow)) << name;
        EXPECT_TRUE(near(f, r.left + 4, r.top + r.height, kWindow)) << name;
        EXPECT_TRUE(near(f, r.left + r.width - 1, r.top + r.height - 10, kLine)) << name;
        EXPECT_TRUE(near(f, r.left + r.width, r.top + r.height - 10, kWindow)) << name;
    }
    // The tick box: a white square at the control's left, unticked.
    const auto check = dlg::pixel_rect("Check1");
    EXPECT_TRUE(near(f, check.left + 3, check.top + 3, kList));
    EXPECT_TRUE(near(f, check.left + 8, check.top + 8, kList));
    EXPECT_TRUE(near(f, check.left - 2, check.top + 8, kWindow));
    // Image1: the picture stretched over it. Its top left is evening sky
    // (blue over red), its bottom the plain (green over red); around it grey.
    const auto image = dlg::pixel_rect("Image1");
    const Rgb sky = rgb_at(f, image.left + 2, image.top + 2);
    EXPECT_GT(sky.b, sky.r);
    const Rgb plain = rgb_at(f, image.left + 20, image.top + image.height - 3);
    EXPECT_GT(plain.g, plain.r);
    EXPECT_TRUE(near(f, image.left - 2, image.top + 50, kWindow));
    EXPECT_TRUE(near(f, image.left + image.width + 1, image.top + 50, kWindow));
    EXPECT_TRUE(near(f, image.left + 50, image.top + image.height + 1, kWindow));

    // Ticking the box marks it and greys out the mode list (half its white on the window's grey).
    form.act({K::Tick, "Check1"});
    const platform::Frame ticked = platform::render_form(form.view());
    const auto dark_in_box = [&](const platform::Frame& frame) {
        int dark = 0;
        for (int y = check.top + 2; y < check.top + check.height - 2; ++y)
            for (int x = check.left + 2; x < check.left + check.height - 2; ++x) dark += rgb_at(frame, x, y).r < 100;
        return dark;
    };
    EXPECT_EQ(dark_in_box(f), 0);
    EXPECT_GT(dark_in_box(ticked), 10);  // the mark, black
    const auto modes = dlg::pixel_rect("Combo3");
    EXPECT_TRUE(near(ticked, modes.left + 2, modes.top + 2, {234, 232, 228}, 3));  // (255 + 212) / 2, ...
    EXPECT_TRUE(near(ticked, dlg::pixel_rect("Combo1").left + 2, dlg::pixel_rect("Combo1").top + 2, kList));
}

TEST_F(Dialog, InAWindowTheScriptRunsAfterTheFirstPictureAndOkStarts) {
    if (!platform::display_available()) GTEST_SKIP() << "no display (scripts/test.sh runs the window under Xvfb)";
    const auto png = test::scratch_dir("dialog_window") / "dialog.png";
    dlg::set_dialog_options({dlg::DialogOptions::Mode::Window, dlg::parse_script("select Combo3 3; click Command1"),
                             png.string()});
    engine.INIT_ShowDialog(hand);
    EXPECT_GT(std::filesystem::file_size(png), 0u);
    EXPECT_EQ(engine.wType, FullScreeen);
    EXPECT_EQ(engine.lWidth, 800);  // the fourth mode
    EXPECT_FALSE(dlg::device_dialogue().Loaded);
}
