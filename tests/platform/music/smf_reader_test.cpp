// The standard MIDI file reader: tick conversion, running status, track merge,
// tempo map, skipping, and every hostile length refused.
#include <gtest/gtest.h>

#include <functional>
#include <span>

#include "platform/music/smf_reader.h"
#include "platform/music/smf_writer.h"
#include "support/test_support.h"

using namespace tarko::platform::music;
using tarko::test::refused_with;

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

TEST(SmfReader, RefusesHostileFilesSayingWhyAndWhere) {
    // Header: MThd 0, size 4, format 8, tracks 10, division 12; MTrk at 14, its size at 18,
    // events from 22: 00 90 3C 64 | 60 80 3C 40 | 00 FF 2F 00 (12 bytes, 22..33).
    SmfTrackWriter t;
    t.note_on(0, 0, 60, 100).note_off(96, 0, 60).end();
    const auto good = one_track(96, t);
    for (std::size_t n = 0; n < good.size(); ++n) {
        const auto [reason, at] = n < 14 ? std::pair{"not a standard MIDI file", 0}
                                  : n < 22 ? std::pair{"missing track 1", 14}
                                           : std::pair{"chunk size runs past", 18};
        EXPECT_TRUE(refused_with([&] { parse_smf(std::span(good.data(), n)); }, reason, std::size_t(at))) << "cut at " << n;
    }
    const auto patched = [&](std::vector<std::pair<std::size_t, std::uint8_t>> patches) {
        auto b = good;
        for (const auto& [at, v] : patches) b[at] = v;
        return b;
    };
    const auto track = [](int division, const std::function<void(SmfTrackWriter&)>& fill) {
        SmfTrackWriter w;
        fill(w);
        return make_smf(0, division, {w});
    };
    SmfTrackWriter end_only;
    end_only.end();
    SmfTrackWriter sum;     // many large deltas that add up past the limit
    for (int i = 0; i < 200; ++i) sum.note_on(0x0FFFFFFF, 0, 60, 1);
    sum.end();
    const tarko::test::Refusal cases[] = {
        {"not MThd", patched({{0, 'X'}}), "not a standard MIDI file", 0},
        {"header size", patched({{7, 200}}), "header size out of range", 4},  // past the file
        {"format 2", patched({{9, 2}}), "MIDI format 2", 8},
        {"no tracks", patched({{11, 0}}), "no tracks", 10},
        {"format 0, two tracks", patched({{11, 2}}), "format 0 with more than one track", 10},
        {"division 0", one_track(0, end_only), "zero ticks per quarter", 12},
        {"SMPTE -28", patched({{12, 0xE4}, {13, 40}}), "bad SMPTE frame rate", 12},
        {"SMPTE -25, 0 a frame", patched({{12, 0xE7}, {13, 0}}), "zero ticks per frame", 13},
        {"no end of track", track(96, [](auto& w) { w.note_on(0, 0, 60, 100).note_off(96, 0, 60); }),
         "track 1 has no end-of-track event", 30},
        // the limit at 960 is 2147483647 / 768 * 960 = 2684353920; nine deltas are 2415919095,
        // ten 2684354550: the tenth event's delta ends at 22 + 9 * 7 + 4
        {"deltas adding up", one_track(960, sum), "beyond the music clock", 89},
        {"five-byte number", track(96, [](auto& w) { w.raw(0, {0xFF, 0x01, 0x81, 0x81, 0x81, 0x81, 0x01}).end(); }),
         "longer than four bytes", 29},
        // a text of 127 bytes with 5 left from 26; a sysex of 64 with 5 left from 25
        {"meta past the end", track(96, [](auto& w) { w.raw(0, {0xFF, 0x01, 0x7F, 'x'}).end(); }), "event length runs past", 26},
        {"sysex past the end", track(96, [](auto& w) { w.raw(0, {0xF0, 0x40, 1}).end(); }), "event length runs past", 25},
        {"no status", track(96, [](auto& w) { w.raw(0, {60, 100}).end(); }), "without a running status", 23},
        {"data above 127", track(96, [](auto& w) { w.raw(0, {0x90, 0x80, 1}).end(); }), "data byte above 127", 26},
        {"system message", track(96, [](auto& w) { w.raw(0, {0xF2, 1, 1}).end(); }), "system message in a track", 24},
        {"tempo of 2 bytes", track(96, [](auto& w) { w.raw(0, {0xFF, 0x51, 2, 7, 0xA1}).end(); }), "not three bytes", 28},
        {"tempo 0", track(96, [](auto& w) { w.raw(0, {0xFF, 0x51, 3, 0, 0, 0}).end(); }), "zero microseconds", 29},
        // running status does not survive a meta event: the note at 22..25, the text at 26..29, 62 at 31
        {"status after meta",
         track(96, [](auto& w) { w.note_on(0, 0, 60, 100).raw(0, {0xFF, 0x01, 0x00}).raw(0, {62, 100}).end(); }),
         "without a running status", 31},
    };
    for (const auto& c : cases) EXPECT_TRUE(refused_with([&] { parse_smf(c.file); }, c.reason, c.offset)) << c.what;
    EXPECT_THROW(parse_smf(cases[0].file), SmfError) << "the music subsystem sees its own error type";
}

TEST(SmfReader, TempoAndMetaEventsCountTowardTheEventLimit) {
    // two tempo events (22..28, 29..35) and the end of track (36..39): three events, no notes
    SmfTrackWriter w;
    w.tempo(0, 500000).tempo(0, 400000).end();
    const auto bytes = one_track(96, w);
    EXPECT_NO_THROW(parse_smf(bytes, {.max_events = 3}));
    EXPECT_TRUE(refused_with([&] { parse_smf(bytes, {.max_events = 2}); }, "more events than the limit", 37));
}
