// An engine with one cTarko_MDLfile actor, files saved to a scratch folder,
// frames drawn and read back as colours.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <filesystem>

#include "models/mdl/cTarko_MDLfile.h"
#include "support/engine_test_support.h"

namespace tarko::test {

class ActorFixture : public EngineFixture {
protected:
    std::string save(const std::vector<std::uint8_t>& bytes, const std::string& name = "actor.mdl") {
        if (dir_.empty()) dir_ = scratch_dir(::testing::UnitTest::GetInstance()->current_test_info()->name());
        return write_file(dir_ / name, bytes);
    }
    std::array<int, 3> rgb(int x, int y) {
        const std::uint32_t c = window->frame().at(x, y);
        return {int(c >> 16 & 255), int(c >> 8 & 255), int(c & 255)};
    }
    void frame(bool in_file_texture = true, cTarko_MDLfile* who = nullptr) {
        engine.Clear_3D();
        engine.D3D_DEV->beginScene();
        (who ? who : &actor)->Render(in_file_texture);
        engine.D3D_DEV->endScene();
        engine.FLIPP(hwnd);
    }
    std::filesystem::path dir_;
    cTarko_MDLfile actor;
};

}  // namespace tarko::test
