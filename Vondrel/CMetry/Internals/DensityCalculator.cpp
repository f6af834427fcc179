#include "Vondrel/CMetry/Internals/DensityCalculator.h"

#include "Vondrel/CMetry/Internals/SinglePrecision.h"
#include "Vondrel/CMetry/VDSpectrum.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"

#include <cmath>
#include <cstring>

namespace Vondrel::CMetry {

namespace {

bool IsStandard(DensityStandard standard)
{
    return standard >= DensityStandard::DIN && standard <= DensityStandard::User;
}

bool IsChannel(DensityFilterMode mode)
{
    return mode >= DensityFilterMode::Black && mode <= DensityFilterMode::Yellow;
}

bool IsMeasuredByChannel(DensityFilterMode mode)
{
    return IsChannel(mode) || mode == DensityFilterMode::Auto;
}

DensityCalculator::Calibration::Cell* FindCell(DensityCalculator::Calibration& calibration, PhysicalFilter filter,
                                               DensityStandard standard)
{
    const auto row = static_cast<std::size_t>(filter);
    if (row >= DensityCalculator::Calibration::filters || !IsStandard(standard))
        return nullptr;
    return &calibration.cells[row][static_cast<std::size_t>(standard)];
}

float DotArea(float solid, float tint, float n)
{
    const float full = Single(1.0 - std::pow(10.0, static_cast<double>(-solid) / n));
    if (std::abs(full) < noDensity)
        return 0.0F;
    return Single((1.0 - std::pow(10.0, static_cast<double>(-tint) / n)) / full);
}

float Contrast(float solid, float tint)
{
    return std::abs(solid) < noDensity ? 0.0F : Single((static_cast<double>(solid) - tint) / solid);
}

float Trapping(float first, float second, float overprint)
{
    return std::abs(second) < noDensity ? 1.0F : Single((static_cast<double>(overprint) - first) / second);
}

/// The highest density of a spectrum, and that of others at the same wavelength.
class MaximumOfSpectrum {
public:
    bool Find(const VDSpectrum& spectrum, bool paperRelative_)
    {
        paperRelative = paperRelative_;
        std::int16_t wavelength = 0;
        if (!DensityCalculator::GetMaxDensity(spectrum, paperRelative, density, wavelength))
            return false;
        index = VDSpectrum::GetArrayIndex(wavelength);
        return true;
    }

    bool GetSame(const VDSpectrum& spectrum, float& value) const
    {
        DensityCalculator::Values densities;
        if (!DensityCalculator::GetDensitySpectrum(spectrum, paperRelative, densities))
            return false;
        value = densities[index];
        return true;
    }

