// Real output through OpenAL Soft's loopback device: a source placed left of
// the listener is louder in the left channel; distance attenuates.
#include <gtest/gtest.h>

#include <fstream>

#include "platform/constants.h"
#include "platform/dx_root.h"
#include "platform/sound/audio_backend.h"
#include "platform/sound/dsound.h"
#include "platform/sound/wav_writer.h"
#include "support/test_support.h"

using namespace tarko::platform::sound;

namespace {

struct ChannelEnergy {
    double left = 0, right = 0;
};

ChannelEnergy render_with_source_at(float x, float z) {
    auto loopback = open_loopback_audio(44100);
    if (!loopback) return {-1, -1};
    ScopedAudioFactory factory([&] { return std::static_pointer_cast<AudioBackend>(loopback); });
    const auto path = tarko::test::scratch_dir("loopback") / "tone.wav";
    const auto wav = make_tone_wav(440, 1.0, 22050);
    std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(wav.data()),
                                                static_cast<std::streamsize>(wav.size()));

    auto ds = DirectX7().directSoundCreate("");
    DSBUFFERDESC pdesc;
    pdesc.lFlags = dx::DSBCAPS_PRIMARYBUFFER | dx::DSBCAPS_CTRL3D;
    WAVEFORMATEX fmt;
    auto listener = ds->createSoundBuffer(pdesc, fmt)->getDirectSound3dListener();
    listener->setPosition(0, 0, 0, dx::DS3D_IMMEDIATE);
    listener->setOrientation(0, 0, 1, 0, 1, 0, dx::DS3D_IMMEDIATE);  // facing +z, y up

    DSBUFFERDESC desc;
    desc.lFlags = 242;
    auto buffer = ds->createSoundBufferFromFile(path.string(), desc, fmt);
    buffer->getDirectSound3dBuffer()->setPosition(x, 0, z, dx::DS3D_IMMEDIATE);
    buffer->play(dx::DSBPLAY_LOOPING);

    std::vector<float> out(2 * 4410);  // 100 ms
    ChannelEnergy e;
    for (int block = 0; block < 3; ++block) {
        loopback->render(out);
        for (std::size_t i = 0; i < out.size(); i += 2) {
            e.left += out[i] * out[i];
            e.right += out[i + 1] * out[i + 1];
        }
    }
    return e;
}

}  // namespace

TEST(LoopbackRender, SourceOnTheLeftIsLouderOnTheLeftAndDistanceAttenuates) {
    // Left-handed: facing +z with y up, -x is on the left.
    const ChannelEnergy e = render_with_source_at(-2, 0);
    if (e.left < 0) GTEST_SKIP() << "no OpenAL loopback device";
    EXPECT_GT(e.left, 1.0);  // audible: a sine of 0.5 over 13230 frames
    EXPECT_GT(e.left, 2 * e.right);
    // In front, at 1 and at 4 units: gain 1 and 1/(1 + (4 - 1)) = 1/4, energy 1/16.
    const ChannelEnergy near = render_with_source_at(0, 1), far = render_with_source_at(0, 4);
    EXPECT_NEAR((far.left + far.right) / (near.left + near.right), 1.0 / 16.0, 0.02);
}
