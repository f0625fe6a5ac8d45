// The standard MIDI file reader: tick conversion, running status, track merge,
// tempo map, skipping, and every hostile length refused.
#include <gtest/gtest.h>

#include <functional>
#include <span>

#include "platform/music/smf_reader.h"
#include "platform/music/smf_writer.h"

using namespace tarko::platform::music;

namespace {
std::vector<std::uint8_t> one_track(int division, const SmfTrackWriter& t) { return make_smf(0, division, {t}); }
}  // namespace

TEST(SmfReader, ConvertsTicksTo768PerQuarterRounded) {
    // Division 7: tick 1 is 768/7 = 109.71 -> 110; tick 3 is 329.14 -> 329.
    SmfTrackWriter r;
    r.note_on(1, 0, 60, 100).note_off(2, 0, 60).end();
    const MidiSequence s7 = parse_smf(one_track(7, r));
    EXPECT_EQ(s7.events[0].tick, 110);
    EXPECT_EQ(s7.events[1].tick, 329);
}

TEST(SmfReader, FormatZeroFollowsRunningStatusAndSkipsSysexMetaAndChunks) {
    SmfTrackWriter t;
    t.sysex(0, {0x7E, 0x7F, 0x09, 0x01, 0xF7}).raw(0, {0xFF, 0x01, 0x03, 'a', 'b', 'c'});
    t.note_on(0, 2, 60, 100).raw(10, {62, 90}).raw(10, {60, 0}).end();
    auto bytes = one_track(96, t);
    // An unknown chunk between the header and the track.
    const std::vector<std::uint8_t> junk = {'X', 'Y', 'Z', 'W', 0, 0, 0, 2, 1, 2};
    bytes.insert(bytes.begin() + 14, junk.begin(), junk.end());
    const MidiSequence s = parse_smf(bytes);
    ASSERT_EQ(s.events.size(), 3u);
    EXPECT_EQ(s.events[1].status, 0x92);
    EXPECT_EQ(s.events[1].data1, 62);
    EXPECT_EQ(s.events[2].status, 0x82);  // note on with velocity 0
    EXPECT_EQ(s.length, 160);             // 20 ticks at 96 a quarter: 20 * 8
}

TEST(SmfReader, FormatOneMergesTracksAndBuildsATempoMapAcrossThem) {
    // Tempo track: 500000 (120 bpm) at 0, 1000000 (60 bpm) at one quarter.
    SmfTrackWriter tempo, a, b;
    tempo.tempo(0, 500000).tempo(480, 1000000).end(480);
    a.note_on(960, 0, 60, 1).end();
    b.note_on(480, 1, 61, 1).note_on(480, 1, 62, 1).end();
    const MidiSequence s = parse_smf(make_smf(1, 480, {tempo, a, b}));
    ASSERT_EQ(s.events.size(), 3u);
    EXPECT_EQ(s.events[0].data1, 61);
    EXPECT_EQ(s.events[1].data1, 60);  // same tick as 62: file order of the tracks
    EXPECT_EQ(s.events[2].data1, 62);
    EXPECT_DOUBLE_EQ(s.tempo_at(767), 120.0);
    EXPECT_DOUBLE_EQ(s.tempo_at(768), 60.0);
    // One quarter at 120 (0.5 s) and one at 60 (1 s).
    EXPECT_DOUBLE_EQ(s.seconds_at(1536), 1.5);
    EXPECT_EQ(s.length, 1536);
}

TEST(SmfReader, RefusesHostileFiles) {
    SmfTrackWriter t;
    t.note_on(0, 0, 60, 100).note_off(96, 0, 60).end();
    const auto good = one_track(96, t);
    for (std::size_t n = 0; n < good.size(); ++n)
        EXPECT_THROW(parse_smf(std::span(good.data(), n)), SmfError) << "cut at " << n;

    const auto patched = [&](std::size_t at, std::uint8_t v) {
        auto b = good;
        b[at] = v;
        return b;
    };
    const auto track = [](int division, const std::function<void(SmfTrackWriter&)>& fill) {
        SmfTrackWriter w;
        fill(w);
        return make_smf(0, division, {w});
    };
    SmfTrackWriter end_only;
    end_only.end();
    auto missing_track = make_smf(1, 96, {end_only});
    missing_track[11] = 2;  // two tracks announced, one present
    SmfTrackWriter sum;     // many large deltas that add up past the limit
    for (int i = 0; i < 200; ++i) sum.note_on(0x0FFFFFFF, 0, 60, 1);
    sum.end();
    const std::pair<const char*, std::vector<std::uint8_t>> cases[] = {
        {"track size", patched(21, 0xFF)},  // MTrk size low byte: 255 bytes, 12 present
        {"header size", patched(7, 200)},   // MThd size past the file
        {"missing track", missing_track},
        {"division 0", one_track(0, end_only)},
        {"no end of track", track(96, [](auto& w) { w.note_on(0, 0, 60, 100).note_off(96, 0, 60); })},
        // 0x0FFFFFFF ticks at division 1 is 2.06e11 music ticks: beyond a Long.
        {"huge delta", track(1, [](auto& w) { w.note_on(0x0FFFFFFF, 0, 60, 100).end(); })},
        {"deltas adding up", one_track(960, sum)},
        {"five-byte number", track(96, [](auto& w) { w.raw(0, {0xFF, 0x01, 0x81, 0x81, 0x81, 0x81, 0x01}).end(); })},
        // A text of 127 bytes with 1 present; a sysex cut short.
        {"meta past the end", track(96, [](auto& w) { w.raw(0, {0xFF, 0x01, 0x7F, 'x'}).end(); })},
        {"sysex past the end", track(96, [](auto& w) { w.raw(0, {0xF0, 0x40, 1}).end(); })},
        {"no status", track(96, [](auto& w) { w.raw(0, {60, 100}).end(); })},
        {"data above 127", track(96, [](auto& w) { w.raw(0, {0x90, 0x80, 1}).end(); })},
        // Running status does not survive a meta event.
        {"status after meta",
         track(96, [](auto& w) { w.note_on(0, 0, 60, 100).raw(0, {0xFF, 0x01, 0x00}).raw(0, {62, 100}).end(); })},
    };
    for (const auto& [what, bytes] : cases) EXPECT_THROW(parse_smf(bytes), SmfError) << what;
}
