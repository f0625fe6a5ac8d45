// The standard MIDI file reader: resolution, running status, tempo map, meta
// and sysex skipping, and every hostile length refused.
#include <gtest/gtest.h>

#include "platform/music/smf_reader.h"
#include "platform/music/smf_writer.h"

using namespace tarko::platform::music;

namespace {
std::vector<std::uint8_t> one_track(int division, const SmfTrackWriter& t) { return make_smf(0, division, {t}); }
}  // namespace

TEST(SmfReader, ConvertsTicksTo768PerQuarter) {
    // Division 480: a note at 240 (half a quarter) lands on 384; the end at 960 on 1536.
    SmfTrackWriter t;
    t.note_on(240, 0, 60, 100).note_off(720, 0, 60).end();
    const MidiSequence s = parse_smf(one_track(480, t));
    ASSERT_EQ(s.events.size(), 2u);
    EXPECT_EQ(s.events[0].tick, 384);
    EXPECT_EQ(s.events[1].tick, 1536);
    EXPECT_EQ(s.length, 1536);
}

TEST(SmfReader, RoundsConversionToTheNearestTick) {
    // Division 7: tick 1 is 768/7 = 109.71 -> 110; tick 3 is 329.14 -> 329.
    SmfTrackWriter t;
    t.note_on(1, 0, 60, 100).note_off(2, 0, 60).end();
    const MidiSequence s = parse_smf(one_track(7, t));
    EXPECT_EQ(s.events[0].tick, 110);
    EXPECT_EQ(s.events[1].tick, 329);
}

TEST(SmfReader, FollowsRunningStatusAndTurnsVelocityZeroIntoNoteOff) {
    SmfTrackWriter t;
    t.note_on(0, 2, 60, 100).raw(10, {62, 90}).raw(10, {60, 0}).end();
    const MidiSequence s = parse_smf(one_track(96, t));
    ASSERT_EQ(s.events.size(), 3u);
    EXPECT_EQ(s.events[1].status, 0x92);
    EXPECT_EQ(s.events[1].data1, 62);
    EXPECT_EQ(s.events[2].status, 0x82);  // note on with velocity 0
}

TEST(SmfReader, SkipsSysexAndUnknownMetaAndChunks) {
    SmfTrackWriter t;
    t.sysex(0, {0x7E, 0x7F, 0x09, 0x01, 0xF7}).raw(0, {0xFF, 0x01, 0x03, 'a', 'b', 'c'}).program(0, 0, 5).end(96);
    auto bytes = one_track(96, t);
    // An unknown chunk between the header and the track.
    const std::vector<std::uint8_t> junk = {'X', 'Y', 'Z', 'W', 0, 0, 0, 2, 1, 2};
    bytes.insert(bytes.begin() + 14, junk.begin(), junk.end());
    const MidiSequence s = parse_smf(bytes);
    ASSERT_EQ(s.events.size(), 1u);
    EXPECT_EQ(s.events[0].status, 0xC0);
    EXPECT_EQ(s.length, 768);
}

TEST(SmfReader, BuildsATempoMapAcrossTracks) {
    // Tempo track: 500000 (120 bpm) at 0, 1000000 (60 bpm) at one quarter.
    SmfTrackWriter tempo;
    tempo.tempo(0, 500000).tempo(480, 1000000).end(480);
    SmfTrackWriter notes;
    notes.note_on(0, 0, 60, 100).note_off(960, 0, 60).end();
    const MidiSequence s = parse_smf(make_smf(1, 480, {tempo, notes}));
    ASSERT_EQ(s.tempos.size(), 2u);
    EXPECT_DOUBLE_EQ(s.tempo_at(0), 120.0);
    EXPECT_DOUBLE_EQ(s.tempo_at(767), 120.0);
    EXPECT_DOUBLE_EQ(s.tempo_at(768), 60.0);
    // One quarter at 120 (0.5 s) and one at 60 (1 s).
    EXPECT_DOUBLE_EQ(s.seconds_at(1536), 1.5);
    EXPECT_EQ(s.length, 1536);
}

TEST(SmfReader, MergesTracksInTimeOrder) {
    SmfTrackWriter a, b;
    a.note_on(100, 0, 60, 1).end();
    b.note_on(50, 1, 61, 1).note_on(100, 1, 62, 1).end();
    const MidiSequence s = parse_smf(make_smf(1, 100, {a, b}));
    ASSERT_EQ(s.events.size(), 3u);
    EXPECT_EQ(s.events[0].data1, 61);
    EXPECT_EQ(s.events[1].data1, 60);  // same tick as 62: file order of the tracks
    EXPECT_EQ(s.events[2].data1, 62);
}

