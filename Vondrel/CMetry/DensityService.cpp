#include "Vondrel/CMetry/DensityService.h"

#include "Vondrel/CMetry/CMetryException.h"
#include "Vondrel/CMetry/Internals/SinglePrecision.h"
#include "Vondrel/CMetry/MeasureConditionTranslator.h"
#include "Vondrel/CMetry/VDSample.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"
#include "Vondrel/Utilities/Tools/LexicalCast.h"

#include <algorithm>
#include <cstddef>

using Vondrel::Utilities::Tools::lexical_cast;
using Vondrel::Utilities::Tools::SmartPointer;

namespace Vondrel::CMetry {

namespace {

/// Takes the calibration out of force, and puts it back whole: undefined conditions stand for all cells at once.
class CalibrationNeutralised {
public:
    explicit CalibrationNeutralised(const VDMeasureConditions& conditions)
    {
        DensityService::SetDensityCalibration(conditions, {}, {});
    }
    ~CalibrationNeutralised() { DensityCalculator::SetCalibration(saved); }
    CalibrationNeutralised(const CalibrationNeutralised&) = delete;
    CalibrationNeutralised& operator=(const CalibrationNeutralised&) = delete;

private:
    const DensityCalculator::Calibration saved = DensityCalculator::GetCalibration();
};

bool IsPaperRelative(const VDMeasureConditions& conditions)
{
    return conditions.GetWhiteBase() != WhiteBase::Absolute;
}

void CheckWhiteReference(const VDMeasureConditions& conditions, const char* method)
{
    const WhiteBase base = conditions.GetWhiteBase();
    if ((base == WhiteBase::Paper || base == WhiteBase::Automatic) && !BaseCalculator::IsPaperWhiteSet())
        throw CMetryException("Missing WhiteReference", THROW_LOCATION("DensityService", method));
}

/// The density in the channel of the conditions, or in a selected one where they name none.
float GetChannelDensity(const VDSpectrum& spectrum, const VDMeasureConditions& conditions, DensityFilterMode& channel)
{
    channel = conditions.GetDensityFilterMode();
    const bool automatic = channel < DensityFilterMode::Black || channel > DensityFilterMode::Yellow;
    float density = InvalidDensity;
    DensityCalculator::GetDensity(spectrum, conditions.GetDensityStandard(), IsPaperRelative(conditions), density,
                                  channel, automatic);
    return density;
}

/// 9.99 exactly is the sign of a failure, whoever gave it.
float CheckDensity(float density, const char* method)
{
    if (density == InvalidDensity)
        throw CMetryException("Calculation of Density failed", THROW_LOCATION("DensityService", method));
    return density;
}

}

float DensityService::GetDensity(const VDSpectrum& spectrum, const VDMeasureConditions& conditions)
try {
    CheckWhiteReference(conditions, "GetDensity");
    float density = InvalidDensity;
    if (conditions.GetDensityFilterMode() == DensityFilterMode::Max) {
        std::int16_t wavelength = 0;
        DensityCalculator::GetMaxDensity(spectrum, IsPaperRelative(conditions), density, wavelength);
    } else {
        DensityFilterMode channel;
        density = GetChannelDensity(spectrum, conditions, channel);
    }
    return CheckDensity(density, "GetDensity");
}
TRACE_GUARD("DensityService", "GetDensity")

std::string DensityService::GetDensityFilterName(const VDSpectrum& spectrum, const VDMeasureConditions& conditions)
try {
    CheckWhiteReference(conditions, "GetDensityFilterName");
    DensityFilterMode channel;
    CheckDensity(GetChannelDensity(spectrum, conditions, channel), "GetDensityFilterName");
    return MeasureConditionTranslator::ToString(channel);
}
TRACE_GUARD("DensityService", "GetDensityFilterName")

DensityService::FourChannels DensityService::GetDensities(const VDSpectrum& spectrum,
                                                          const VDMeasureConditions& conditions,
                                                          DensityFilterMode& channel)
try {
    CheckWhiteReference(conditions, "GetDensity");
    FourChannels densities;
    if (!DensityCalculator::GetCalibratedDensities(spectrum, conditions.GetDensityStandard(),
                                                   IsPaperRelative(conditions), densities))
        densities.fill(InvalidDensity);
    for (const float density : densities)
        CheckDensity(density, "GetDensity");
    channel = Formulas::SelectChannel(densities);
    return densities;
}
TRACE_GUARD("DensityService", "GetDensity")

void DensityService::SetPaperWhite(const VDSpectrum& spectrum)
try {
    const SmartPointer<VDSample> sample(new VDSample);
    sample->SetSpectrum(spectrum);
    BaseCalculator::SetPaperWhitePointer(sample);
}
TRACE_GUARD("DensityService", "SetPaperWhite")

float DensityService::GetDotGain(const VDSpectrum& solid, const VDSpectrum& tint, const VDMeasureConditions& conditions,
                                 float nominal)
try {
    const CalibrationNeutralised neutralised(conditions);
    float area = 0.0F;
    if (!DensityCalculator::GetDotArea(solid, tint, conditions.GetDensityStandard(), conditions.GetDensityFilterMode(),
                                       area))
        throw CMetryException("Calculation of dot gain failed", THROW_LOCATION("DensityService", "GetDotGain"));
    return Single(area * 100.0 - nominal);
}
TRACE_GUARD("DensityService", "GetDotGain")

float DensityService::GetSlur(const std::vector<VDSpectrum>& tints, const VDSpectrum& solid,
                              const VDMeasureConditions& conditions)
try {
    if (tints.size() < 2)
        return 0.0F;
    const CalibrationNeutralised neutralised(conditions);
    std::vector<float> areas(tints.size());
    for (std::size_t i = 0; i < tints.size(); ++i)
        if (!DensityCalculator::GetDotArea(solid, tints[i], conditions.GetDensityStandard(),
                                           conditions.GetDensityFilterMode(), areas[i]))
            throw CMetryException("Calculation of slur failed at Halftone " + lexical_cast<std::string>(i),
                                  THROW_LOCATION("DensityService", "GetSlur"));

    float sum = 0.0F;
    for (const float area : areas)
        sum += area;
    const double largest = *std::max_element(areas.begin(), areas.end());
    return Single((static_cast<double>(areas.size()) * largest - sum) * 100);
}
TRACE_GUARD("DensityService", "GetSlur")

void DensityService::SetUserdefinedFilter(const std::array<VDSpectrum, densityChannels>& spectra)
try {
    for (std::size_t channel = 0; channel < spectra.size(); ++channel)
        DensityFilter::SetUserDefinedFilter(spectra[channel].Values(), channel);
}
TRACE_GUARD("DensityService", "SetUserdefinedFilter")

std::array<VDSpectrum, densityChannels> DensityService::GetUserdefinedFilter()
try {
    std::array<VDSpectrum, densityChannels> spectra;
    for (std::size_t channel = 0; channel < spectra.size(); ++channel)
        spectra[channel] = VDSpectrum(DensityFilter::GetUserDefinedFilter(channel));
    return spectra;
}
TRACE_GUARD("DensityService", "GetUserdefinedFilter")

void DensityService::SetDensityCalibration(const VDMeasureConditions& conditions, const FourChannelsPointer& slope,
                                           const FourChannelsPointer& offset)
try {
    DensityCalculator::Calibration::Cell cell;
    if (slope.IsValid())
        cell.slope = *slope;
    if (offset.IsValid())
        cell.offset = *offset;

    auto calibration = DensityCalculator::GetCalibration();
    const auto row = static_cast<std::size_t>(conditions.GetPhysicalFilter());
    const auto column = static_cast<std::size_t>(conditions.GetDensityStandard());
    const bool allRows = conditions.GetPhysicalFilter() == PhysicalFilter::Undefined;
    const bool allColumns = conditions.GetDensityStandard() == DensityStandard::Undefined;
    for (std::size_t r = 0; r < calibration.cells.size(); ++r)
        for (std::size_t c = 0; c < calibration.cells[r].size(); ++c)
            if ((allRows || r == row) && (allColumns || c == column))
                calibration.cells[r][c] = cell;
    DensityCalculator::SetCalibration(calibration);
}
TRACE_GUARD("DensityService", "SetDensityCalibration")

void DensityService::GetDensityCalibration(const VDMeasureConditions& conditions, FourChannelsPointer& slope,
                                           FourChannelsPointer& offset)
try {
    const FourChannelsPointer newSlope(new FourChannels), newOffset(new FourChannels);
    const PhysicalFilter filter = conditions.GetPhysicalFilter();
    const DensityStandard standard = conditions.GetDensityStandard();
    if (!DensityCalculator::GetDensitySlope(filter, standard, *newSlope)
        || !DensityCalculator::GetDensityOffset(filter, standard, *newOffset))
        throw CMetryException("No density calibration for density standard "
                                  + MeasureConditionTranslator::ToString(standard),
                              THROW_LOCATION("DensityService", "GetDensityCalibration"));
    slope = newSlope;
    offset = newOffset;
}
TRACE_GUARD("DensityService", "GetDensityCalibration")

}
