// Shared test helpers.
#include "support/test_support.h"

#include <unistd.h>

#include <cstdlib>
#include <fstream>

#include "runtime/byte_reader.h"
#include "runtime/errors.h"

namespace tarko::test {

std::filesystem::path data_dir() {
    if (const char* d = std::getenv("TARKO_TEST_DATA")) return d;
    return std::filesystem::path(__FILE__).parent_path().parent_path() / "data";
}

std::int32_t error_of(const std::function<void()>& f) {
    try {
        f();
    } catch (const RuntimeError& e) {
        return e.number();
    }
    return 0;
}

::testing::AssertionResult refused_with(const std::function<void()>& f, const std::string& reason, std::size_t offset) {
    try {
        f();
    } catch (const io::ParseError& e) {
        if (e.reason().find(reason) != std::string::npos && e.offset() == offset) return ::testing::AssertionSuccess();
        return ::testing::AssertionFailure() << "refused with \"" << e.what() << "\", expected \"" << reason
                                             << "\" at byte " << offset;
    }
    return ::testing::AssertionFailure() << "accepted, expected \"" << reason << "\" at byte " << offset;
}

std::filesystem::path scratch_dir(const std::string& name) {
    // ctest runs tests as parallel processes: each gets folders of its own.
    auto dir = std::filesystem::temp_directory_path() / "tarko-tests" / (name + "-" + std::to_string(getpid()));
    std::error_code ec;
    std::filesystem::remove_all(dir, ec);
    std::filesystem::create_directories(dir);
    return dir;
}

std::string write_file(const std::filesystem::path& path, const std::vector<std::uint8_t>& bytes) {
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    return path.string();
}

void save_seed(const std::string& kind, const std::string& name, const std::vector<std::uint8_t>& bytes) {
    const char* dir = std::getenv("TARKO_WRITE_SEEDS");
    if (!dir) return;
    std::filesystem::create_directories(std::filesystem::path(dir) / kind);
    write_file(std::filesystem::path(dir) / kind / name, bytes);
}

}  // namespace tarko::test
