#pragma once

#include "Vondrel/Utilities/Tools/SmartPointer.h"

#include <cstdint>

namespace Vondrel::DeviceDriver::Generic::Utilities {

/// A moment as local time.
struct TimeRecord {
    std::uint16_t year;         ///< full year
    std::uint8_t month;         ///< 1 to 12
    std::uint8_t day;           ///< 1 to 31
    std::uint8_t hour;          ///< 0 to 23
    std::uint8_t minute;        ///< 0 to 59
    std::uint8_t second;        ///< 0 to 60
    std::uint16_t milliseconds; ///< 0 to 999
    std::int32_t timeStamp;     ///< seconds since 1970-01-01 UTC
};

/// The driver's clock, and its way to wait.
class Timing {
public:
    virtual ~Timing() = default;
    virtual Timing& operator=(const Timing&) { return *this; }

    /// Blocks the calling thread; zero and negative times return at once.
    virtual void DeviceDriverSleep(const std::int32_t& milliseconds) = 0;

    virtual TimeRecord GetActualTime() = 0;

    /// Whole seconds between a moment and now.
    virtual double GetDiffTime(const TimeRecord& since) = 0;

    /// Now, in seconds since 1970-01-01 UTC.
    virtual std::int32_t GetActualTimeStamp() = 0;
    virtual std::int32_t GetTimeStamp(const TimeRecord& record) = 0;
    virtual void SetTimeStamp(std::int32_t timeStamp, TimeRecord& record) = 0;

    /// A new object for each call.
    static Vondrel::Utilities::Tools::SmartPointer<Timing> Instance();

protected:
    Timing() = default;
    Timing(const Timing&) = default;
};

}
