// The calls that give densities.
#include "Vondrel/ColorC/Blocks.h"

#include <algorithm>

using namespace Vondrel::CMetry;
using namespace Vondrel::ColorC;

namespace {

bool IsPaperRelative(const oxc_conditions& conditions)
{
    return conditions.values.GetWhiteBase() != WhiteBase::Absolute;
}

// The conditions, checked once.
const oxc_conditions& CheckConditions(const oxc_conditions* conditions)
{
    RequireNonNull(conditions);
    if (!conditions->curves)
        throw Refusal{OX_NotSupported, "no densities of this standard"};
    if (IsPaperRelative(*conditions) && !conditions->paper)
        throw Refusal{OX_NoSubstrate, noPaper};
    return *conditions;
}

// From the responses of the four channels.
FourDensities GetDensities(const oxc_conditions& conditions, const FourDensities& responses)
{
    FourDensities densities = Formulas::ToDensities(responses);
    for (std::size_t channel = 0; channel < densities.size(); ++channel) {
        if (IsPaperRelative(conditions))
            densities[channel] -= conditions.paperDensities[channel];
        densities[channel] += 0.0F; // no calibration, whose offset of 0 takes the sign of a -0
    }
    return densities;
}

// Of at most sixteen rows.
void GetDensities(const oxc_conditions& conditions, const float* spectra, std::size_t rows, FourDensities* densities)
{
    if (rows < fewestRows) {
        for (std::size_t row = 0; row < rows; ++row)
            densities[row] = GetDensities(conditions, Formulas::Respond(*conditions.curves, spectra + row * OXC_BANDS));
        return;
    }
    SpectraBlock block;
    const float* const sixteen = block.Get(spectra, rows, nullptr);
    Block colors, black;
    CurrentRoad().weigh(conditions.colorCurves, sixteen, colors);
    CurrentRoad().weigh(conditions.blackCurve, sixteen, black);
    for (std::size_t row = 0; row < rows; ++row)
        densities[row] = GetDensities(conditions, {black[0][row], colors[0][row], colors[1][row], colors[2][row]});
}

float GetMaximum(const oxc_conditions& conditions, const float* spectrum)
{
    oxc_conditions::Spectrum values;
    for (std::size_t i = 0; i < values.size(); ++i)
        values[i] = IsPaperRelative(conditions) ? spectrum[i] / (*conditions.paper)[i] : spectrum[i];
    return Formulas::FindMaximum(values.data()).density;
}

// Whether a row has its densities; marks one that has not.
bool Check(const float* densities, std::size_t size, const float* spectrum, std::size_t row, Rows& rows)
{
    if (!AllFinite(spectrum, OXC_BANDS))
        rows.Fail(row, OX_InvalidParameter, notFinite);
    else if (!AllFinite(densities, size) || std::find(densities, densities + size, InvalidDensity) != densities + size)
        rows.Fail(row, OX_CalculationFailed, "no reflectance in a channel");
    else
        return true;
    return false;
}

}

extern "C" {

int32_t oxc_densities(const oxc_conditions* conditions, const float* spectra, size_t count, float* densities)
{
    return Call([&] {
        const oxc_conditions& checked = CheckConditions(conditions);
        CheckArrays(count, {{spectra, OXC_BANDS}}, {{densities, densityChannels}});
        Rows rows;
        ForBlocks(count, [&](std::size_t first, std::size_t size) {
            FourDensities found[blockRows];
            GetDensities(checked, spectra + first * OXC_BANDS, size, found);
            for (std::size_t i = 0; i < size; ++i) {
                const std::size_t row = first + i;
                if (!Check(found[i].data(), found[i].size(), spectra + row * OXC_BANDS, row, rows))
                    found[i].fill(noNumber);
                std::copy(found[i].begin(), found[i].end(), densities + row * densityChannels);
            }
        });
        return rows.Result();
    });
}

int32_t oxc_density(const oxc_conditions* conditions, const float* spectra, size_t count, float* densities,
                    int32_t* filters)
{
    return Call([&] {
        const oxc_conditions& checked = CheckConditions(conditions);
        if (filters == nullptr)
            CheckArrays(count, {{spectra, OXC_BANDS}}, {{densities, 1}});
        else
            CheckArrays(count, {{spectra, OXC_BANDS}}, {{densities, 1}, {filters, 1}});
        const DensityFilterMode mode = checked.values.GetDensityFilterMode();
        const bool automatic = mode < DensityFilterMode::Black || mode > DensityFilterMode::Yellow;
        Rows rows;
        for (std::size_t row = 0; row < count; ++row) {
            const float* const spectrum = spectra + row * OXC_BANDS;
            const FourDensities four = GetDensities(checked, Formulas::Respond(*checked.curves, spectrum));
            const auto channel = static_cast<std::int32_t>(automatic ? Formulas::SelectChannel(four) : mode);
            const float density = mode == DensityFilterMode::Max ? GetMaximum(checked, spectrum)
                                                                 : four[static_cast<std::size_t>(channel)];
            const bool valid = Check(&density, 1, spectrum, row, rows);
            densities[row] = valid ? density : noNumber;
            if (filters != nullptr)
                filters[row] = valid ? channel : -1;
        }
        return rows.Result();
    });
}
}
