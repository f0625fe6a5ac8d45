// Setting the system date and time: a replaceable setter. The default backend
// sets the real clock only when the process holds the right to (Linux:
// CAP_SYS_TIME in its effective set) and otherwise refuses quietly. Tests
// install a recording setter; nothing in a test sets the real clock.
#pragma once

#include <cstdint>
#include <functional>

struct SYSTEMTIME {
    std::int16_t wYear = 0;
    std::int16_t wMonth = 0;
    std::int16_t wDayOfWeek = 0;
    std::int16_t wDay = 0;
    std::int16_t wHour = 0;
    std::int16_t wMinute = 0;
    std::int16_t wSecond = 0;
    std::int16_t wMilliseconds = 0;
};

namespace tarko::platform {

// Returns true when the clock was set.
using SystemTimeSetter = std::function<bool(const SYSTEMTIME&)>;

// A date and time the clock can be set to: year 1601..30827, a real day of
// its month, hour, minute, second and milliseconds in range (UTC).
bool valid_system_time(const SYSTEMTIME& t);

// Sets the clock (UTC). An installed setter gets every request as it is; the
// default backend refuses a time that is not valid. True when the clock was set.
bool SetSystemTime(const SYSTEMTIME& t);

// Installs a setter; nullptr restores the default backend. Returns the previous one.
SystemTimeSetter set_system_time_setter(SystemTimeSetter setter);

}  // namespace tarko::platform
