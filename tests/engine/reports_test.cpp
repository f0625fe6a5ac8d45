// Capability reports: the numbers and texts for machines with every cap, none
// and some, read afresh at each call, and the unset-object error before
// start-up.
#include "support/engine_test_support.h"
#include "platform/profile.h"

using namespace tarko;
using tarko::test::EngineFixture;

namespace {

struct Caps {
    std::int32_t z_depths, vid_free, surface_caps;
    long long free_mem;
    std::int32_t src_blend, dest_blend, stages, simultaneous, tex_ops;
};

platform::MachineProfile machine(const Caps& c) {
    auto p = platform::default_profile();
    p.draw_caps.lZBufferBitDepths = c.z_depths;
    p.draw_caps.lVidMemFree = c.vid_free;
    p.draw_caps.ddsCaps.lCaps = c.surface_caps;
    p.free_video_memory = c.free_mem;
    for (auto& d : p.devices) {
        d.caps.dpcTriCaps.lSrcBlendCaps = c.src_blend;
        d.caps.dpcTriCaps.lDestBlendCaps = c.dest_blend;
        d.caps.wMaxTextureBlendStages = c.stages;
        d.caps.wMaxSimultaneousTextures = c.simultaneous;
        d.caps.lTextureOpCaps = c.tex_ops;
    }
    return p;
}

// The header, then " * BLEND SUPPORT : <name> \r\n" for each name.
std::string tags(std::initializer_list<const char*> names) {
    std::string out = "// BLEND CAPS // \r\n\r\n";
    for (const char* n : names) out += std::string(" * BLEND SUPPORT : ") + n + " \r\n";
    return out;
}

struct ReportCase {
    const char* machine;
    Caps caps;
    Long free_video, info_free;
    const char *video_free, *zbuffer;
    bool multi_ok;
    const char *multi, *surface;
    std::string tags;
    friend void PrintTo(const ReportCase& c, std::ostream* os) { *os << c.machine; }
};

const ReportCase kCases[] = {
    {"every cap",
     {0x700, 3000000, 4160, 4194304, 0x1FFF, 0x1FFF, 8, 8, 0xFFFFFF}, 4194304, 3000000, "3000000",
     "Zbuffer bit deph: 16, 24, 32", true, "Multitexturing OK\nNumber Texture steges= 8Number simultaneous Texture = 8",
     "CAPABILITIES : Surface lCaps :  4160",  // 4096 + 64: texture, off-screen plain
     tags({"SRCBLEND_ONE", "SRCBLEND_ALPHA", "SRCBLEND_COLOR", "SRCBLEND_INVALPHA", "SRCBLEND_INVCOLOR",
           "DESTBLEND_ONE", "DESTBLEND_ALPHA", "DESTBLEND_COLOR", "DESTBLEND_INVALPHA", "DESTBLEND_INVCOLOR"})},
    {"no cap", {0, 0, 0, 0, 0, 0, 1, 1, 0}, 0, 0, "0", "Zbuffer bit deph: ", false, "Multitexturing unAVAILABLE\n",
     "CAPABILITIES : Surface lCaps :  0", tags({})},  // the header alone
    {"some caps",
     // z 0x300: 24 and 32 only. Source 1 | 2 | 32: ZERO has no line, ONE, INVSRCALPHA.
     // Destination 64 | 512 | 1024: DESTALPHA, INVDESTCOLOR; 1024 has no line.
     {0x300, 65536, 512, 1048576, 1 | 2 | 32, 64 | 512 | 1024, 3, 2, 8}, 1048576, 65536, "65536",
     "Zbuffer bit deph: , 24, 32", true,  // the text after the label starts with the comma
     "Multitexturing OK\nNumber Texture steges= 3Number simultaneous Texture = 2", "CAPABILITIES : Surface lCaps :  512",
     tags({"SRCBLEND_ONE", "SRCBLEND_INVALPHA", "DESTBLEND_ALPHA", "DESTBLEND_INVCOLOR"})},
    {"source alpha and destination colour pairs",
     // Source 16 | 8 (ALPHA, INVCOLOR), destination 2 | 256 | 128 (ONE, COLOR, INVALPHA): table order, not bit order.
     {0x600, 1, 1, 1, 16 | 8, 2 | 256 | 128, 2, 2, 8}, 1, 1, "1", "Zbuffer bit deph: 16, 24", true,  // z 16 and 24
     "Multitexturing OK\nNumber Texture steges= 2Number simultaneous Texture = 2", "CAPABILITIES : Surface lCaps :  1",
     tags({"SRCBLEND_ALPHA", "SRCBLEND_INVCOLOR", "DESTBLEND_ONE", "DESTBLEND_COLOR", "DESTBLEND_INVALPHA"})},
};

}  // namespace

