// Helpers shared by the tests: where test data lives and a scratch folder.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>

namespace tarko::test {

// tests/data of the source tree.
std::filesystem::path data_dir();
// The run-time error number `f` raises, or 0 when it returns normally.
std::int32_t error_of(const std::function<void()>& f);

// A fresh empty folder of this process under the temporary area, named after the test.
std::filesystem::path scratch_dir(const std::string& name);

}  // namespace tarko::test
