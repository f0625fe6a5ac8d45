// Process-wide runtime services that the engine reads but tests replace: the
// clock behind Timer and tickCount, the random generator behind Rnd, the
// message box and the message pump behind DoEvents.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "runtime/numeric.h"

namespace tarko {

// Milliseconds for tickCount and seconds since local midnight for Timer.
struct Clock {
    virtual ~Clock() = default;
    virtual std::int64_t now_ms() const = 0;               // monotonic milliseconds
    virtual double seconds_since_midnight() const = 0;      // wall clock, jumps back at midnight
};

struct SystemClock final : Clock {
    std::int64_t now_ms() const override;
    double seconds_since_midnight() const override;
};

// Tests move time by hand; nothing sleeps. Timer follows the same milliseconds
// from `midnight_offset_s` (10:00 by default). `now` may be read from the
// music thread while a test moves it.
struct ManualClock final : Clock {
    std::atomic<std::int64_t> now{0};
    double midnight_offset_s = 36000.0;
    std::int64_t now_ms() const override { return now; }
    double seconds_since_midnight() const override;
    void advance(std::int64_t ms) { now += ms; }
};

// The runtime's random generator: a 24-bit linear congruential sequence.
// Randomize with the same seed always restarts the same sequence.
class RandomGenerator {
public:
    float next();                       // 0 <= x < 1
    void seed(double seed_value);
    std::uint32_t state() const { return state_; }

private:
    std::uint32_t state_ = 0x50000;
};

// One message box call: text, style (icon bits) and caption.
struct MessageBoxRequest {
    std::string text;
    int style = 0;          // 0 OK only; 48 exclamation; 16 critical; 64 information
    std::string caption;
};
using MessageBoxHandler = std::function<void(const MessageBoxRequest&)>;

inline constexpr int vbOKOnly = 0;
inline constexpr int vbCritical = 16;
inline constexpr int vbExclamation = 48;
inline constexpr int vbInformation = 64;
// The caption every box gets when the caller gives none.
inline constexpr const char* kDefaultCaption = "Tarko";

namespace runtime {

// The clock in force. The reference is good until the next set_clock, so it
// is for the host's thread; now_ms() may be called from any thread: the clock
// it reads stays alive for the call even if set_clock replaces it meanwhile.
Clock& clock();
std::int64_t now_ms();
void set_clock(std::shared_ptr<Clock> c);  // nullptr restores the system clock

RandomGenerator& generator();

// Timer: seconds since midnight, as a Single. tick_count: milliseconds, a Long
// that wraps like the system tick counter.
Single Timer();
Long tick_count();
Single Rnd();
void Randomize(double seed);
void Randomize();  // from Timer

// Shows a modal OK box through the installed handler. Without one the text
// goes to standard error.
void MsgBox(const std::string& text, int style = vbOKOnly, const std::string& caption = {});
MessageBoxHandler set_message_box_handler(MessageBoxHandler handler);  // returns the previous one

// DoEvents pumps the host's message queue through the installed pump.
void DoEvents();
std::function<void()> set_pump(std::function<void()> pump);

// RAII for tests: swaps in a manual clock, a recording message box handler and
// a counting pump, and puts everything back when it ends.
class ScopedTestServices {
public:
    ScopedTestServices();
    ~ScopedTestServices();
    ScopedTestServices(const ScopedTestServices&) = delete;
    ScopedTestServices& operator=(const ScopedTestServices&) = delete;

    ManualClock& clock() { return *clock_; }
    const std::vector<MessageBoxRequest>& messages() const { return *messages_; }
    int pumps() const { return *pumps_; }

private:
    std::shared_ptr<ManualClock> clock_;
    std::shared_ptr<std::vector<MessageBoxRequest>> messages_;
    std::shared_ptr<int> pumps_;
    MessageBoxHandler previous_handler_;
    std::function<void()> previous_pump_;
    RandomGenerator previous_generator_;
};

}  // namespace runtime
}  // namespace tarko
