// Helpers shared by the tests: where test data lives and a scratch folder.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>

#include <gtest/gtest.h>

namespace tarko::test {

// tests/data of the source tree.
std::filesystem::path data_dir();
// The run-time error number `f` raises, or 0 when it returns normally.
std::int32_t error_of(const std::function<void()>& f);

// Success when `f` throws io::ParseError whose reason contains `reason` and
// whose offset is `offset`; otherwise a failure that says what happened.
::testing::AssertionResult refused_with(const std::function<void()>& f, const std::string& reason, std::size_t offset);

// A fresh empty folder of this process under the temporary area, named after the test.
std::filesystem::path scratch_dir(const std::string& name);

}  // namespace tarko::test
