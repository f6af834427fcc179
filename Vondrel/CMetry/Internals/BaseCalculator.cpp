#include "Vondrel/CMetry/Internals/BaseCalculator.h"

#include "Vondrel/Utilities/Exceptions/TraceGuard.h"

namespace Vondrel::CMetry {

namespace {

// Never destroyed: calls may come while the process ends.
Utilities::Tools::SmartPointer<VDSample>& PaperWhite()
{
    static auto& sample = *new Utilities::Tools::SmartPointer<VDSample>;
    return sample;
}

}

void BaseCalculator::SetPaperWhitePointer(const Utilities::Tools::SmartPointer<VDSample>& sample)
{
    PaperWhite() = sample;
}

bool BaseCalculator::IsPaperWhiteSet() noexcept
{
    return PaperWhite().IsValid();
}

const VDSample& BaseCalculator::GetPaperWhite()
try {
    return *PaperWhite();
}
TRACE_GUARD("BaseCalculator", "GetPaperWhite")

const VDSpectrum* BaseCalculator::FindPaper()
{
    return PaperWhite().IsValid() ? PaperWhite()->FindSpectrum() : nullptr;
}

const float* BaseCalculator::GetPaperValues()
{
    const VDSpectrum* const paper = FindPaper();
    return paper == nullptr ? nullptr : paper->Values().data();
}

bool BaseCalculator::IsPaperWhiteValid(const VDMeasureConditions& /*conditions*/)
{
    const VDSpectrum* const paper = FindPaper();
    return paper != nullptr && paper->IsValid();
}

bool BaseCalculator::GetSpecBasedToPapWhite(VDSpectrum& spectrum)
{
    return GetSpecBasedToPapWhite(spectrum.GetMeasureConditions(), &spectrum[0]);
}

bool BaseCalculator::GetSpecBasedToPapWhite(const VDMeasureConditions& /*conditions*/, float* values)
{
    const float* const paper = GetPaperValues();
    for (std::size_t i = 0; paper != nullptr && i < SpectrumGrid::NumberOfDataPoints; ++i)
        values[i] /= paper[i];
    return paper != nullptr;
}

}
