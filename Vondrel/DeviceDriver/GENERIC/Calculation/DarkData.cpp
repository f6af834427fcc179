#include "Vondrel/DeviceDriver/GENERIC/Calculation/DarkData.h"

#include "Vondrel/Utilities/Exceptions/DeviceDriverException.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"

namespace Vondrel::DeviceDriver::Generic::Calculation {

void DarkData::SetBaseDark(const InternalDarkData& dark, bool set, bool element)
try {
    baseDarks[set][element] = dark;
}
TRACE_GUARD("DarkData", "SetBaseDark")

void DarkData::Interpolate(const std::int32_t& newGain, const float& time)
try {
    const bool set = newGain == 0;
    const auto& [first, second] = baseDarks[set];
    const double ratio = (double{time} - first.GetIntegrationTime()) / Divisor(set);

    const std::vector<float>& a = first.LoadData();
    const std::vector<float>& b = second.LoadData();
    if (a.size() != b.size())
        throw CalculationException("Unable to calculate (different vector size)",
                                   THROW_LOCATION("DarkData", "Interpolate"));
    std::vector<float> dark(a.size());
    for (std::size_t pixel = 0; pixel < dark.size(); ++pixel)
        dark[pixel] = static_cast<float>(a[pixel] + (double{b[pixel]} - a[pixel]) * ratio);

    SetSize(1);
    StoreData(dark);
    SetGain(newGain);
    SetIntegrationTime(time);
}
TRACE_GUARD("DarkData", "Interpolate")

double DarkData::Divisor(bool set) const
try {
    const auto& [first, second] = baseDarks[set];
    const double divisor = double{second.GetIntegrationTime()} - first.GetIntegrationTime();
    if (divisor == 0)
        throw CalculationException("Division by zero", THROW_LOCATION("DarkData", "Divisor"));
    return divisor;
}
TRACE_GUARD("DarkData", "Divisor")

}
