// A cTarko_Sound on recording backends, with a manual clock and a trace of
// the calls it makes on the sound and music objects.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "platform/music/midi_port.h"
#include "platform/sound/audio_backend.h"
#include "platform/trace.h"
#include "runtime/services.h"
#include "sound/tarko_sound.h"
#include "support/test_support.h"

class SoundFixture : public ::testing::Test {
protected:
    void SetUp() override { dir_ = tarko::test::scratch_dir(::testing::UnitTest::GetInstance()->current_test_info()->name()); }

    std::string write(const std::string& name, const std::vector<std::uint8_t>& bytes) {
        const auto path = dir_ / name;
        std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(bytes.data()),
                                                    static_cast<std::streamsize>(bytes.size()));
        return path.string();
    }
    bool traced(const std::string& entry) const {
        const auto& e = trace_.entries();
        return std::find(e.begin(), e.end(), entry) != e.end();
    }
    std::vector<std::string> traced_prefix(const std::string& prefix) const {
        return tarko::platform::trace().matching(prefix);
    }
    const std::vector<tarko::MessageBoxRequest>& boxes() const { return services_.messages(); }

    tarko::runtime::ScopedTestServices services_;
    tarko::platform::ScopedTrace trace_;
    std::shared_ptr<tarko::platform::sound::RecordingAudio> audio_ =
        std::make_shared<tarko::platform::sound::RecordingAudio>();
    std::shared_ptr<tarko::platform::music::RecordingPort> port_ =
        std::make_shared<tarko::platform::music::RecordingPort>();
    tarko::platform::sound::ScopedAudioFactory audio_factory_{[this] { return audio_; }};
    tarko::platform::music::ScopedPortFactory port_factory_{[this] { return port_; }};
    std::filesystem::path dir_;
};
