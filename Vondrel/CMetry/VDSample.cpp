#include "Vondrel/CMetry/VDSample.h"

namespace Vondrel::CMetry {

bool VDSample::operator==(const VDSample& other) const
{
    return !spectra.empty() && !other.spectra.empty() && spectra.front() == other.spectra.front();
}

std::uint16_t VDSample::AddSample(const VDSample& other)
{
    auto added = other.spectra; // a copy first: the other may be this one
    spectra.splice(spectra.end(), added);
    return static_cast<std::uint16_t>(spectra.size());
}

void VDSample::SetSpectrum(const VDSpectrum& spectrum)
{
    spectra.push_back(spectrum);
}

bool VDSample::GetSpectrum(std::int32_t /*selector*/, VDSpectrum& result) const
{
    if (spectra.empty())
        return false;
    result = spectra.front();
    return true;
}

}