TEST(SmfReader, ReadsSmpteDivisionAtAFixed120) {
    // 25 frames of 40 ticks: 1000 ticks a second; at 120 bpm a quarter is 500 ticks.
    SmfTrackWriter t;
    t.note_on(0, 0, 60, 100).note_off(1000, 0, 60).end();
    auto bytes = one_track(0, t);
    bytes[12] = static_cast<std::uint8_t>(-25);
    bytes[13] = 40;
    const MidiSequence s = parse_smf(bytes);
    EXPECT_EQ(s.length, 1536);  // one second = two quarters
}

TEST(SmfReader, RefusesATrackWithoutItsEnd) {
    SmfTrackWriter t;
    t.note_on(0, 0, 60, 100).note_off(96, 0, 60);
    EXPECT_THROW(parse_smf(one_track(96, t)), SmfError);
}

TEST(SmfReader, RefusesAHugeDelta) {
    // 0x0FFFFFFF ticks at division 1 is 2.06e11 music ticks: beyond a Long.
    SmfTrackWriter t;
    t.note_on(0x0FFFFFFF, 0, 60, 100).end();
    EXPECT_THROW(parse_smf(one_track(1, t)), SmfError);
    // Many large deltas that add up past the limit.
    SmfTrackWriter sum;
    for (int i = 0; i < 200; ++i) sum.note_on(0x0FFFFFFF, 0, 60, 1);
    sum.end();
    EXPECT_THROW(parse_smf(one_track(960, sum)), SmfError);
    // A five-byte variable-length number.
    SmfTrackWriter five;
    five.raw(0, {0xFF, 0x01, 0x81, 0x81, 0x81, 0x81, 0x01}).end();
    EXPECT_THROW(parse_smf(one_track(96, five)), SmfError);
}

TEST(SmfReader, RefusesLengthsPastTheEnd) {
    SmfTrackWriter t;
    t.note_on(0, 0, 60, 100).note_off(96, 0, 60).end();
    const auto good = one_track(96, t);
    auto track_size = good;
    track_size[21] = 0xFF;  // MTrk size low byte: 255 bytes, 12 present
    EXPECT_THROW(parse_smf(track_size), SmfError);
    auto header = good;
    header[7] = 200;  // MThd size past the file
    EXPECT_THROW(parse_smf(header), SmfError);
    SmfTrackWriter meta;
    meta.raw(0, {0xFF, 0x01, 0x7F, 'x'}).end();  // text of 127 bytes, 1 present
    EXPECT_THROW(parse_smf(one_track(96, meta)), SmfError);
    SmfTrackWriter sysex;
    sysex.raw(0, {0xF0, 0x40, 1}).end();
    EXPECT_THROW(parse_smf(one_track(96, sysex)), SmfError);
    for (std::size_t n = 0; n < good.size(); ++n)
        EXPECT_THROW(parse_smf(std::span(good.data(), n)), SmfError) << "cut at " << n;
}

TEST(SmfReader, RefusesMalformedHeadersAndEvents) {
    SmfTrackWriter t;
    t.end();
    auto format2 = one_track(96, t);
    format2[9] = 2;
    EXPECT_THROW(parse_smf(format2), SmfError);
    auto missing_track = make_smf(1, 96, {t});
    missing_track[11] = 2;  // two tracks announced, one present
    EXPECT_THROW(parse_smf(missing_track), SmfError);
    EXPECT_THROW(parse_smf(one_track(0, t)), SmfError);  // division 0
    SmfTrackWriter no_status;
    no_status.raw(0, {60, 100}).end();
    EXPECT_THROW(parse_smf(one_track(96, no_status)), SmfError);
    SmfTrackWriter zero_tempo;
    zero_tempo.tempo(0, 0).end();
    EXPECT_THROW(parse_smf(one_track(96, zero_tempo)), SmfError);
    SmfTrackWriter realtime;
    realtime.raw(0, {0xF8}).end();
    EXPECT_THROW(parse_smf(one_track(96, realtime)), SmfError);
    SmfTrackWriter high_data;
    high_data.raw(0, {0x90, 0x80, 1}).end();
    EXPECT_THROW(parse_smf(one_track(96, high_data)), SmfError);
}

TEST(SmfReader, RunningStatusDoesNotSurviveMetaEvents) {
    SmfTrackWriter t;
    t.note_on(0, 0, 60, 100).raw(0, {0xFF, 0x01, 0x00}).raw(0, {62, 100}).end();
    EXPECT_THROW(parse_smf(one_track(96, t)), SmfError);
}