class Reports : public EngineFixture, public ::testing::WithParamInterface<ReportCase> {};

TEST_P(Reports, GiveTheMachinesNumbersAndTextsCharacterForCharacter) {
    const ReportCase& c = GetParam();
    platform::ScopedProfile profile(machine(c.caps));
    open();
    EXPECT_EQ(engine.FreeVideo_MEMORY(), c.free_video);
    EXPECT_EQ(engine.INFO_FreeMemory(), c.info_free);
    EXPECT_EQ(engine.INFO_videoFREE(), c.video_free);
    EXPECT_EQ(engine.INFO_ZbufferBIT(), c.zbuffer);
    EXPECT_EQ(engine.INFO_MULTI_texturingOK(), c.multi_ok);
    EXPECT_EQ(engine.INFO_MULTI_texturing(), c.multi);
    EXPECT_EQ(engine.INFO_SufaceCAPS1(), c.surface);
    EXPECT_EQ(engine.INFO_TAG_CAPS(), c.tags);
}

INSTANTIATE_TEST_SUITE_P(Machines, Reports, ::testing::ValuesIn(kCases),
                         [](const auto& info) {
                             std::string n = info.param.machine;
                             for (char& ch : n) if (ch == ' ') ch = '_';
                             return n;
                         });

class ReportChecks : public EngineFixture {};

TEST_F(ReportChecks, MultitexturingNeedsTwoStagesTwoTexturesAndModulate) {
    struct Row { std::int32_t stages, simultaneous, ops; bool ok; };
    const Row rows[] = {
        {2, 2, 8, true},            // the least that passes
        {1, 8, 0xFFFFFF, false},    // one texture stage
        {8, 1, 0xFFFFFF, false},    // one texture at a time
        {8, 8, 0xFFFFF7, false},    // every op but MODULATE (8)
    };
    for (const Row& r : rows) {
        platform::ScopedProfile profile(machine({0, 0, 0, 0, 0, 0, r.stages, r.simultaneous, r.ops}));
        if (!engine.D3D_DEV) open();
        EXPECT_EQ(engine.INFO_MULTI_texturingOK(), r.ok) << r.stages << " " << r.simultaneous << " " << r.ops;
    }
}

TEST_F(ReportChecks, EachCallAsksTheMachineAfresh) {
    platform::ScopedProfile first(machine({0x400, 100, 1, 200, 2, 0, 1, 1, 0}));
    open();
    EXPECT_EQ(engine.INFO_ZbufferBIT(), "Zbuffer bit deph: 16");
    {
        platform::ScopedProfile second(machine({0x100, 300, 2, 400, 0, 2, 4, 4, 8}));
        EXPECT_EQ(engine.INFO_ZbufferBIT(), "Zbuffer bit deph: , 32");
        EXPECT_EQ(engine.INFO_TAG_CAPS(), tags({"DESTBLEND_ONE"}));
    }
    EXPECT_EQ(engine.INFO_TAG_CAPS(), tags({"SRCBLEND_ONE"}));
    EXPECT_EQ(engine.FreeVideo_MEMORY(), 200);
    EXPECT_EQ(platform::trace().matching("DirectDraw7.getFreeMem"), std::vector<std::string>{"DirectDraw7.getFreeMem 16384"});
}

TEST_F(ReportChecks, BeforeStartUpEveryReportButTheVersionRaisesObjectNotSet) {
#define REPORT(f) std::pair<const char*, std::function<void()>>{#f, [&] { engine.f(); }}
    const std::pair<const char*, std::function<void()>> reports[] = {
        REPORT(FreeVideo_MEMORY), REPORT(INFO_FreeMemory), REPORT(INFO_videoFREE), REPORT(INFO_ZbufferBIT),
        REPORT(INFO_MULTI_texturingOK), REPORT(INFO_MULTI_texturing), REPORT(INFO_SufaceCAPS1), REPORT(INFO_TAG_CAPS)};
#undef REPORT
    for (const auto& [name, call] : reports) EXPECT_EQ(error_of(call), 91) << name;
    EXPECT_EQ(engine.Engine_Version(), 1.03f);  // the Single nearest 1.03
}
