// Fuzz target for the wave reader: any bytes either parse into whole frames
// or raise WavError.
#include <cstddef>
#include <cstdint>

#include "platform/sound/wav_reader.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    try {
        const auto wav = tarko::platform::sound::parse_wav({data, size});
        if (wav.samples.size() % static_cast<std::size_t>(wav.block_align()) != 0) __builtin_trap();
        (void)tarko::platform::sound::downmix_to_mono(wav);
    } catch (const tarko::platform::sound::WavError&) {
    }
    return 0;
}
