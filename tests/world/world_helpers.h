// Helpers for the landscape tests: BMP pictures from a colour function, and
// recorded device calls checked against a list.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/picture_write.h"

namespace tarko::test {

// colour(x, y) gives 0xRRGGBB for the pixel at column x, row y from the top.
inline void write_bmp(const std::filesystem::path& path, int width, int height,
                      const std::function<std::uint32_t(int, int)>& colour) {
    platform::Frame f{width, height, {}};
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) f.pixels.push_back(colour(x, y));
    platform::write_bmp(f, path.string());
}

// want[i] is the whole of calls[i] with "Direct3DDevice7." omitted; ending in
// "*" it is a prefix only, and "*" alone matches anything. Sizes must agree.
inline void expect_calls(const std::vector<std::string>& calls, const std::vector<std::string>& want) {
    ASSERT_EQ(calls.size(), want.size());
    for (std::size_t i = 0; i < want.size(); ++i) {
        const std::string w = "Direct3DDevice7." + want[i];
        if (w.back() == '*')
            EXPECT_EQ(calls[i].rfind(w.substr(0, w.size() - 1), 0), 0u) << i << ": " << calls[i];
        else
            EXPECT_EQ(calls[i], w) << i;
    }
}

template <class T>
std::vector<float> xyz(const T& v) { return {v.x, v.y, v.z}; }

// EXPECT_FLOAT_EQ, or EXPECT_NEAR within tol when tol > 0, element by element.
inline void expect_floats(const std::vector<float>& got, const std::vector<float>& want, double tol = 0) {
    ASSERT_EQ(got.size(), want.size());
    for (std::size_t i = 0; i < want.size(); ++i) {
        if (tol > 0)
            EXPECT_NEAR(got[i], want[i], tol) << i;
        else
            EXPECT_FLOAT_EQ(got[i], want[i]) << i;
    }
}

}  // namespace tarko::test
