#include "Vondrel/DeviceDriver/GENERIC/Calculation/InternalDarkData.h"

#include "Vondrel/DeviceDriver/GENERIC/Calculation/Truncate.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"

namespace Vondrel::DeviceDriver::Generic::Calculation {

bool InternalDarkData::DataIsValid(const std::int32_t& limit) const
try {
    std::int64_t brightest = std::int64_t{limit} + Truncate(900.0 * GetIntegrationTime());
    if (GetGain() == 0)
        brightest *= 10;
    return BasicData::DataIsValid() && highestSensorValue < brightest;
}
TRACE_GUARD("InternalDarkData", "DataIsValid")

}
