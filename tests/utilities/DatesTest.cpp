#include "Vondrel/DeviceDriver/GENERIC/Utilities/Timing.h"
#include "Vondrel/Utilities/Tools/DateTime.h"

#include <gtest/gtest.h>

#include <chrono>
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
    EXPECT_EQ("2003-02-01/04:05:06", moment.GetDateTime());
    EXPECT_EQ("2003-02-01", moment.GetDate());
    EXPECT_EQ("04:05:06", moment.GetTime());
    moment.SetDateFormat("%d.%m.%y");
    EXPECT_EQ("01.02.03", moment.GetDate());
    moment.SetTimeFormat(std::string(63, 'x'));
    EXPECT_EQ(63U, moment.GetTime().size());
    moment.SetTimeFormat(std::string(64, 'x'));
    EXPECT_EQ("", moment.GetTime());

    const Zone zone(centralEurope);
    EXPECT_EQ("2003-02-01/05:05:06", moment.GetDateTime());
    EXPECT_EQ("2003-07-01/02:00:00", DateTime(1057017600).GetDateTime()); // 00:00 UTC, in summer
}

TEST(DateTime, HasNoTextWithoutATime)
{
    EXPECT_EQ("", DateTime(0).GetDateTime());
    EXPECT_EQ("", DateTime("yesterday").GetDate());
}

TEST(DateTime, ReadsTheFixedForm)
{
    const struct {
        const char* text;
        bool isTaken;
        std::int32_t seconds;
    } cases[] = {
        {"2003-02-01/04:05:06", true, 1044072306},
        {"2003-2-1/4:5:6", true, 1044072306},
        {"2002-14-01/04:05:06", true, 1044072306}, // fields carry over
        {"2003-02-01/04:05:06 o'clock", true, 1044072306},
        {"1969-12-31/23:59:59", true, 0}, // -1 means failure to the calendar
        {"2038-01-19/03:14:07", true, 2147483647},
        {"2038-01-19/03:14:08", true, 0}, // not to be held in 32 bits
        {"-2147483648-01-01/00:00:00", false, 7},
        {"", false, 7},
        {"2003-02-01", false, 7},
        {"2003-02/04:05:06", false, 7},
        {"2003-02-01/04:05", false, 7},
        {"2003-02-01/04:05:", false, 7},
        {"2003-02-01/04:05:06:07", false, 7},
        {"2003-02-01-01/04:05:06", false, 7},
        {"2003-xx-01/04:05:06", false, 7},
    };
    for (const auto& c : cases) {
        DateTime moment(7);
        moment.SetDateTimeFormat("%y");
        EXPECT_EQ(c.isTaken, moment.SetDateTime(c.text)) << c.text;
        EXPECT_EQ(c.seconds, moment.GetLongTime()) << c.text;
    }
}

TEST(DateTime, ReadsTheZonesStandardTimeInSummerToo)
{
    const Zone zone(centralEurope);
    EXPECT_EQ(1044072306 - 3600, DateTime("2003-02-01/04:05:06").GetLongTime());
    EXPECT_EQ("2003-02-01/04:05:06", DateTime("2003-02-01/04:05:06").GetDateTime());
    EXPECT_EQ("2003-07-01/05:05:06", DateTime("2003-07-01/04:05:06").GetDateTime());
}

TEST(DateTime, ComparesSecondsOnly)
{
    DateTime early(100);
    const DateTime late(200);
    early.SetDateFormat("%d");
    EXPECT_TRUE(early < late && early <= late && late > early && late >= early && early != late);
    early.SetLongTime(200);
    EXPECT_TRUE(early == late && early <= late && early >= late);
    const std::time_t before = std::time(nullptr);
    EXPECT_GE(DateTime().GetLongTime(), before);
}

TEST(Timing, TellsTheTimeAndTheDifference)
{
    const auto timing = Timing::Instance();
    const Zone zone("XYZ-5");
    const auto wallClock = [] {
        using namespace std::chrono;
        return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
    };
    const std::int64_t before = wallClock();
    TimeRecord now = timing->GetActualTime();
    const std::int64_t told = std::int64_t{now.timeStamp} * 1000 + now.milliseconds;
    EXPECT_LE(before, told);
    EXPECT_LE(told, wallClock());
    EXPECT_GE(timing->GetActualTimeStamp(), now.timeStamp);
    const std::time_t moment = now.timeStamp;
    std::tm parts{};
    ::localtime_r(&moment, &parts);
    EXPECT_EQ(parts.tm_year + 1900, now.year);
    EXPECT_EQ(parts.tm_mon + 1, now.month);
    EXPECT_EQ(parts.tm_mday, now.day);
    EXPECT_EQ(parts.tm_hour, now.hour);
    EXPECT_EQ(parts.tm_min, now.minute);
    EXPECT_EQ(parts.tm_sec, now.second);
    EXPECT_LT(now.milliseconds, 1000);

    EXPECT_NEAR(0.0, timing->GetDiffTime(now), 60.0);
    timing->SetTimeStamp(now.timeStamp - 1000, now);
    EXPECT_NEAR(1000.0, timing->GetDiffTime(now), 60.0);
}

TEST(Timing, SleepsAtLeastItsTime)
{
    const auto timing = Timing::Instance();
    const auto start = std::chrono::steady_clock::now();
    timing->DeviceDriverSleep(-5);
    timing->DeviceDriverSleep(20);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(20));
}
