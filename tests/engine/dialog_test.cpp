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
    // Each step found after the one before it; their indices.
    std::vector<int> in_order(const std::vector<std::string>& steps) const {
        std::vector<int> found;
        for (int i = -1; const std::string& step : steps) {
            const int next = at(step, i + 1);
            EXPECT_GT(next, i) << step;
            found.push_back(i = next);
        }
        return found;
    }

    platform::ScopedProfile profile{machine()};
    Long hand = 0, form_window = 0;
};

}  // namespace

TEST(DialogLayout, TwipsBecomePixelsAtFifteenAndFramesCarryTheirControls) {
    // In the view's order: the tab order, then the picture.
    struct Row { std::string name; dlg::PixelRect px; std::string text; };
    const Row rows[] = {
        {"Command1", {24, 216, 105, 25}, "OK"},  // 360/15, 3240/15, 1575/15, 375/15
        {"Check1", {24, 192, 257, 17}, "Use Windows Desktop displaymode"},  // 2880/15 = 192, 3855/15 = 257, 255/15 = 17
        {"Command2", {248, 224, 113, 25}, "Cancel"},                  // 3720/15, 3360/15, 1695/15
        {"Frame1", {192, 8, 249, 57}, "Choose your GFX card"},         // 2880/15, 120/15, 3735/15, 855/15
        {"Combo1", {208, 32, 225, 21}, "DirectDraw Device Available"},  // (2880 + 240)/15, (120 + 360)/15, 3375/15, 315/15
        {"Frame2", {192, 72, 249, 49}, "Choose your displaymode"},     // 1080/15, 735/15
        {"Combo3", {208, 88, 225, 21}, "DisplayModes Available"},      // (1080 + 240)/15
        {"Frame3", {192, 136, 249, 49}, "Choose your D3D device"},     // 2040/15
        {"Combo2", {208, 152, 225, 21}, "D3d Device Available"},       // (2040 + 240)/15
        {"Image1", {8, 16, 177, 161}, ""},                             // 120/15, 240/15, 2655/15, 2415/15
    };
    const platform::FormView view = dlg::DeviceDIALOGUE{}.view();
    ASSERT_EQ(view.controls.size(), std::size(rows));
    for (std::size_t i = 0; i < std::size(rows); ++i) {
        EXPECT_EQ(dlg::pixel_rect(rows[i].name), rows[i].px) << rows[i].name;
        EXPECT_EQ(view.controls[i].name, rows[i].name) << i;
        EXPECT_EQ(view.controls[i].text, rows[i].text) << rows[i].name;
    }
    EXPECT_EQ(test::error_of([] { dlg::pixel_rect("Combo4"); }), 5);
    EXPECT_EQ(view.caption, "Select DRIVERS");
    EXPECT_EQ(std::pair(view.width, view.height), std::pair(450, 269));  // 6750 / 15, 4035 / 15
    EXPECT_EQ(std::pair(dlg::dialog_picture().width, dlg::dialog_picture().height), std::pair(475, 228));
}

TEST_F(Dialog, FillsTheListsAndSelectsFirstDriverDeviceBeforeTheLastAnd640x480At16) {
    auto& form = load();
    EXPECT_EQ(form.Combo1.List, (std::vector<std::string>{"Main Card", "Second Card"}));
    EXPECT_EQ(form.DisplayGUID, kFirstGuid);  // selecting entry 0 fired the click
    EXPECT_EQ(form.Combo2.List, (std::vector<std::string>{"RGB Emulation", "Direct3D HAL", "Third Device"}));
    EXPECT_EQ(form.DeviceGUID, "IID_IDirect3DHALDevice");  // entry count 3 - 2
    EXPECT_EQ(form.Combo3.List,
              (std::vector<std::string>{"320x240 16bpp", "640x480 32bpp", "640x480 16bpp", "800x600 16bpp"}));
    EXPECT_EQ(std::tuple(form.width, form.height, form.depth), std::tuple(Integer{640}, Integer{480}, Byte{16}));
    EXPECT_FALSE(engine.ddraw || engine.d3d);  // the listing objects are dropped before the form shows

    in_order({"DeviceDIALOGUE.Load", "DirectX7.directDrawCreate \"\"", "DirectDraw7.getDirect3D",
              "Direct3D7.getDevicesEnum", "DirectX7.directDrawCreate \"\"",
              "DirectDraw7.setCooperativeLevel " + std::to_string(form_window) + ", 8",
              "DirectDraw7.getDisplayModesEnum 0", "DeviceDIALOGUE.Show"});
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
    EXPECT_NE(platform::windows().find(hand), nullptr);
    EXPECT_EQ(error_of([&] { load(); }), 380);  // ListIndex 2 of a list of 2
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
    // Combo1 1 takes getGuid(ListIndex + 1).
    for (auto [list, index, guid, want] : {std::tuple{"Combo1", 1, &form.DisplayGUID, kSecondGuid},
                                           {"Combo2", 2, &form.DeviceGUID, "IID_IDirect3DTnLHalDevice"}}) {
        form.act({K::Select, list, index});
        EXPECT_EQ(*guid, want) << list << " " << index;
    }
    form.act({K::Select, "Combo3", 1});
    EXPECT_EQ(std::tuple(form.width, form.height, form.depth), std::tuple(Integer{640}, Integer{480}, Byte{32}));

    form.act({K::Tick, "Check1"});
    EXPECT_TRUE(form.isWindoWED);
    EXPECT_EQ(form.Check1, 1);
    EXPECT_FALSE(form.Combo3.Enabled);
    form.act({K::Select, "Combo3", 3});  // a disabled list takes no click
    EXPECT_EQ(form.Combo3.ListIndex, 1);
    form.act({K::Tick, "Check1"});
    EXPECT_FALSE(form.isWindoWED);
    EXPECT_TRUE(form.Combo3.Enabled);

    // Past the last entry; not a button; not a list.
    for (auto [action, code] : {std::pair{platform::FormAction{K::Select, "Combo1", 2}, 380},
                                {platform::FormAction{K::Click, "Check1"}, 5}, {{K::Select, "Command1", 0}, 5}})
        EXPECT_EQ(error_of([&] { form.act(action); }), code) << action.control;

    form.act({K::Click, "Command2"});  // Cancel: the reference goes, the form stays
    EXPECT_EQ(form.TKX, nullptr);
    EXPECT_TRUE(form.is_shown());
    EXPECT_EQ(engine.wType, NOt_init);
    EXPECT_EQ(error_of([&] { form.act({K::Click, "Command1"}); }), 91);  // OK with no engine
}

