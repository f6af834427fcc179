// Spectra, samples and colour vectors as values.

#include "Vondrel/CMetry/CMetryException.h"
#include "Vondrel/CMetry/VDColorVector.h"
#include "Vondrel/CMetry/VDSample.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

using namespace Vondrel::CMetry;

namespace {

VDSpectrum SpectrumOf(float value)
{
    return VDSpectrum(std::vector<float>(36, value));
}

}

TEST(Spectrum, FindsIndicesOfItsOwnWavelengthsOnly)
{
    const struct {
        std::int16_t wavelength;
        std::size_t index;
    } cases[] = {{380, 0},  {385, 0}, {389, 0},  {390, 1},  {725, 34},  {729, 34},  {730, 35},
                 {731, 0},  {739, 0}, {740, 0},  {379, 0},  {371, 0},   {370, 0},   {0, 0},
                 {-400, 0}, {400, 2}, {560, 18}, {561, 18}, {32767, 0}, {-32768, 0}};
    for (const auto& c : cases)
        EXPECT_EQ(VDSpectrum::GetArrayIndex(c.wavelength), c.index) << c.wavelength << " nm";
    for (std::size_t i = 0; i < 36; ++i)
        EXPECT_EQ(VDSpectrum::GetArrayIndex(VDSpectrum::GetWaveLength(i)), i);
    EXPECT_EQ(VDSpectrum::GetWaveLength(35), 730);
    EXPECT_EQ(VDSpectrum::GetWaveLength(36), 0);
    EXPECT_EQ(VDSpectrum::GetWaveLength(std::numeric_limits<std::size_t>::max()), 0);
}

TEST(Spectrum, IsValidWithAnyValueAboveZero)
{
    VDSpectrum spectrum;
    EXPECT_FALSE(spectrum.IsValid());
    spectrum[0] = std::nanf("");
    spectrum[1] = -1.0F;
    EXPECT_FALSE(spectrum.IsValid());
    spectrum[35] = 0.001F;
    EXPECT_TRUE(spectrum.IsValid());
}

TEST(Spectrum, TakesTheFirst36ValuesAndRefusesFewer)
{
    std::vector<float> values(40);
    for (std::size_t i = 0; i < values.size(); ++i)
        values[i] = static_cast<float>(i);
    const VDSpectrum spectrum(values);
    EXPECT_EQ(spectrum.GetValues(), std::vector<float>(values.begin(), values.begin() + 36));
    EXPECT_TRUE(spectrum == VDSpectrum(values.data()));
    values.resize(35);
    EXPECT_THROW(VDSpectrum{values}, CMetryException);
}

TEST(Spectrum, ComparesValuesAndConditions)
{
    VDSpectrum other = SpectrumOf(0.5F);
    EXPECT_TRUE(other == SpectrumOf(0.5F));
    other[20] = std::nextafter(0.5F, 1.0F);
    EXPECT_FALSE(other == SpectrumOf(0.5F));
    other = SpectrumOf(0.5F);
    other.GetMeasureConditions().SetWhiteBase(WhiteBase::Paper);
    EXPECT_FALSE(other == SpectrumOf(0.5F));
}

TEST(ColorVector, ComparesWhatTheNumbersMean)
{
    VDColorVector lab(1.0F, 2.0F, 3.0F, VDMeasureConditions());
    VDColorVector lch = lab;
    EXPECT_TRUE(lab == lch);
    lch.GetMeasureConditions().SetColorSpace(ColorSpace::CIELCh);
    EXPECT_FALSE(lab == lch);
    EXPECT_TRUE(VDLab(lch) == VDXYZ(lch));
}

TEST(ColorVector, TakesTheFilterFromThePhysicalSource)
{
    VDMeasureConditions polarized;
    polarized.SetMeasureCondition("Physical.Filter", "Polarizer");
    polarized.SetMeasureCondition("Colorimetric.Observer", "TenDegree");
    VDColorVector vector(1.0F, 2.0F, 3.0F, polarized);
    vector.SetMeasureConditions(vector.GetMeasureConditions(), VDMeasureConditions());
    EXPECT_EQ(vector.GetMeasureConditions().GetPhysicalFilter(), PhysicalFilter::Polarizer);
    EXPECT_EQ(vector.GetMeasureConditions().GetObserver(), Observer::TwoDegree);
}

TEST(Sample, SpeaksForItselfWithItsFirstSpectrum)
{
    VDSample sample;
    VDSpectrum spectrum = SpectrumOf(9.0F);
    EXPECT_FALSE(sample.GetSpectrum(0, spectrum));
    EXPECT_FALSE(sample == sample) << "nothing to compare";
    EXPECT_EQ(sample.AddSample(VDSample()), 0);

    sample.SetSpectrum(SpectrumOf(1.0F));
    VDSample others;
    others.SetSpectrum(SpectrumOf(2.0F));
    others.SetSpectrum(SpectrumOf(3.0F));
    EXPECT_EQ(sample.AddSample(others), 3);
    EXPECT_EQ(sample.AddSample(VDSample()), 3);
    EXPECT_TRUE(sample.GetSpectrum(2, spectrum));
    EXPECT_TRUE(spectrum == SpectrumOf(1.0F));
    EXPECT_EQ(sample.AddSample(sample), 6);

    VDSample single;
    single.SetSpectrum(SpectrumOf(1.0F));
    EXPECT_TRUE(sample == single);
    EXPECT_FALSE(sample == others);
}
