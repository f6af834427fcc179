#pragma once

#include "Vondrel/DeviceDriver/GENERIC/Utilities/Timing.h"

namespace Vondrel::DeviceDriver::Generic::Utilities {

/// The clock of the platform.
class Timing_PC : public Timing {
public:
    void DeviceDriverSleep(const std::int32_t& milliseconds) override;
    TimeRecord GetActualTime() override;
    double GetDiffTime(const TimeRecord& since) override;
    std::int32_t GetActualTimeStamp() override;
    std::int32_t GetTimeStamp(const TimeRecord& record) override;
    void SetTimeStamp(std::int32_t timeStamp, TimeRecord& record) override;
};

}