    float Get() const { return density; }

private:
    bool paperRelative = false;
    float density = InvalidDensity;
    std::size_t index = 0;
};

/// The densities of a solid and its tint, in a channel or at the maximum of the solid.
bool GetSolidAndTint(const VDSpectrum& solid, const VDSpectrum& tint, DensityStandard standard, bool paperRelative,
                     DensityFilterMode channel, float& solidDensity, float& tintDensity)
{
    if (channel == DensityFilterMode::Max) {
        MaximumOfSpectrum maximum;
        if (!maximum.Find(solid, paperRelative) || !maximum.GetSame(tint, tintDensity))
            return false;
        solidDensity = maximum.Get();
        return true;
    }
    VDDensity ofSolid, ofTint;
    if (!IsMeasuredByChannel(channel)
        || !DensityCalculator::GetDensityVectorWithSlope(solid, standard, paperRelative, ofSolid)
        || !DensityCalculator::GetDensityVectorWithSlope(tint, standard, paperRelative, ofTint))
        return false;
    solidDensity = ofSolid.GetDensity(channel);
    tintDensity = ofTint.GetDensity(channel);
    return true;
}

bool GetSorted(const VDSpectrum& spectrum, DensityStandard standard, bool paperRelative, bool withSlope,
               std::array<float, 3>& sorted)
{
    VDDensity density;
    const bool done = withSlope
        ? DensityCalculator::GetDensityVectorWithSlope(spectrum, standard, paperRelative, density)
        : DensityCalculator::GetDensityVector(spectrum, standard, paperRelative, density);
    if (done)
        DensityCalculator::SortColorDensities(density, sorted);
    return done;
}

}

DensityFilter DensityCalculator::actDensityStdFilter;
DensityCalculator::Calibration DensityCalculator::calibration;

void DensityCalculator::InitializeDensityCalibration()
{
    calibration = Calibration();
}

DensityCalculator::Calibration DensityCalculator::GetCalibration()
{
    return calibration;
}

void DensityCalculator::SetCalibration(const Calibration& other)
{
    calibration = other;
}

bool DensityCalculator::ResetDensityCalibration(PhysicalFilter filter, DensityStandard standard)
{
    auto* cell = FindCell(calibration, filter, standard);
    if (cell != nullptr)
        *cell = Calibration::Cell();
    return cell != nullptr;
}

bool DensityCalculator::GetDensitySlope(PhysicalFilter filter, DensityStandard standard, FourChannels& slope)
{
    const auto* cell = FindCell(calibration, filter, standard);
    if (cell != nullptr)
        slope = cell->slope;
    return cell != nullptr;
}

bool DensityCalculator::SetDensitySlope(PhysicalFilter filter, DensityStandard standard, const FourChannels& slope)
{
    auto* cell = FindCell(calibration, filter, standard);
    if (cell != nullptr)
        cell->slope = slope;
    return cell != nullptr;
}

bool DensityCalculator::GetDensityOffset(PhysicalFilter filter, DensityStandard standard, FourChannels& offset)
{
    const auto* cell = FindCell(calibration, filter, standard);
    if (cell != nullptr)
        offset = cell->offset;
    return cell != nullptr;
}

bool DensityCalculator::SetDensityOffset(PhysicalFilter filter, DensityStandard standard, const FourChannels& offset)
{
    auto* cell = FindCell(calibration, filter, standard);
    if (cell != nullptr)
        cell->offset = offset;
    return cell != nullptr;
}

DensityFilter& DensityCalculator::GetActDensityStdFilter()
{
    return actDensityStdFilter;
}

DensityCalculator::FourChannels DensityCalculator::GetPaperDensities(DensityStandard standard)
{
    // Those of the last paper and standard are kept, by the values, whoever set them. User curves may change.
    static VDSpectrum::ValueArray paper{};
    static DensityStandard ofStandard = DensityStandard::Undefined;
    static FourChannels densities;
    const auto& values = FindPaper()->Values();
    if (ofStandard != standard || standard == DensityStandard::User
        || std::memcmp(paper.data(), values.data(), sizeof paper) != 0) {
        densities = Formulas::GetDensities(actDensityStdFilter.GetCurves(), values.data());
        paper = values;
        ofStandard = standard;
    }
    return densities;
}

bool DensityCalculator::GetFourDensities(const VDSpectrum& spectrum, DensityStandard standard, bool paperRelative,
                                         FourChannels& densities)
{
    if (!IsStandard(standard) || (paperRelative && !IsPaperWhiteValid(spectrum.GetMeasureConditions())))
        return false;
    actDensityStdFilter.SetDensityStandard(standard);
    densities = Formulas::GetDensities(actDensityStdFilter.GetCurves(), spectrum.Values().data());
    if (paperRelative) {
        const FourChannels ofPaper = GetPaperDensities(standard);
        for (std::size_t channel = 0; channel < densities.size(); ++channel)
            densities[channel] -= ofPaper[channel];
    }
    return true;
}

bool DensityCalculator::GetDensityVector(const VDSpectrum& spectrum, DensityStandard standard, bool paperRelative,
                                         VDDensity& density)
try {
    FourChannels densities;
    if (!GetFourDensities(spectrum, standard, paperRelative, densities))
        return false;
    density = VDDensity(densities, spectrum.GetMeasureConditions(), standard, {});
    return true;
}
TRACE_GUARD("DensityCalculator", "GetDensityVector")

bool DensityCalculator::GetCalibratedDensities(const VDSpectrum& spectrum, DensityStandard standard, bool paperRelative,
                                               FourChannels& densities)
try {
    const auto* cell = FindCell(calibration, spectrum.GetMeasureConditions().GetPhysicalFilter(), standard);
    if (cell == nullptr || !GetFourDensities(spectrum, standard, paperRelative, densities))
        return false;
    for (std::size_t channel = 0; channel < densities.size(); ++channel)
        densities[channel] =
            Accumulate(paperRelative ? 0.0F : cell->offset[channel], densities[channel], cell->slope[channel]);
    return true;
}
TRACE_GUARD("DensityCalculator", "GetDensityVectorWithSlope")

bool DensityCalculator::GetDensityVectorWithSlope(const VDSpectrum& spectrum, DensityStandard standard,
                                                  bool paperRelative, VDDensity& density)
{
    FourChannels densities;
    if (!GetCalibratedDensities(spectrum, standard, paperRelative, densities))
        return false;
    density = VDDensity(densities, spectrum.GetMeasureConditions(), standard, {});
    return true;
}

bool DensityCalculator::GetDensity(const VDSpectrum& spectrum, DensityStandard standard, bool paperRelative,
                                   float& value, DensityFilterMode& channel, bool automatic)
try {
    FourChannels densities;
    if ((!automatic && !IsChannel(channel)) || !GetCalibratedDensities(spectrum, standard, paperRelative, densities)) {
        value = InvalidDensity;
        channel = DensityFilterMode::Undefined;
        return false;
    }
    if (automatic)
        channel = Formulas::SelectChannel(densities);
    value = densities[static_cast<std::size_t>(channel)];
    return true;
}
TRACE_GUARD("DensityCalculator", "GetDensity")

DensityFilterMode DensityCalculator::GetDensityFilter(const VDDensity& density)
{
    return Formulas::SelectChannel(density.GetAllDensities());
}

void DensityCalculator::SortColorDensities(const VDDensity& density, std::array<float, 3>& sorted)
{
    sorted = Formulas::SortColors(density.GetAllDensities());
}

bool DensityCalculator::GetDensitySpectrum(const VDSpectrum& spectrum, bool paperRelative, Values& values)
try {
    if (!GetRelative(spectrum, paperRelative, values))
        return false;
    for (float& value : values)
        value = Formulas::ToDensity(value);
    return true;
}
TRACE_GUARD("DensityCalculator", "GetDensitySpectrum")

bool DensityCalculator::GetMaxDensity(const VDSpectrum& spectrum, bool paperRelative, float& density,
                                      std::int16_t& wavelength)
try {
    Values values;
    const auto maximum =
        GetRelative(spectrum, paperRelative, values) ? Formulas::FindMaximum(values.data()) : MaximumDensity();
    density = maximum.density;
    wavelength = maximum.found ? VDSpectrum::GetWaveLength(maximum.index) : std::int16_t{0};
    return maximum.found;
}
TRACE_GUARD("DensityCalculator", "GetMaxDensity")

bool DensityCalculator::GetRelative(const VDSpectrum& spectrum, bool paperRelative, Values& values)
{
    values = spectrum.Values();
    return !paperRelative
        || (IsPaperWhiteValid(spectrum.GetMeasureConditions())
            && GetSpecBasedToPapWhite(spectrum.GetMeasureConditions(), values.data()));
}

bool DensityCalculator::GetDotArea(const VDSpectrum& solid, const VDSpectrum& tint, DensityStandard standard,
                                   DensityFilterMode channel, float n, float& area)
try {
    float solidDensity = 0.0F, tintDensity = 0.0F;
    if (!(n > 0.0F) || !GetSolidAndTint(solid, tint, standard, true, channel, solidDensity, tintDensity))
        return false;
    area = DotArea(solidDensity, tintDensity, n);
    return true;
}
TRACE_GUARD("DensityCalculator", "GetDotArea")

bool DensityCalculator::GetDotArea(const VDSpectrum& solid, const VDSpectrum& tint, DensityStandard standard,
                                   DensityFilterMode channel, float& area)
{
    return GetDotArea(solid, tint, standard, channel, 1.0F, area);
}

bool DensityCalculator::GetContrast(const VDSpectrum& solid, const VDSpectrum& tint, DensityStandard standard,
                                    bool paperRelative, DensityFilterMode channel, float& contrast)
try {
    float solidDensity = 0.0F, tintDensity = 0.0F;
    if (!GetSolidAndTint(solid, tint, standard, paperRelative, channel, solidDensity, tintDensity))
        return false;
    contrast = Contrast(solidDensity, tintDensity);
    return true;
}
TRACE_GUARD("DensityCalculator", "GetContrast")

bool DensityCalculator::GetTrapping(const VDSpectrum& first, const VDSpectrum& second, const VDSpectrum& overprint,
                                    DensityStandard standard, DensityFilterMode channel, float& trapping)
try {
    if (channel == DensityFilterMode::Max) {
        MaximumOfSpectrum maximum;
        float ofFirst = 0.0F, ofOverprint = 0.0F;
        if (!maximum.Find(second, true) || !maximum.GetSame(first, ofFirst) || !maximum.GetSame(overprint, ofOverprint))
            return false;
        trapping = Trapping(ofFirst, maximum.Get(), ofOverprint);
        return true;
    }
    VDDensity ofFirst, ofSecond, ofOverprint;
    return GetDensityVectorWithSlope(first, standard, true, ofFirst)
        && GetDensityVectorWithSlope(second, standard, true, ofSecond)
        && GetDensityVectorWithSlope(overprint, standard, true, ofOverprint)
        && GetTrapping(ofFirst, ofSecond, ofOverprint, channel, trapping);
}
TRACE_GUARD("DensityCalculator", "GetTrapping")

bool DensityCalculator::GetTrapping(const VDDensity& first, const VDDensity& second, const VDDensity& overprint,
                                    DensityFilterMode channel, float& trapping)
try {
    if (!IsMeasuredByChannel(channel) && channel != DensityFilterMode::Max)
        return false;
    trapping = Trapping(first.GetDensity(channel), second.GetDensity(channel), overprint.GetDensity(channel));
    return true;
}
TRACE_GUARD("DensityCalculator", "GetTrapping")

bool DensityCalculator::GetGreyness(const VDSpectrum& spectrum, DensityStandard standard, bool paperRelative,
                                    float& greyness, bool withSlope)
try {
    std::array<float, 3> sorted;
    if (!GetSorted(spectrum, standard, paperRelative, withSlope, sorted))
        return false;
    greyness = Formulas::LowestOverHighest(sorted);
    return true;
}
TRACE_GUARD("DensityCalculator", "GetGreyness")

bool DensityCalculator::GetHueError(const VDSpectrum& spectrum, DensityStandard standard, bool paperRelative,
                                    float& error, bool withSlope)
try {
    std::array<float, 3> sorted;
    if (!GetSorted(spectrum, standard, paperRelative, withSlope, sorted))
        return false;
    const bool none = std::abs(sorted[0]) < noDensity || sorted[0] == sorted[2];
    const double high = sorted[0], middle = sorted[1], low = sorted[2];
    error = none ? 0.0F : Single((middle - low) / (high - low));
    return true;
}
TRACE_GUARD("DensityCalculator", "GetHueError")

}
