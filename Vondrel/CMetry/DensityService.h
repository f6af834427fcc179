#pragma once

#include "Vondrel/CMetry/Internals/DensityCalculator.h"
#include "Vondrel/CMetry/VDMeasureConditions.h"
#include "Vondrel/CMetry/VDSpectrum.h"
#include "Vondrel/Utilities/Tools/SmartPointer.h"

#include <array>
#include <string>
#include <vector>

namespace Vondrel::CMetry {

/// Densities by the conditions: standard, channel or maximum or automatic choice, and white base. White base Absolute
/// gives absolute densities, every other one those above the paper white. State of the process (paper white,
/// calibration, user curves), without a lock.
class DensityService {
public:
    /// Four floats, for Black, Cyan, Magenta, Yellow.
    using FourChannels = DensityCalculator::FourChannels;
    using FourChannelsPointer = Utilities::Tools::SmartPointer<FourChannels>;

    /// @throws CMetryException "Missing WhiteReference": white base Paper or Automatic and no paper white set;
    ///                         "Calculation of Density failed": no reflectance in the channel, a paper white without
    ///                         any, or no density standard
    static float GetDensity(const VDSpectrum& spectrum, const VDMeasureConditions& conditions);

    /// The name of the channel that the density is read in; selected for the spectrum where the conditions name none.
    /// @throws CMetryException  as GetDensity
    static std::string GetDensityFilterName(const VDSpectrum& spectrum, const VDMeasureConditions& conditions);

    /// The four at once, whatever the filter mode says.
    /// @param channel  receives the channel that the automatic choice takes
    /// @throws CMetryException  as GetDensity: where one of the four channels has no density
    static FourChannels GetDensities(const VDSpectrum& spectrum, const VDMeasureConditions& conditions,
                                     DensityFilterMode& channel);

    /// Takes a copy as paper white for all paper-relative results, colorimetric ones too, until the next.
    static void SetPaperWhite(const VDSpectrum& spectrum);
    /// The same without a copy.
    static void SetPaperWhite(const Utilities::Tools::SmartPointer<VDSample>& sample)
    {
        BaseCalculator::SetPaperWhitePointer(sample);
    }

    /// Dot gain in percent: the uncalibrated dot area of the tint minus its nominal one.
    /// @param nominal  percent
    /// @throws CMetryException "Calculation of dot gain failed"
    static float GetDotGain(const VDSpectrum& solid, const VDSpectrum& tint, const VDMeasureConditions& conditions,
                            float nominal);

    /// How far the dot areas of tints that should be equal differ, in percent; 0 for fewer than two.
    /// @throws CMetryException "Calculation of slur failed at Halftone " and the index of the tint
    static float GetSlur(const std::vector<VDSpectrum>& tints, const VDSpectrum& solid,
                         const VDMeasureConditions& conditions);

    /// The curves of the standard "User" in the order Black, Cyan, Magenta, Yellow. They count from the next change of
    /// the density standard to "User" on, and are used as they are: a curve should sum to 1, that of Black to 100.
    static void SetUserdefinedFilter(const std::array<VDSpectrum, densityChannels>& spectra);
    static std::array<VDSpectrum, densityChannels> GetUserdefinedFilter();

    /// Sets the calibration D * slope + offset for the filter and the density standard of the conditions; "Undefined"
    /// for either means all of them. An empty pointer stands for slopes of 1, offsets of 0.
    static void SetDensityCalibration(const VDMeasureConditions& conditions, const FourChannelsPointer& slope,
                                      const FourChannelsPointer& offset);
    /// Puts new values behind the pointers.
    /// @throws CMetryException "No density calibration for ...": the density standard is undefined
    static void GetDensityCalibration(const VDMeasureConditions& conditions, FourChannelsPointer& slope,
                                      FourChannelsPointer& offset);
};

}
