#include "Vondrel/CMetry/VDSpectrum.h"

#include "Vondrel/CMetry/CMetryException.h"
#include "Vondrel/Utilities/Exceptions/Location.h"

#include <algorithm>

namespace Vondrel::CMetry {

VDSpectrum::VDSpectrum(const std::vector<float>& values_, const VDMeasureConditions& conditions)
    : measureConditions(conditions)
{
    if (values_.size() < values.size())
        throw CMetryException("A spectrum takes 36 values", THROW_LOCATION("VDSpectrum", "VDSpectrum"));
    std::copy_n(values_.begin(), values.size(), values.begin());
}

VDSpectrum::VDSpectrum(const float* values_, const VDMeasureConditions& conditions) : measureConditions(conditions)
{
    std::copy_n(values_, values.size(), values.begin());
}

bool VDSpectrum::IsValid() const noexcept
{
    return std::any_of(values.begin(), values.end(), [](float value) { return value > 0.0F; });
}

std::size_t VDSpectrum::GetArrayIndex(std::int16_t wavelength) noexcept
{
    if (wavelength < SpectrumGrid::MinWavelength || wavelength > SpectrumGrid::MaxWavelength)
        return 0;
    return static_cast<std::size_t>((wavelength - SpectrumGrid::MinWavelength) / SpectrumGrid::StepSize);
}

std::int16_t VDSpectrum::GetWaveLength(std::size_t index) noexcept
{
    if (index >= SpectrumGrid::NumberOfDataPoints)
        return 0;
    return static_cast<std::int16_t>(SpectrumGrid::MinWavelength + index * SpectrumGrid::StepSize);
}

}
