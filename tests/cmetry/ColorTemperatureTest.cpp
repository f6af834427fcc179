// Colour temperature, colour rendering, and the way back from a colour to a spectrum.

#include "Colors.h"

#include "Vondrel/CMetry/CMetryException.h"
#include "Vondrel/CMetry/CMetryService.h"
#include "Vondrel/CMetry/DensityService.h"
#include "Vondrel/CMetry/Internals/CMetryCalculator.h"
#include "Vondrel/CMetry/Internals/CMetryFilter.h"
#include "Vondrel/CMetry/Internals/ColorRenderingIndex.h"
#include "Vondrel/CMetry/Internals/ColorTemperature.h"
#include "Vondrel/CMetry/Internals/Lab2Spec.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

using namespace Vondrel::CMetry;

namespace {

VDSpectrum Emission(const VDSpectrum::ValueArray& values)
{
    return VDSpectrum(values, Conditions(ColorSpace::CIEXYZ, IlluminationTYPE::Emission));
}

VDSpectrum Emission(const StandardFilter& table)
{
    VDSpectrum::ValueArray values;
    for (std::size_t i = 0; i < values.size(); ++i) {
        const int wavelength = VDSpectrum::GetWaveLength(i);
        values[i] = table.GetFilter().at(
            static_cast<std::size_t>((wavelength - table.GetMinWavelength()) / table.GetStepSize()));
    }
    return Emission(values);
}

VDSpectrum Illuminant(IlluminationTYPE type, int fValue = 0)
{
    VDIllumination illumination(type);
    illumination.SetFValue(static_cast<std::uint8_t>(fValue));
    return Emission(CMetryFilter::GetIlluFilter(illumination));
}

VDSpectrum Planck(float temperature)
{
    return ColorTemperature().GetPlanckRadiator(temperature, VDMeasureConditions());
}

} // namespace

TEST(ColorTemperature, APlanckRadiatorHasItsOwn)
{
    for (const float temperature : {300.0F, 1000.0F, 2848.0F, 4999.0F, 6500.0F, 10000.0F, 25000.0F, 100000.0F})
        EXPECT_EQ(CMetryService::GetColorTemperature(Planck(temperature)), temperature);
}

// Correlated colour temperatures in the tables of CIE 15, Colorimetry. A white under an illuminant has the colour of
// the illuminant. Those of the fluorescent lamps are published to 10 K.
TEST(ColorTemperature, WhitesUnderTheIlluminantsOfTheCIE)
{
    const struct {
        const char* illumination;
        float published, tolerance;
    } cases[] = {
        {"A", 2856, 2},   {"D50", 5003, 2}, {"D55", 5503, 2},  {"D65", 6504, 2},  {"D75", 7504, 2},  {"F1", 6430, 10},
        {"F2", 4230, 10}, {"F3", 3450, 10}, {"F4", 2940, 10},  {"F5", 6350, 10},  {"F6", 4150, 10},  {"F7", 6500, 10},
        {"F8", 5000, 10}, {"F9", 4150, 10}, {"F10", 5000, 10}, {"F11", 4000, 10}, {"F12", 3000, 10},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.illumination);
        VDSpectrum white = FlatSpectrum(1.0F);
        white.GetMeasureConditions().SetMeasureCondition("Colorimetric.Illumination", c.illumination);
        EXPECT_NEAR(CMetryService::GetColorTemperature(white), c.published, c.tolerance);
    }
}

// The same illuminants as emission, sampled on the points of a spectrum: the smooth ones keep their temperature.
TEST(ColorTemperature, SampledIlluminants)
{
    EXPECT_NEAR(CMetryService::GetColorTemperature(Illuminant(IlluminationTYPE::A)), 2856, 2);
    EXPECT_NEAR(CMetryService::GetColorTemperature(Illuminant(IlluminationTYPE::D65)), 6507, 2);
}
