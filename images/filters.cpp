// The filters of cDIBSection, byte by byte in the order the engine walks them.
#include "images/filters.h"

#include <algorithm>
#include <cstdint>

#include "runtime/errors.h"
#include "runtime/services.h"

namespace tarko::images {
namespace {

std::uint8_t clamp_byte(double v) { return static_cast<std::uint8_t>(std::clamp(v, 0.0, 255.0)); }
std::uint8_t clamp_byte(std::int64_t v) { return static_cast<std::uint8_t>(std::clamp<std::int64_t>(v, 0, 255)); }

// Int(x / X x 100) in Doubles; with X = 0 the only column is all of it.
Long percent(int x, int last) {
    if (last <= 0) return 100;
    return runtime::CLng(runtime::Int(static_cast<double>(x) / last * 100.0));
}

Long checked_long(std::int64_t v) {
    if (v < INT32_MIN || v > INT32_MAX) raise_error(err::Overflow);
    return static_cast<Long>(v);
}

// Runs `pixel(x, y)` over the default column-major walk.
template <class F> void each_pixel(const DibPixels& p, Long& process, F&& pixel) {
    const int last = 3 * (p.width - 1);
    for (int x = 0; x <= last; x += 3) {
        for (int y = 0; y < p.height; ++y) pixel(x, y);
        process = percent(x, last);
    }
    process = -1;
}

}  // namespace

void randomise_bits(const DibPixels& p, Long& process) {
    if (p.empty()) return;
    runtime::Randomize();
    each_pixel(p, process, [&](int x, int y) {
        p.at(x, y) = 0;
        p.at(x + 1, y) = static_cast<std::uint8_t>(runtime::CLng(runtime::Rnd() * 255.0));  // green first
        p.at(x + 2, y) = static_cast<std::uint8_t>(runtime::CLng(runtime::Rnd() * 255.0));
    });
}

void blur(const DibPixels& p, Long& process) {
    if (p.empty()) return;
    runtime::Randomize();  // reseeds, draws nothing
    const int last = 3 * (p.width - 1);
    // From byte 1: each step's three bytes straddle two pixels, and the
    // window counts bytes, so neighbouring channels mix.
    for (int x = 1; x <= last; x += 3) {
        for (int y = 1; y <= p.height - 2; ++y) {
            int s[3] = {0, 0, 0};
            for (int dy = -1; dy <= 1; ++dy)
                for (int dx = -1; dx <= 1; ++dx)
                    for (int k = 0; k < 3; ++k) s[k] += p.at(x + k + dx, y + dy);
            for (int k = 0; k < 3; ++k) p.at(x + k, y) = clamp_byte(runtime::Int(s[k] / 9.0));
            runtime::DoEvents();
        }
        process = percent(x, last);
    }
    process = -1;
}

void metalize(const DibPixels& p, Long& process) {
    if (p.empty()) return;
    runtime::Randomize();
    const int last = 3 * (p.width - 1);
    for (int x = 1; x <= last; x += 4) {
        for (int y = 1; y <= p.height - 2; y += 4) {
            int s = 0;
            for (int dy = -1; dy <= 1; ++dy)
                for (int dx = -1; dx <= 1; ++dx) s += p.at(x + dx, y + dy);
            p.at(x, y) = clamp_byte(runtime::Int(s / 9.0));
        }
        process = percent(x, last);  // set first, so the host's events see it
        runtime::DoEvents();
    }
    process = -1;
}

void gray_scale(const DibPixels& p, Long& process) {
    if (p.empty()) return;
    const int last = 3 * p.width - 2;  // the walk and its percentage both stop at 3W - 2
    for (int x = 0; x <= last; x += 3) {
        for (int y = 0; y < p.height; ++y) {
            const double b = p.at(x, y), g = p.at(x + 1, y), r = p.at(x + 2, y);
            const auto gray = clamp_byte(runtime::round_half_even((222.0 * r + 707.0 * g + 71.0 * b) / 1000.0));
            p.at(x, y) = p.at(x + 1, y) = p.at(x + 2, y) = gray;
        }
        process = percent(x, last);
        runtime::DoEvents();
    }
    process = -1;
}

void add_noise(const DibPixels& p, Long& process, Long percent_value, bool partial) {
    if (p.empty()) return;
    const Long amount = runtime::IntDiv(static_cast<double>(checked_long(std::int64_t{percent_value} * 128)), 100);
    const Long half = runtime::IntDiv(amount, 2);
    each_pixel(p, process, [&](int x, int y) {
        if (partial && !(runtime::Rnd() * 100.0 > percent_value)) return;
        for (int k = 0; k < 3; ++k) {  // blue, green, red, each with its own draw
            const double c = p.at(x + k, y);
            p.at(x + k, y) = clamp_byte(runtime::round_half_even(runtime::Rnd() * static_cast<double>(amount) + (c - half)));
        }
        runtime::DoEvents();
    });
}

void add_images(const DibPixels& p, Long& process, Long factor1, const Long offsets1[3], Long factor2,
                const Long offsets2[3]) {
    if (p.empty()) return;
    each_pixel(p, process, [&](int x, int y) {
        for (int k = 0; k < 3; ++k) {
            const std::int64_t c = p.at(x + k, y);
            const Long t1 = checked_long(checked_long(c + offsets1[k]) * std::int64_t{factor1});
            const Long t2 = checked_long(checked_long(c + offsets2[k]) * std::int64_t{factor2});
            p.at(x + k, y) = clamp_byte(static_cast<std::int64_t>(checked_long(std::int64_t{t1} + t2)));
        }
        runtime::DoEvents();
    });
}

void standard_filter(const DibPixels& p, Long& process, const Long kernel[3][3], Long divisor) {
    if (p.empty()) return;
    const int last = 3 * (p.width - 1);
    for (int x = 4; x <= last - 3; x += 3) {
        for (int y = 1; y <= p.height - 3; ++y) {
            for (int k = 0; k < 3; ++k) {
                std::int64_t sum = 0;
                for (int i = -1; i <= 1; ++i)
                    for (int j = -1; j <= 1; ++j) sum += std::int64_t{p.at(x + k + 3 * i, y + j)} * kernel[i + 1][j + 1];
                p.at(x + k, y) = clamp_byte(divisor != 0 ? sum / divisor : sum);
            }
        }
        process = percent(x, last);
    }
    process = -1;
}

void eclaircir(const DibPixels& p, Long& process, double value) {
    if (p.empty()) return;
    float factor = 0.0f;
    each_pixel(p, process, [&](int x, int y) {
        factor = std::min(1.0f, static_cast<float>((value / 100.0 + 1.0) * factor));
        p.at(x, y) = p.at(x + 1, y) = p.at(x + 2, y) = 0;  // the factor never reaches the bytes
        runtime::DoEvents();
    });
}

void darken(const DibPixels& p, Long& process, Long level) {
    if (p.empty()) return;
    each_pixel(p, process, [&](int x, int y) {
        for (int k = 0; k < 3; ++k) {
            const std::int64_t v = checked_long(std::int64_t{p.at(x + k, y)} * level) / 255;  // truncates toward zero
            p.at(x + k, y) = clamp_byte(v);
        }
        runtime::DoEvents();
    });
}

}  // namespace tarko::images
