// ztimer: stopwatch and date setter.
#include "engine/ztimer.h"

#include <cstdlib>

#include "platform/base/system_time.h"
#include "runtime/services.h"

namespace {

// The digit table: whole numbers 0..9 only; everything else has no entry.
std::string digit(double v) {
    if (v >= 0 && v <= 9 && v == static_cast<double>(static_cast<int>(v)))
        return std::string(1, static_cast<char>('0' + static_cast<int>(v)));
    return {};
}

// The last two characters of the text taken as a number, as Val reads them
// (".5" is 0.5, a text without digits is 0).
double last_two_as_number(const std::string& text) {
    const std::string tail = text.size() > 2 ? text.substr(text.size() - 2) : text;
    return std::strtod(tail.c_str(), nullptr);
}

}  // namespace

void ztimer::Start_Timer() { TimeStart = tarko::runtime::CLng(tarko::runtime::Timer()); }

void ztimer::Stop_Timer() {
    // One reading of the clock serves both the rounding and the text.
    const tarko::Single now = tarko::runtime::Timer();
    TimeStop = tarko::runtime::CLng(now);
    if (last_two_as_number(tarko::runtime::CStrSingle(now)) > 80) TimeStop += 1;
}

tarko::Long ztimer::Timer_Duration() const { return TimeStop - TimeStart; }

std::string ztimer::DURATION() const {
    const tarko::Long d = TimeStop - TimeStart;
    return putstring(tarko::Variant(tarko::runtime::Int(d / 60.0)), tarko::Variant(tarko::runtime::Mod(d, 60)));
}

std::string ztimer::putstring(const tarko::Variant& X1, const tarko::Variant& x2) const {
    using tarko::runtime::Int;
    using tarko::runtime::Mod;
    const double m = X1.to_double(), s = x2.to_double();
    std::string out = m >= 10 ? digit(Int(m / 10)) + digit(Mod(m, 10)) : digit(m);
    out += s < 10 ? ":0" + digit(s) : ":" + digit(Int(s / 10)) + digit(Mod(s, 10));
    return out;
}

bool ztimer::SETsytemDate(tarko::Integer Jour, tarko::Integer MOIS, tarko::Integer Année) {
    SYSTEMTIME t{};
    t.wDay = Jour;
    t.wMonth = MOIS;
    t.wYear = Année;
    tarko::platform::SetSystemTime(t);  // the status is not looked at
    return false;
}
