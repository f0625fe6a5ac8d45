// ztimer: whole seconds from Timer, the "last two characters" rule, the
// digit-table text and the date setter (through a recording setter only).
#include "engine/ztimer.h"

#include <gtest/gtest.h>

#include <vector>

#include "platform/base/system_time.h"
#include "runtime/errors.h"
#include "runtime/services.h"

namespace {

class Stopwatch : public ::testing::Test {
protected:
    tarko::runtime::ScopedTestServices services;
    ztimer watch;
    // Timer reads midnight_offset_s + now / 1000.
    void at(double seconds) {
        services.clock().now = 0;
        services.clock().midnight_offset_s = seconds;
    }
};

TEST_F(Stopwatch, StopAddsASecondWhenTheTextEndsAbove80) {
    EXPECT_EQ(watch.DURATION(), "0:00");  // nothing started or stopped
    struct Row {
        double timer;
        long duration;
    };
    const Row rows[] = {
        {10.85, 12},     // "10.85": rounds to 11, and 85 > 80 gives 12
        {45296, 45297},  // "45296": 96 > 80, so a whole second is added too
        {12.5, 12},      // half to even: 12; ".5" reads 0.5
    };
    for (const auto& r : rows) {
        at(r.timer);
        watch.Stop_Timer();
        EXPECT_EQ(watch.Timer_Duration(), r.duration) << r.timer;
    }
}

TEST_F(Stopwatch, SeventyFiveSecondsReadOneFifteen) {
    at(100);
    watch.Start_Timer();
    services.clock().advance(75000);  // Timer 175: "175", 75 is not above 80
    watch.Stop_Timer();
    EXPECT_EQ(watch.Timer_Duration(), 75);
    EXPECT_EQ(watch.DURATION(), "1:15");
}

TEST_F(Stopwatch, AcrossMidnightTheDurationGoesNegative) {
    at(86390);
    watch.Start_Timer();
    services.clock().advance(20000);  // Timer wraps to 10
    watch.Stop_Timer();
    EXPECT_EQ(watch.Timer_Duration(), 10 - 86390);
    // Int(-86380 / 60) = -1440 and -86380 Mod 60 = -40: neither is in the
    // digit table, so only the separator is left.
    EXPECT_EQ(watch.DURATION(), ":0");
}

TEST(PutString, DigitsComeFromATableOfTen) {
    ztimer w;
    EXPECT_EQ(w.putstring(3.0, 7.0), "3:07");
    EXPECT_EQ(w.putstring(123.0, 5.0), "3:05");  // tens 12 have no entry
    EXPECT_EQ(w.putstring(tarko::Variant("4"), tarko::Variant()), "4:00");
    EXPECT_THROW(w.putstring(tarko::Variant("four"), 0.0), tarko::RuntimeError);
}

TEST(SystemDate, AsksForMidnightOfThatDayAndAlwaysSaysFalse) {
    std::vector<SYSTEMTIME> asked;
    const auto previous = tarko::platform::set_system_time_setter([&](const SYSTEMTIME& t) {
        asked.push_back(t);
        return true;
    });
    ztimer w;
    EXPECT_FALSE(w.SETsytemDate(14, 7, 2003));
    EXPECT_FALSE(w.SETsytemDate(31, 2, 2003));  // passed on as it is
    tarko::platform::set_system_time_setter(previous);
    ASSERT_EQ(asked.size(), 2u);
    const auto& t = asked[0];
    EXPECT_EQ((std::vector<int>{t.wDay, t.wMonth, t.wYear, t.wHour, t.wMinute, t.wSecond, t.wMilliseconds,
                                t.wDayOfWeek}),
              (std::vector<int>{14, 7, 2003, 0, 0, 0, 0, 0}));
    EXPECT_EQ(asked[1].wDay, 31);
}

TEST(SystemDate, ValidityOfDates) {
    using tarko::platform::valid_system_time;
    auto date = [](int d, int m, int y) {
        SYSTEMTIME t{};
        t.wDay = static_cast<std::int16_t>(d);
        t.wMonth = static_cast<std::int16_t>(m);
        t.wYear = static_cast<std::int16_t>(y);
        return t;
    };
    EXPECT_TRUE(valid_system_time(date(29, 2, 2000)));   // divisible by 400
    EXPECT_FALSE(valid_system_time(date(29, 2, 1900)));  // by 100 only
    EXPECT_FALSE(valid_system_time(date(31, 4, 2024)));
    EXPECT_FALSE(valid_system_time(date(-1, -1, -1)));
}

}  // namespace
