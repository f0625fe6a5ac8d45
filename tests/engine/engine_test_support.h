// A headless window and recording hooks for engine tests.
#pragma once

#include <gtest/gtest.h>

#include <memory>

#include "engine/tarko_dx7.h"
#include "platform/trace.h"
#include "platform/window.h"
#include "runtime/errors.h"
#include "runtime/services.h"
#include "support/test_support.h"

namespace tarko::test {

// Engine tests run on a headless window with a manual clock, recorded message
// boxes and the platform call trace on.
class EngineFixture : public ::testing::Test {
protected:
    void SetUp() override { platform::reset_input_state(); }
    Long open_window(int width, int height, int depth = 32) {
        window = std::make_shared<platform::HeadlessWindow>(width, height, depth, 100, 50);
        hwnd = platform::windows().add(window);
        return hwnd;
    }
    void TearDown() override {
        if (hwnd) platform::windows().remove(hwnd);
    }
    static Long error_of(const std::function<void()>& f) { return test::error_of(f); }

    runtime::ScopedTestServices services;
    platform::ScopedTrace trace;
    std::shared_ptr<platform::HeadlessWindow> window;
    Long hwnd = 0;
};

}  // namespace tarko::test
