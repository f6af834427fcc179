#pragma once

#include "Vondrel/CMetry/ConditionTypes.h"
#include "Vondrel/CMetry/Internals/BaseCalculator.h"
#include "Vondrel/CMetry/Internals/DensityFilter.h"
#include "Vondrel/CMetry/Internals/DensityFormulas.h"
#include "Vondrel/CMetry/SpectrumGrid.h"
#include "Vondrel/CMetry/VDDensity.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace Vondrel::CMetry {

class VDSpectrum;

/// Printing densities and the measures of the press room.
///
/// Spectra are reflectance factors, 1.0 for the perfect white. Paper-relative densities are those above the paper
/// white of BaseCalculator. Where nothing else is said the result is false when that is missing or without any value
/// above 0, and for a density standard or a channel that does not exist. State of the process, without a lock.
class DensityCalculator : public BaseCalculator {
public:
    using FourChannels = VDDensity::Sequence; ///< Black, Cyan, Magenta, Yellow
    using Values = std::array<float, SpectrumGrid::NumberOfDataPoints>;

    /// Slopes and offsets for every filter in front of the instrument, standard and channel: D * slope + offset.
    struct Calibration {
        static constexpr std::size_t filters = 13, standards = 8;
        struct Cell {
            FourChannels slope{1.0F, 1.0F, 1.0F, 1.0F};
            FourChannels offset{};
        };
        std::array<std::array<Cell, standards>, filters> cells;
    };

    /// Every slope 1, every offset 0.
    static void InitializeDensityCalibration();
    /// The whole calibration, to keep and to put back.
    static Calibration GetCalibration();
    static void SetCalibration(const Calibration& calibration);

    // One cell of it; false for a filter or a standard without one.
    static bool ResetDensityCalibration(PhysicalFilter filter, DensityStandard standard);
    static bool GetDensitySlope(PhysicalFilter filter, DensityStandard standard, FourChannels& slope);
    static bool SetDensitySlope(PhysicalFilter filter, DensityStandard standard, const FourChannels& slope);
    static bool GetDensityOffset(PhysicalFilter filter, DensityStandard standard, FourChannels& offset);
    static bool SetDensityOffset(PhysicalFilter filter, DensityStandard standard, const FourChannels& offset);

    /// The curves of the standard of the last density.
    static DensityFilter& GetActDensityStdFilter();

    /// -log10 of the response in each channel, 9.99 where that is not above 0; Black is raised by 2, since its curve
    /// sums to 100.
    static bool GetDensityVector(const VDSpectrum& spectrum, DensityStandard standard, bool paperRelative,
                                 VDDensity& density);
    /// The same with the calibration of the filter in the spectrum's conditions; offsets count for absolute densities.
    static bool GetDensityVectorWithSlope(const VDSpectrum& spectrum, DensityStandard standard, bool paperRelative,
                                          VDDensity& density);

    /// The four of GetDensityVectorWithSlope alone.
    static bool GetCalibratedDensities(const VDSpectrum& spectrum, DensityStandard standard, bool paperRelative,
                                       FourChannels& densities);

    /// The calibrated density of one channel, given or (automatic) selected. On failure 9.99 and Undefined.
    static bool GetDensity(const VDSpectrum& spectrum, DensityStandard standard, bool paperRelative, float& value,
                           DensityFilterMode& channel, bool automatic);

    /// The channel of the highest density; Black for a colour without a dominant ink.
    static DensityFilterMode GetDensityFilter(const VDDensity& density);

    /// The densities of Cyan, Magenta and Yellow in descending order.
    static void SortColorDensities(const VDDensity& density, std::array<float, 3>& sorted);

    /// The density at each point, 9.99 where the reflectance is not above 0.
    static bool GetDensitySpectrum(const VDSpectrum& spectrum, bool paperRelative, Values& values);

    /// The highest density from 410 to 700 nm and its wavelength in nm; uncalibrated. On failure 9.99 and 0; fails for
    /// a spectrum without any number below 9999, too.
    static bool GetMaxDensity(const VDSpectrum& spectrum, bool paperRelative, float& density, std::int16_t& wavelength);

    // The measures below take a channel, Max or Auto; with Auto each spectrum chooses its own channel.

    /// Dot area as a fraction, Murray-Davies with the Yule-Nielsen factor n (above 0), on paper-relative densities. 0
    /// for a solid without density.
    static bool GetDotArea(const VDSpectrum& solid, const VDSpectrum& tint, DensityStandard standard,
                           DensityFilterMode channel, float n, float& area);
    static bool GetDotArea(const VDSpectrum& solid, const VDSpectrum& tint, DensityStandard standard,
                           DensityFilterMode channel, float& area);

    /// Print contrast (Ds - Dt) / Ds; 0 for a solid without density.
    static bool GetContrast(const VDSpectrum& solid, const VDSpectrum& tint, DensityStandard standard,
                            bool paperRelative, DensityFilterMode channel, float& contrast);

    /// Ink trapping after Preucil, (overprint - first) / second, on paper-relative densities; 1 for a second ink
    /// without density. Of three records with Max, which hold no maximum, it is 1.
    static bool GetTrapping(const VDSpectrum& first, const VDSpectrum& second, const VDSpectrum& overprint,
                            DensityStandard standard, DensityFilterMode channel, float& trapping);
    static bool GetTrapping(const VDDensity& first, const VDDensity& second, const VDDensity& overprint,
                            DensityFilterMode channel, float& trapping);

    /// The lowest of the three colour densities over the highest; 1 where there is no density.
    static bool GetGreyness(const VDSpectrum& spectrum, DensityStandard standard, bool paperRelative, float& greyness,
                            bool withSlope);

    /// Hue error (middle - low) / (high - low); 0 where there is no density, or three equal ones.
    static bool GetHueError(const VDSpectrum& spectrum, DensityStandard standard, bool paperRelative, float& error,
                            bool withSlope);

private:
    static bool GetFourDensities(const VDSpectrum& spectrum, DensityStandard standard, bool paperRelative,
                                 FourChannels& densities);
    static FourChannels GetPaperDensities(DensityStandard standard);
    static bool GetRelative(const VDSpectrum& spectrum, bool paperRelative, Values& values);

    static DensityFilter actDensityStdFilter;
    static Calibration calibration;
};

}
