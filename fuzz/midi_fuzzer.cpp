// Fuzz target for the MIDI file reader: any bytes either parse into a sorted
// event list within the music clock or raise SmfError.
#include <cstddef>
#include <cstdint>

#include "platform/music/smf_reader.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    try {
        const auto seq = tarko::platform::music::parse_smf({data, size});
        std::int64_t last = 0;
        for (const auto& e : seq.events) {
            if (e.tick < last || e.tick > seq.length || e.status < 0x80 || e.status >= 0xF0) __builtin_trap();
            last = e.tick;
        }
        if (seq.length > 0x7FFFFFFF || seq.tempos.empty() || seq.tempos.front().tick != 0) __builtin_trap();
        (void)seq.seconds_at(seq.length);
    } catch (const tarko::platform::music::SmfError&) {
    }
    return 0;
}
