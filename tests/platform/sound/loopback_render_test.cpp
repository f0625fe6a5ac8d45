// Real output through OpenAL Soft's loopback device: a source placed left of
// the listener is louder in the left channel.
#include <gtest/gtest.h>

#include <fstream>

#include "platform/constants.h"
#include "platform/dx_root.h"
#include "platform/sound/audio_backend.h"
#include "platform/sound/dsound.h"
#include "platform/sound/wav_writer.h"
#include "support/test_support.h"

using namespace tarko::platform::sound;

TEST(LoopbackRender, SourceOnTheLeftIsLouderOnTheLeft) {
    auto loopback = open_loopback_audio(44100);
    if (!loopback) GTEST_SKIP() << "no OpenAL loopback device";
    ScopedAudioFactory factory([&] { return std::static_pointer_cast<AudioBackend>(loopback); });
    const auto path = tarko::test::scratch_dir("loopback") / "tone.wav";
    const auto wav = make_tone_wav(440, 1.0, 22050);
    std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(wav.data()),
                                                static_cast<std::streamsize>(wav.size()));
    auto ds = DirectX7().directSoundCreate("");
    DSBUFFERDESC desc;
    desc.lFlags = dx::DSBCAPS_PRIMARYBUFFER | dx::DSBCAPS_CTRL3D;
    WAVEFORMATEX fmt;
    auto listener = ds->createSoundBuffer(desc, fmt)->getDirectSound3dListener();
    listener->setOrientation(0, 0, 1, 0, 1, 0, dx::DS3D_IMMEDIATE);  // facing +z, y up: -x is left
    desc.lFlags = 242;
    auto buffer = ds->createSoundBufferFromFile(path.string(), desc, fmt);
    buffer->getDirectSound3dBuffer()->setPosition(-2, 0, 0, dx::DS3D_IMMEDIATE);
    buffer->play(dx::DSBPLAY_LOOPING);

    std::vector<float> out(2 * 13230);  // 300 ms
    loopback->render(out);
    double left = 0, right = 0;
    for (std::size_t i = 0; i < out.size(); i += 2) {
        left += out[i] * out[i];
        right += out[i + 1] * out[i + 1];
    }
    EXPECT_GT(left, 1.0);  // audible: a sine of 0.5 over 13230 frames
    EXPECT_GT(left, 2 * right);
}
