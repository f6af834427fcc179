#include "Vondrel/DeviceDriver/GENERIC/Utilities/Timing.h"
#include "Vondrel/Utilities/Tools/DateTime.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>

using Vondrel::DeviceDriver::Generic::Utilities::TimeRecord;
using Vondrel::DeviceDriver::Generic::Utilities::Timing;
using Vondrel::Utilities::Tools::DateTime;

namespace {

class Zone {
public:
    explicit Zone(const char* zone) { Set(zone); }
    ~Zone() { Set("UTC"); }

private:
    static void Set(const char* zone)
    {
        ::setenv("TZ", zone, 1);
        ::tzset();
    }
};

constexpr const char* centralEurope = "CET-1CEST,M3.5.0,M10.5.0/3";

}

TEST(DateTime, WritesLocalTimeByItsFormats)
{
    DateTime moment(1044072306); // 2003-02-01 04:05:06 UTC
    EXPECT_EQ(moment.GetDateTime(), "2003-02-01/04:05:06");
    EXPECT_EQ(moment.GetDate(), "2003-02-01");
    EXPECT_EQ(moment.GetTime(), "04:05:06");
    moment.SetDateFormat("%d.%m.%y");
    EXPECT_EQ(moment.GetDate(), "01.02.03");
    moment.SetTimeFormat(std::string(63, 'x'));
    EXPECT_EQ(moment.GetTime().size(), 63U);
    moment.SetTimeFormat(std::string(64, 'x'));
    EXPECT_EQ(moment.GetTime(), "");
    EXPECT_EQ(DateTime(0).GetDateTime(), "");
    EXPECT_EQ(DateTime("yesterday").GetDate(), "");
    const Zone zone(centralEurope);
    EXPECT_EQ(moment.GetDateTime(), "2003-02-01/05:05:06");
    EXPECT_EQ(DateTime(1057017600).GetDateTime(), "2003-07-01/02:00:00"); // 00:00 UTC, in summer
    // A text is in the zone's standard time in summer too.
    EXPECT_EQ(DateTime("2003-02-01/04:05:06").GetLongTime(), 1044072306 - 3600);
    EXPECT_EQ(DateTime("2003-07-01/04:05:06").GetDateTime(), "2003-07-01/05:05:06");
}

TEST(DateTime, ReadsTheFixedForm)
{
    constexpr std::int32_t refused = 7;
    const std::pair<const char*, std::int32_t> cases[] = {
        {"2003-02-01/04:05:06", 1044072306},
        {"2003-2-1/4:5:6", 1044072306},
        {"2002-14-01/04:05:06", 1044072306}, // fields carry over
        {"2003-02-01/04:05:06 o'clock", 1044072306},
        {"1969-12-31/23:59:59", 0}, // -1 means failure to the calendar
        {"2038-01-19/03:14:07", 2147483647},
        {"2038-01-19/03:14:08", 0}, // not to be held in 32 bits
        {"-2147483648-01-01/00:00:00", refused},
        {"", refused},
        {"2003-02-01", refused},
        {"2003-02/04:05:06", refused},
        {"2003-02-01/04:05:", refused},
        {"2003-02-01/04:05:06:07", refused},
        {"2003-02-01-01/04:05:06", refused},
        {"2003-xx-01/04:05:06", refused},
    };
    for (const auto& [text, seconds] : cases) {
        DateTime moment(refused);
        moment.SetDateTimeFormat("%y");
        EXPECT_EQ(seconds != refused, moment.SetDateTime(text)) << text;
        EXPECT_EQ(seconds, moment.GetLongTime()) << text;
    }
}

TEST(DateTime, ComparesSecondsOnly)
{
    DateTime early(100);
    const DateTime late(200);
    early.SetDateFormat("%d");
    EXPECT_TRUE(early < late && early <= late && late > early && late >= early && early != late && !(early == late));
    EXPECT_FALSE(early > late || early >= late || late < early || late <= early);
    early.SetLongTime(200);
    EXPECT_TRUE(early == late && early <= late && early >= late && !(early != late));
    EXPECT_FALSE(early < late || early > late);
}

TEST(Timing, TellsTheTimeAndTheDifference)
{
    const auto timing = Timing::Instance();
    const Zone zone("XYZ-5");
    const std::int64_t before = std::time(nullptr);
    TimeRecord now = timing->GetActualTime();
    EXPECT_LE(before, now.timeStamp);
    EXPECT_LE(now.timeStamp, timing->GetActualTimeStamp());
    EXPECT_LE(now.timeStamp, DateTime().GetLongTime());
    EXPECT_LE(DateTime().GetLongTime(), std::time(nullptr));
    EXPECT_LT(now.milliseconds, 1000);
    char text[40];
    std::snprintf(text, sizeof text, "%04d-%02d-%02d/%02d:%02d:%02d", now.year, now.month, now.day, now.hour,
                  now.minute, now.second);
    EXPECT_EQ(DateTime(now.timeStamp).GetDateTime(), text);
    EXPECT_NEAR(0.0, timing->GetDiffTime(now), 60.0);
    timing->SetTimeStamp(now.timeStamp - 1000, now);
    EXPECT_EQ(now.timeStamp, timing->GetTimeStamp(now));
    EXPECT_NEAR(1000.0, timing->GetDiffTime(now), 60.0);

    const auto start = std::chrono::steady_clock::now();
    timing->DeviceDriverSleep(-5);
    timing->DeviceDriverSleep(20);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(20));
}
