// A headless window, an engine and recording hooks for engine tests.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "engine/tarko_dx7.h"
#include "platform/trace.h"
#include "platform/window.h"
#include "runtime/errors.h"
#include "runtime/services.h"
#include "support/test_support.h"

namespace tarko::test {

using Calls = std::vector<std::string>;

// Engine tests run on a headless window with a manual clock, recorded message
// boxes and the platform call trace on.
class EngineFixture : public ::testing::Test {
protected:
    void SetUp() override { platform::reset_input_state(); }
    void TearDown() override {
        if (hwnd) platform::windows().remove(hwnd);
    }
    Long open_window(int width, int height, int depth = 32) {
        window = std::make_shared<platform::HeadlessWindow>(width, height, depth, 100, 50);
        hwnd = platform::windows().add(window);
        return hwnd;
    }
    // Starts the engine windowed and forgets the start-up calls.
    void open(int width = 64, int height = 48) {
        engine.Initialize_Windowed(open_window(width, height));
        platform::trace().clear();
    }
    static Calls device_calls() { return platform::trace().matching("Direct3DDevice7."); }
    static Long error_of(const std::function<void()>& f) { return test::error_of(f); }

    runtime::ScopedTestServices services;
    platform::ScopedTrace trace;
    std::shared_ptr<platform::HeadlessWindow> window;
    Long hwnd = 0;
    tarko_DX7 engine;  // last: released before the window and the services
};

}  // namespace tarko::test
