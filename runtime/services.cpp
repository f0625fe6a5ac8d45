// Clock, random generator, message boxes and the pump, replaceable for tests.
#include "runtime/services.h"

#include <chrono>
#include <cmath>
#include <cstring>
#include <ctime>
#include <iostream>
#include <mutex>

namespace tarko {

std::int64_t SystemClock::now_ms() const {
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

double SystemClock::seconds_since_midnight() const {
    using namespace std::chrono;
    const auto now = system_clock::now();
    const std::time_t t = system_clock::to_time_t(now);
    std::tm local{};
    localtime_r(&t, &local);
    const auto ms = duration_cast<milliseconds>(now.time_since_epoch()).count() % 1000;
    return local.tm_hour * 3600.0 + local.tm_min * 60.0 + local.tm_sec + ms / 1000.0;
}

double ManualClock::seconds_since_midnight() const {
    return std::fmod(midnight_offset_s + static_cast<double>(now) / 1000.0, 86400.0);
}

float RandomGenerator::next() {
    state_ = (state_ * 0x43FD43FDu + 0xC39EC3u) & 0xFFFFFFu;
    return static_cast<float>(state_) / 16777216.0f;
}

void RandomGenerator::seed(double seed_value) {
    // Fold the bits of the number into the 24-bit state, so that equal seeds
    // give equal sequences and nearby seeds differ.
    std::uint64_t bits;
    std::memcpy(&bits, &seed_value, sizeof bits);
    const auto hi = static_cast<std::uint32_t>(bits >> 32), lo = static_cast<std::uint32_t>(bits);
    std::uint32_t s = hi ^ (lo * 0x9E3779B1u);
    s ^= s >> 16;
    state_ = (s ^ (s >> 8)) & 0xFFFFFFu;
}

namespace runtime {
namespace {
std::mutex services_mutex;
std::shared_ptr<Clock> current_clock;
MessageBoxHandler message_box_handler;
std::function<void()> pump_function;
RandomGenerator random_generator;

std::shared_ptr<Clock> clock_in_force() {
    std::lock_guard lock(services_mutex);
    if (!current_clock) current_clock = std::make_shared<SystemClock>();
    return current_clock;
}

}  // namespace

Clock& clock() { return *clock_in_force(); }

std::int64_t now_ms() { return clock_in_force()->now_ms(); }

void set_clock(std::shared_ptr<Clock> c) {
    std::lock_guard lock(services_mutex);
    current_clock = std::move(c);
}

RandomGenerator& generator() { return random_generator; }

Single Timer() { return static_cast<Single>(clock_in_force()->seconds_since_midnight()); }

Long tick_count() { return static_cast<Long>(static_cast<std::uint32_t>(now_ms())); }

Single Rnd() { return random_generator.next(); }
void Randomize(double seed) { random_generator.seed(seed); }
void Randomize() { random_generator.seed(Timer()); }

void MsgBox(const std::string& text, int style, const std::string& caption) {
    MessageBoxRequest request{text, style, caption.empty() ? kDefaultCaption : caption};
    MessageBoxHandler handler;
    {
        std::lock_guard lock(services_mutex);
        handler = message_box_handler;
    }
    if (handler)
        handler(request);
    else
        std::cerr << "[" << request.caption << "] " << request.text << '\n';
}

MessageBoxHandler set_message_box_handler(MessageBoxHandler handler) {
    std::lock_guard lock(services_mutex);
    std::swap(handler, message_box_handler);
    return handler;
}

void DoEvents() {
    std::function<void()> pump;
    {
        std::lock_guard lock(services_mutex);
        pump = pump_function;
    }
    if (pump) pump();
}

std::function<void()> set_pump(std::function<void()> pump) {
    std::lock_guard lock(services_mutex);
    std::swap(pump, pump_function);
    return pump;
}

ScopedTestServices::ScopedTestServices()
    : clock_(std::make_shared<ManualClock>()),
      messages_(std::make_shared<std::vector<MessageBoxRequest>>()),
      pumps_(std::make_shared<int>(0)),
      previous_generator_(random_generator) {
    set_clock(clock_);
    auto messages = messages_;
    previous_handler_ = set_message_box_handler([messages](const MessageBoxRequest& r) { messages->push_back(r); });
    auto pumps = pumps_;
    previous_pump_ = set_pump([pumps] { ++*pumps; });
    random_generator = RandomGenerator{};
}

ScopedTestServices::~ScopedTestServices() {
    set_clock(nullptr);
    set_message_box_handler(previous_handler_);
    set_pump(previous_pump_);
    random_generator = previous_generator_;
}

}  // namespace runtime
}  // namespace tarko
