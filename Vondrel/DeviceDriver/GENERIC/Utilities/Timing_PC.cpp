#include "Vondrel/DeviceDriver/GENERIC/Utilities/Timing_PC.h"

#include "Vondrel/Utilities/Exceptions/ExceptionAdapter.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"
#include "platform/Clock.h"

using Vondrel::Utilities::Exceptions::RuntimeException;
using Vondrel::Utilities::Tools::SmartPointer;

namespace Vondrel::DeviceDriver::Generic::Utilities {

namespace {

constexpr std::int64_t million = 1'000'000;

}

SmartPointer<Timing> Timing::Instance()
{
    return SmartPointer<Timing>(new Timing_PC);
}

void Timing_PC::DeviceDriverSleep(const std::int32_t& milliseconds)
{
    Platform::SleepMicroseconds(std::int64_t(milliseconds) * 1000);
}

TimeRecord Timing_PC::GetActualTime()
try {
    const std::int64_t now = Platform::NowMicroseconds();
    Platform::CalendarTime local{};
    if (!Platform::ToLocalTime(now / million, local))
        throw RuntimeException("no local time", THROW_LOCATION("Timing_PC", "GetActualTime"));
    return {static_cast<std::uint16_t>(local.year),
            static_cast<std::uint8_t>(local.month),
            static_cast<std::uint8_t>(local.day),
            static_cast<std::uint8_t>(local.hour),
            static_cast<std::uint8_t>(local.minute),
            static_cast<std::uint8_t>(local.second),
            static_cast<std::uint16_t>(now % million / 1000),
            static_cast<std::int32_t>(now / million)};
}
TRACE_GUARD("Timing_PC", "GetActualTime")

double Timing_PC::GetDiffTime(const TimeRecord& since)
{
    return static_cast<double>(GetActualTimeStamp()) - static_cast<double>(since.timeStamp);
}

std::int32_t Timing_PC::GetActualTimeStamp()
{
    return static_cast<std::int32_t>(Platform::NowMicroseconds() / million);
}

std::int32_t Timing_PC::GetTimeStamp(const TimeRecord& record)
{
    return record.timeStamp;
}

void Timing_PC::SetTimeStamp(std::int32_t timeStamp, TimeRecord& record)
{
    record.timeStamp = timeStamp;
}

}
