// ztimer: a stopwatch in whole seconds on the runtime's Timer (seconds since
// midnight), a minutes:seconds text, and a setter for the system date.
//
// Stop_Timer rounds Timer half to even and adds one second when the last two
// characters of Timer's text (seven significant digits), read as a number,
// exceed 80: a Timer of 10.85 stops at 12. Across midnight the duration is
// negative; nothing guards it.
#pragma once

#include <string>

#include "runtime/numeric.h"
#include "runtime/variant.h"

class ztimer {
public:
    void Start_Timer();
    void Stop_Timer();
    // stop - start; 0 before any start or stop.
    tarko::Long Timer_Duration() const;
    // putstring(Int(d / 60), d Mod 60): 75 s gives "1:15", 0 s "0:00".
    std::string DURATION() const;
    // Minutes then seconds, digit by digit from a table of 0..9: a tens digit
    // above 9 (or anything outside the table) gives nothing, so 123 minutes read
    // "3". Seconds below 10 get ":0" and their digit. 3 and 7 give "3:07".
    std::string putstring(const tarko::Variant& X1, const tarko::Variant& x2) const;
    // Asks the platform to set the date (time of day 00:00:00) and always gives
    // False, whatever the platform did.
    bool SETsytemDate(tarko::Integer Jour, tarko::Integer MOIS, tarko::Integer Année);

private:
    tarko::Long TimeStart = 0;
    tarko::Long TimeStop = 0;
};