TEST_F(Dialog, OkHidesThenStartsFullScreenOnTheChoiceThenUnloads) {
    show_scripted("select Combo1 1; select Combo3 3; select Combo2 0; click Command1");
    const std::vector<int> i = in_order(
        {"DeviceDIALOGUE.Hide", "DirectX7.directDrawCreate \"" + std::string(kSecondGuid) + "\"",
         "DirectDraw7.setCooperativeLevel " + std::to_string(hand) + ", 19",
         "DirectDraw7.setDisplayMode 800, 600, 16, 0, 0", "Direct3D7.createDevice \"IID_IDirect3DRGBDevice\"",
         "DeviceDIALOGUE.Unload"});
    EXPECT_GT(at("Direct3D7.getEnumZBufferFormats \"IID_IDirect3DRGBDevice\"", i[3]), 0);  // after the mode
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
    for (const char* bad : {"push Command1", "select Combo3 x", "select Combo3 -1", "click", "click Command1 twice"})
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
    if (std::max({std::abs(got.r - want.r), std::abs(got.g - want.g), std::abs(got.b - want.b)}) <= tolerance)
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
    // Each probe at left + fx * width + dx, top + fy * height + dy. Buttons: their face inside, the
    // window's grey outside. Lists: white inside their border, the arrow's button at the right end, grey
    // around. Frames: a grey line down the left, along the bottom and down the right. The tick box: a
    // white square at the left, unticked. Image1: grey around.
    struct Probe { int fx, dx, fy, dy; Rgb want; };
    const std::pair<std::vector<const char*>, std::vector<Probe>> kinds[] = {
        {{"Command1", "Command2"},
         {{0, 3, 0, 3, kButton}, {1, -4, 1, -4, kButton}, {0, -2, 0, 3, kWindow}, {0, 3, 0, -2, kWindow},
          {1, 1, 0, 3, kWindow}}},
        {{"Combo1", "Combo2", "Combo3"},
         {{0, 2, 0, 2, kList}, {0, 2, 1, -3, kList}, {1, -3, 0, 2, kButton}, {1, 1, 0, 2, kWindow},
          {0, 0, 0, 10, kLine}, {0, -2, 0, 10, kWindow}, {0, 2, 1, 1, kWindow}}},
        {{"Frame1", "Frame2", "Frame3"},
         {{0, 0, 1, -10, kLine}, {0, 4, 1, -1, kLine}, {0, -2, 1, -10, kWindow}, {0, 4, 1, 0, kWindow},
          {1, -1, 1, -10, kLine}, {1, 0, 1, -10, kWindow}}},
        {{"Check1"}, {{0, 3, 0, 3, kList}, {0, 8, 0, 8, kList}, {0, -2, 0, 8, kWindow}}},
        {{"Image1"}, {{0, -2, 0, 50, kWindow}, {1, 1, 0, 50, kWindow}, {0, 50, 1, 1, kWindow}}},
    };
    for (const auto& [names, probes] : kinds)
        for (const char* name : names) {
            const auto r = dlg::pixel_rect(name);
            for (const Probe& p : probes)
                EXPECT_TRUE(near(f, r.left + p.fx * r.width + p.dx, r.top + p.fy * r.height + p.dy, p.want)) << name;
        }
    const auto check = dlg::pixel_rect("Check1");
    // The picture stretched over Image1: evening sky at the top left (blue over red), the plain at the bottom (green over red).
    const auto image = dlg::pixel_rect("Image1");
    const Rgb sky = rgb_at(f, image.left + 2, image.top + 2);
    EXPECT_GT(sky.b, sky.r);
    const Rgb plain = rgb_at(f, image.left + 20, image.top + image.height - 3);
    EXPECT_GT(plain.g, plain.r);

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
