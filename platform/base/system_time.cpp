// System clock setter: the default backend and the replaceable hook.
#include "platform/base/system_time.h"

#include <ctime>
#include <fstream>
#include <mutex>
#include <sstream>
#include <string>

namespace tarko::platform {

namespace {

std::mutex setter_mutex;
SystemTimeSetter installed;

bool leap(int y) { return (y % 4 == 0 && y % 100 != 0) || y % 400 == 0; }

// CAP_SYS_TIME (bit 25) in the effective capability set of this process.
bool may_set_clock() {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.rfind("CapEff:", 0) != 0) continue;
        std::istringstream hex(line.substr(7));
        unsigned long long caps = 0;
        if (!(hex >> std::hex >> caps)) return false;
        return (caps >> 25) & 1ULL;
    }
    return false;
}

bool set_real_clock(const SYSTEMTIME& t) {
    if (!may_set_clock()) return false;  // refuse quietly
    std::tm tm{};
    tm.tm_year = t.wYear - 1900;
    tm.tm_mon = t.wMonth - 1;
    tm.tm_mday = t.wDay;
    tm.tm_hour = t.wHour;
    tm.tm_min = t.wMinute;
    tm.tm_sec = t.wSecond;
    const std::time_t secs = timegm(&tm);
    if (secs == static_cast<std::time_t>(-1)) return false;
    timespec ts{};
    ts.tv_sec = secs;
    ts.tv_nsec = static_cast<long>(t.wMilliseconds) * 1000000L;
    return clock_settime(CLOCK_REALTIME, &ts) == 0;
}

}  // namespace

bool valid_system_time(const SYSTEMTIME& t) {
    static constexpr int kDays[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (t.wYear < 1601 || t.wYear > 30827) return false;
    if (t.wMonth < 1 || t.wMonth > 12) return false;
    const int days = kDays[t.wMonth - 1] + (t.wMonth == 2 && leap(t.wYear) ? 1 : 0);
    if (t.wDay < 1 || t.wDay > days) return false;
    return t.wHour >= 0 && t.wHour < 24 && t.wMinute >= 0 && t.wMinute < 60 && t.wSecond >= 0 && t.wSecond < 60 &&
           t.wMilliseconds >= 0 && t.wMilliseconds < 1000;
}

bool SetSystemTime(const SYSTEMTIME& t) {
    SystemTimeSetter setter;
    {
        std::lock_guard lock(setter_mutex);
        setter = installed;
    }
    if (setter) return setter(t);
    if (!valid_system_time(t)) return false;
    return set_real_clock(t);
}

SystemTimeSetter set_system_time_setter(SystemTimeSetter setter) {
    std::lock_guard lock(setter_mutex);
    SystemTimeSetter previous = std::move(installed);
    installed = std::move(setter);
    return previous;
}

}  // namespace tarko::platform
