// Helpers shared by the tests: where test data lives and a scratch folder.
#pragma once

#include <filesystem>
#include <string>

namespace tarko::test {

// tests/data of the source tree.
std::filesystem::path data_dir();
// A fresh empty folder under the build's temporary area, named after the test.
std::filesystem::path scratch_dir(const std::string& name);

}  // namespace tarko::test
