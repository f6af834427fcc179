#include "Vondrel/CMetry/Internals/BaseCalculator.h"

#include "Vondrel/Utilities/Exceptions/TraceGuard.h"

namespace Vondrel::CMetry {

Utilities::Tools::SmartPointer<VDSample> BaseCalculator::paperWhite;

void BaseCalculator::SetPaperWhitePointer(const Utilities::Tools::SmartPointer<VDSample>& sample)
{
    paperWhite = sample;
}

bool BaseCalculator::IsPaperWhiteSet() noexcept
{
    return paperWhite.IsValid();
}

const VDSample& BaseCalculator::GetPaperWhite()
try {
    return *paperWhite;
}
TRACE_GUARD("BaseCalculator", "GetPaperWhite")

bool BaseCalculator::GetPaperSpectrum(VDSpectrum& paper)
{
    return paperWhite.IsValid() && paperWhite->GetSpectrum(0, paper);
}

bool BaseCalculator::IsPaperWhiteValid(const VDMeasureConditions& /*conditions*/)
{
    VDSpectrum paper;
    return GetPaperSpectrum(paper) && paper.IsValid();
}

bool BaseCalculator::GetSpecBasedToPapWhite(VDSpectrum& spectrum)
{
    return GetSpecBasedToPapWhite(spectrum.GetMeasureConditions(), &spectrum[0]);
}

bool BaseCalculator::GetSpecBasedToPapWhite(const VDMeasureConditions& /*conditions*/, float* values)
{
    VDSpectrum paper;
    if (!GetPaperSpectrum(paper))
        return false;
    for (std::size_t i = 0; i < SpectrumGrid::NumberOfDataPoints; ++i)
        values[i] /= paper[i];
    return true;
}

}
