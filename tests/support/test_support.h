// Helpers shared by the tests: where test data lives and a scratch folder.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include "runtime/services.h"

namespace tarko::test {

// A clock that replaces itself while it is read, as a host may while the
// music thread reads: a reader that does not keep it alive reads a freed
// object, and `read_after_free` says so.
struct SelfReplacingClock final : Clock {
    static inline bool destroyed = false, read_after_free = false;
    static void install() {
        destroyed = read_after_free = false;
        runtime::set_clock(std::make_shared<SelfReplacingClock>());
    }
    ~SelfReplacingClock() override { destroyed = true; }
    std::int64_t now_ms() const override {
        runtime::set_clock(nullptr);  // drops every reference but the reader's
        read_after_free = destroyed;
        return 42;
    }
    double seconds_since_midnight() const override { return 0; }
};

// tests/data of the source tree.
std::filesystem::path data_dir();
// The run-time error number `f` raises, or 0 when it returns normally.
std::int32_t error_of(const std::function<void()>& f);

// Success when `f` throws io::ParseError whose reason contains `reason` and
// whose offset is `offset`; otherwise a failure that says what happened.
::testing::AssertionResult refused_with(const std::function<void()>& f, const std::string& reason, std::size_t offset);

// One row of a hostile-file table: a damaged file and what its reader must
// say of it (a part of the reason, and the byte).
struct Refusal {
    const char* what;
    std::vector<std::uint8_t> file;
    const char* reason;
    std::size_t offset;
};

// A fresh empty folder of this process under the temporary area, named after the test.
std::filesystem::path scratch_dir(const std::string& name);
// Writes `bytes` to `path` (its folder must exist) and gives the path back.
std::string write_file(const std::filesystem::path& path, const std::vector<std::uint8_t>& bytes);
// A fuzz seed: with TARKO_WRITE_SEEDS=<dir> (fuzz/corpus) set, also written to <dir>/<kind>/<name>.
void save_seed(const std::string& kind, const std::string& name, const std::vector<std::uint8_t>& bytes);

}  // namespace tarko::test
