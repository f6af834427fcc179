#include "orvex/color.h"
#include "tests/colorc/ColorConditions.h"
#include "tests/colorc/RandomSpectra.h"

#include "Vondrel/CMetry/CMetryService.h"
#include "Vondrel/CMetry/DensityService.h"
#include "Vondrel/CMetry/Internals/CMetryCalculator.h"
#include "Vondrel/CMetry/Internals/LabFormulas.h"
#include "Vondrel/ColorC/Kernels.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

using namespace Vondrel::CMetry;
using testing::HasSubstr;

namespace {

constexpr float noNumber = std::numeric_limits<float>::quiet_NaN();
constexpr float infinity = std::numeric_limits<float>::infinity();

bool SameBits(float a, float b)
{
    return std::bit_cast<std::uint32_t>(a) == std::bit_cast<std::uint32_t>(b);
}

void ExpectColors(const BothConditions& both, const std::vector<float>& spectra, std::size_t count)
{
    std::vector<float> colors(count * 3, -7.0F);
    EXPECT_EQ(oxc_colors(both.c.get(), spectra.data(), count, colors.data()), OX_NoError) << oxc_error();
    for (std::size_t row = 0; row < count; ++row) {
        const auto expected = CMetryService::GetVector(VDSpectrum(&spectra[row * OXC_BANDS]), both.engine);
        for (std::size_t i = 0; i < 3; ++i)
            ASSERT_TRUE(SameBits(colors[row * 3 + i], expected[i]))
                << "row " << row << " of " << count << ": " << colors[row * 3 + i] << " for " << expected[i];
    }
}

// Every loop that this processor can go, one after the other.
class EveryRoad : public testing::TestWithParam<const Vondrel::ColorC::Road*> {
protected:
    EveryRoad()
    {
        Vondrel::ColorC::ForceRoad(GetParam());
        EXPECT_EQ(&Vondrel::ColorC::CurrentRoad(), GetParam());
    }
    ~EveryRoad() override { Vondrel::ColorC::ForceRoad(nullptr); }
};

std::vector<const Vondrel::ColorC::Road*> Roads()
{
    std::vector<const Vondrel::ColorC::Road*> roads;
    for (std::size_t i = 0; Vondrel::ColorC::RoadAt(i) != nullptr; ++i)
        if (Vondrel::ColorC::CanGo(*Vondrel::ColorC::RoadAt(i)))
            roads.push_back(Vondrel::ColorC::RoadAt(i));
    return roads;
}

INSTANTIATE_TEST_SUITE_P(Processor, EveryRoad, testing::ValuesIn(Roads()),
                         [](const auto& road) { return std::string(road.param->name); });

TEST_P(EveryRoad, GivesTheColorsOfTheMeasuringCallsToTheBit)
{
    BothConditions both;
    for (const auto& illumination : Values(illuminationKey))
        for (const char* observer : {"TwoDegree", "TenDegree"})
            for (const auto& space : Values(spaceKey)) {
                if (space == "CMYK")
                    continue;
                SCOPED_TRACE(illumination + " " + observer + " " + space);
                if (illumination == "Userdefined") {
                    const auto light = RandomSpectra(4, 11);
                    ASSERT_EQ(oxc_set_illuminant(both.c.get(), &light[3 * OXC_BANDS]), OX_NoError);
                    both.engine.SetUserdefinedIllumination(VDSpectrum(&light[3 * OXC_BANDS]));
                } else {
                    both.Set(illuminationKey, illumination);
                }
                both.Set(observerKey, observer);
                both.Set(spaceKey, space);
                ExpectColors(both, RandomSpectra(19, 5), 19);
            }
}

TEST_P(EveryRoad, GivesTheSameColorsAloneAndAmongOthers)
{
    BothConditions both;
    for (const char* space : {"CIEXYZ", "CIELab", "CIELCh"}) {
        both.Set(spaceKey, space);
        for (std::size_t count = 0; count <= 40; ++count)
            ExpectColors(both, RandomSpectra(count, 7), count);
        ExpectColors(both, RandomSpectra(10080, 8), 10080);
    }
}

TEST_P(EveryRoad, GivesColorsOnPaperAndByOtherLights)
{
    BothConditions both;
    const auto spectra = RandomSpectra(12, 3);
    float color[3];
    both.Set(whiteBaseKey, "Paper");
    EXPECT_EQ(oxc_colors(both.c.get(), spectra.data(), 1, color), OX_NoSubstrate);
    EXPECT_EQ(oxc_densities(both.c.get(), spectra.data(), 0, nullptr), OX_NoSubstrate);
    const float* const paper = &spectra[4 * OXC_BANDS];
    ASSERT_EQ(oxc_set_paper(both.c.get(), paper), OX_NoError);
    DensityService::SetPaperWhite(VDSpectrum(paper));
    for (const char* illumination : {"D50", "Dxx, Temperature:4200", "Emission"})
        for (const char* space : {"CIEXYZ", "CIExyY", "CIELuv", "RGB"}) {
            both.Set(illuminationKey, illumination);
            both.Set(spaceKey, space);
            ExpectColors(both, spectra, 12);
        }
    EXPECT_EQ(oxc_set_paper(both.c.get(), nullptr), OX_NoError);
    EXPECT_EQ(oxc_colors(both.c.get(), spectra.data(), 1, color), OX_NoSubstrate);
    BaseCalculator::SetPaperWhitePointer({});
}

TEST_P(EveryRoad, ConvertsAsTheEngineDoes)
{
    BothConditions both;
    const auto spectra = RandomSpectra(20, 4);
    std::size_t pairs = 0;
    for (const auto& from : Values(spaceKey)) {
        if (from == "CMYK")
            continue;
        both.Set(spaceKey, from);
        std::vector<float> colors(60), converted(60);
        ASSERT_EQ(oxc_colors(both.c.get(), spectra.data(), 20, colors.data()), OX_NoError);
        for (const auto& to : Values(spaceKey)) {
            SCOPED_TRACE(from + " to " + to);
            const auto engine = [&](std::size_t row) {
                const float* const color = &colors[row * 3];
                return CMetryService::GetVector(VDColorVector(color[0], color[1], color[2], both.engine), to);
            };
            const auto code = oxc_convert(both.c.get(), from.c_str(), colors.data(), 20, to.c_str(), converted.data());
            if (code == OX_NotSupported) {
                EXPECT_THROW(engine(0), Vondrel::Utilities::Exceptions::RuntimeException);
                continue;
            }
            ASSERT_EQ(code, OX_NoError);
            ++pairs;
            for (std::size_t row = 0; row < 20; ++row)
                for (std::size_t i = 0; i < 3; ++i)
                    ASSERT_TRUE(SameBits(converted[row * 3 + i], engine(row)[i])) << row;
            auto inPlace = colors;
            ASSERT_EQ(oxc_convert(both.c.get(), from.c_str(), inPlace.data(), 20, to.c_str(), inPlace.data()), 0);
            EXPECT_EQ(inPlace, converted);
        }
    }
    EXPECT_EQ(pairs, 13U + 12U);
}

TEST(Differences, AreThoseOfTheEngine)
{
    BothConditions both;
    both.Set(illuminationKey, "D50");
    const auto reference = RandomSpectra(30, 21), sample = RandomSpectra(30, 22);
    std::vector<float> labs1(90), labs2(90), differences(30);
    ASSERT_EQ(oxc_colors(both.c.get(), reference.data(), 30, labs1.data()), OX_NoError);
    ASSERT_EQ(oxc_colors(both.c.get(), sample.data(), 30, labs2.data()), OX_NoError);
    const struct {
        float p1, p2, p3;
    } parameters[] = {{0, 0, 0}, {1.5F, 0, 2}, {0, 3, 0.5F}};
    for (const auto& formula : Values(formulaKey))
        for (const auto& p : parameters) {
            SCOPED_TRACE(formula);
            both.Set(formulaKey, formula);
            const auto ofSpectra = oxc_spectral_differences(both.c.get(), reference.data(), sample.data(), 30, p.p1,
                                                            p.p2, p.p3, differences.data());
            // A black reference has no difference by Friele, MacAdam and Chickering.
            EXPECT_EQ(ofSpectra, formula == "FMCII" ? OX_CalculationFailed : OX_NoError);
            for (std::size_t row = formula == "FMCII" ? 1 : 0; row < 30; ++row)
                ASSERT_TRUE(SameBits(differences[row],
                                     CMetryService::GetDeltaE(VDSpectrum(&reference[row * OXC_BANDS]),
                                                              VDSpectrum(&sample[row * OXC_BANDS]), both.engine, p.p1,
                                                              p.p2, p.p3)));
            const auto ofLab =
                oxc_differences(both.c.get(), labs1.data(), labs2.data(), 30, p.p1, p.p2, p.p3, differences.data());
            if (formula == "CIELuv" || formula == "LABvd" || formula == "FMCII") {
                EXPECT_EQ(ofLab, OX_NotSupported);
                continue;
            }
            ASSERT_EQ(ofLab, OX_NoError);
            for (std::size_t row = 0; row < 30; ++row) {
                const float *a = &labs1[row * 3], *b = &labs2[row * 3];
                ASSERT_TRUE(
                    SameBits(differences[row],
                             CMetryService::GetDeltaE(VDColorVector(a[0], a[1], a[2], both.engine),
                                                      VDColorVector(b[0], b[1], b[2], both.engine), p.p1, p.p2, p.p3)));
            }
        }
    EXPECT_EQ(oxc_differences(both.c.get(), labs1.data(), labs2.data(), 30, noNumber, 0, 0, differences.data()),
              OX_InvalidParameter);
}

TEST(Differences, MetamerismIsOfTheChangeOfLight)
{
    BothConditions both;
    const auto reference = RandomSpectra(20, 31), sample = RandomSpectra(20, 32);
    VDMeasureConditions testEngine;
    const Conditions test(oxc_conditions_new());
    std::vector<float> indices(20);
    for (const char* light : {"A", "F11", "D65"}) {
        ASSERT_EQ(oxc_set(test.get(), illuminationKey.c_str(), light), OX_NoError);
        ASSERT_EQ(oxc_set(test.get(), observerKey.c_str(), "TenDegree"), OX_NoError); // does not count
        testEngine.SetMeasureCondition(illuminationKey, light);
        ASSERT_EQ(oxc_metamerism(both.c.get(), test.get(), reference.data(), sample.data(), 20, indices.data()),
                  OX_NoError);
        for (std::size_t row = 0; row < 20; ++row)
            ASSERT_TRUE(
                SameBits(indices[row],
                         CMetryService::GetMetamery(VDSpectrum(&reference[row * OXC_BANDS]),
                                                    VDSpectrum(&sample[row * OXC_BANDS]), both.engine, testEngine)));
    }
    EXPECT_EQ(oxc_metamerism(both.c.get(), nullptr, reference.data(), sample.data(), 1, indices.data()),
              OX_InvalidParameter);
}

// One density at a time by the service that stands behind the measuring calls.
float Density(const BothConditions& both, const float* spectrum, const std::string& mode)
{
    VDMeasureConditions conditions = both.engine;
    conditions.SetMeasureCondition(filterKey, mode);
    return DensityService::GetDensity(VDSpectrum(spectrum), conditions);
}

TEST_P(EveryRoad, GivesTheDensitiesOfTheMeasuringCallsToTheBit)
{
    BothConditions both;
    auto spectra = RandomSpectra(60, 41);
    std::fill_n(spectra.begin(), OXC_BANDS, 0.003F); // no black, which has no density
    const float* const paper = &spectra[5 * OXC_BANDS];
    ASSERT_EQ(oxc_set_paper(both.c.get(), paper), OX_NoError);
    DensityService::SetPaperWhite(VDSpectrum(paper));
    std::vector<float> four(240), one(60);
    std::vector<std::int32_t> filters(60);
    for (const auto& standard : Values(standardKey))
        for (const auto& base : Values(whiteBaseKey)) {
            SCOPED_TRACE(standard + " " + base);
            both.Set(standardKey, standard);
            both.Set(whiteBaseKey, base);
            const auto code = oxc_densities(both.c.get(), spectra.data(), 60, four.data());
            if (standard == "User") {
                EXPECT_EQ(code, OX_NotSupported);
                continue;
            }
            ASSERT_EQ(code, OX_NoError) << oxc_error();
            const std::string channels[] = {"Black", "Cyan", "Magenta", "Yellow"};
            for (std::size_t i = 0; i < four.size(); ++i)
                ASSERT_TRUE(SameBits(four[i], Density(both, &spectra[i / 4 * OXC_BANDS], channels[i % 4])));
            for (const auto& mode : Values(filterKey)) {
                both.Set(filterKey, mode);
                ASSERT_EQ(oxc_density(both.c.get(), spectra.data(), 60, one.data(), filters.data()), OX_NoError);
                for (std::size_t row = 0; row < 60; ++row) {
                    const float* const spectrum = &spectra[row * OXC_BANDS];
                    ASSERT_TRUE(SameBits(one[row], Density(both, spectrum, mode))) << mode;
                    ASSERT_EQ(channels[filters[row]],
                              DensityService::GetDensityFilterName(VDSpectrum(spectrum), both.engine));
                }
            }
        }
    BaseCalculator::SetPaperWhitePointer({});
}

TEST(Lights, HaveTemperatureAndRendering)
{
    auto lights = RandomSpectra(12, 51);
    for (std::size_t i = 3 * OXC_BANDS; i < lights.size(); ++i)
        lights[i] += 0.5F;
    std::vector<float> kelvin(12), indices(12);
    std::vector<std::int32_t> valid(12);
    EXPECT_EQ(oxc_temperatures(lights.data(), 12, kelvin.data()), OX_NoError);
    EXPECT_EQ(oxc_rendering_indices(lights.data(), 12, indices.data(), valid.data()), OX_NoError);
    for (std::size_t row = 0; row < 12; ++row) {
        VDSpectrum light(&lights[row * OXC_BANDS]);
        light.GetMeasureConditions().SetIllumination(VDIllumination(IlluminationTYPE::Emission));
        float index = 0;
        std::string reference;
        EXPECT_EQ(valid[row], CMetryService::GetColorRenderingIndex(light, index, reference) ? 1 : 0);
        EXPECT_EQ(indices[row], index);
        EXPECT_EQ(kelvin[row], CMetryService::GetColorTemperature(light));
    }
    EXPECT_EQ(kelvin[0], -1.0F); // no light
    EXPECT_EQ(indices[0], 0.0F);
}

TEST(SpectraOfLab, HaveTheirLab)
{
    const Conditions c(oxc_conditions_new());
    const auto spectra = RandomSpectra(12, 61);
    std::vector<float> labs(39), made(13 * OXC_BANDS), again(36);
    ASSERT_EQ(oxc_colors(c.get(), spectra.data(), 12, labs.data()), OX_NoError);
    labs[36] = 50.0F;
    labs[37] = 300.0F; // no reflectance is as red
    EXPECT_EQ(oxc_spectra_of_lab(c.get(), labs.data(), 13, made.data()), OX_CalculationFailed);
    EXPECT_STREQ(oxc_error(), "row 12: no reflectance gives this colour");
    EXPECT_TRUE(std::isnan(made[12 * OXC_BANDS + 7]));
    ASSERT_EQ(oxc_colors(c.get(), made.data(), 12, again.data()), OX_NoError);
    for (std::size_t i = 0; i < 12 * OXC_BANDS; ++i)
        ASSERT_TRUE(made[i] >= 0.0F && made[i] <= 1.0F);
    std::vector<float> differences(12);
    ASSERT_EQ(oxc_differences(c.get(), labs.data(), again.data(), 12, 0, 0, 0, differences.data()), OX_NoError);
    for (const float difference : differences)
        EXPECT_LT(difference, 0.1F);
}

// Spectra that come close to the limits of the fused steps: small and large, negative, with few bits, with zeros.
TEST_P(EveryRoad, GivesTheSameBitsAtItsLimits)
{
    BothConditions both;
    auto spectra = RandomSpectra(64, 100);
    std::mt19937 random(7);
    std::uniform_int_distribution<int> exponent(-148, 60), bits(0, 255), what(0, 5);
    for (std::size_t i = OXC_BANDS; i < spectra.size(); ++i) {
        const int kind = static_cast<int>(i / OXC_BANDS) % 6;
        if (kind == 1)
            spectra[i] = std::ldexp(spectra[i], exponent(random));
        else if (kind == 2)
            spectra[i] = static_cast<float>(bits(random)) / 256;
        else if (kind == 3 && what(random) == 0)
            spectra[i] = -spectra[i];
        else if (kind == 4 && what(random) == 0)
            spectra[i] = 0.0F;
        else if (kind == 5)
            spectra[i] = std::ldexp(spectra[i], -44);
    }
    for (const char* illumination : {"D50", "F11", "Emission"})
        for (const char* space : {"CIEXYZ", "CIELab"}) {
            both.Set(illuminationKey, illumination);
            both.Set(spaceKey, space);
            ExpectColors(both, spectra, 64);
        }
}

// A weight and a value whose product lies a hair above (or below) 2^-24, the middle between 1 and the next float.
std::pair<float, float> NearlyTheMiddle(bool above)
{
    constexpr std::int64_t middle = std::int64_t{1} << 47, hair = std::int64_t{1} << 16;
    for (std::int64_t a = (1 << 23) + 12345;; ++a) {
        const std::int64_t b = middle / a + (above ? 1 : 0);
        const std::int64_t rest = a * b - middle;
        if (rest != 0 && std::abs(rest) <= hair)
            return {std::ldexp(static_cast<float>(a), -35), std::ldexp(static_cast<float>(b), -36)};
    }
}

// One rounding instead of two differs once in some hundred million steps; here it always would.
TEST_P(EveryRoad, RoundsTwiceAsTheEngineDoes)
{
    for (const bool above : {true, false}) {
        const auto [weight, value] = NearlyTheMiddle(above);
        const float begin = above ? 1.0F : 1.0F + 0x1p-23F;
        const auto step = [](float w, float v, float sum) {
            return static_cast<float>(static_cast<double>(w) * v + static_cast<double>(sum));
        };
        ASSERT_NE(std::fma(weight, value, begin), step(weight, value, begin));
        float first = 1.2345678F;
        while (step(first, begin / first, 0.0F) != begin)
            first = std::nextafter(first, 2.0F);

        Vondrel::ColorC::KernelWeights weights;
        weights.lastZ = OXC_BANDS;
        weights.checkable = true;
        for (std::size_t band = 0; band < OXC_BANDS; ++band)
            for (std::size_t axis = 0; axis < 3; ++axis) {
                weights.single[band][axis] = band == 0 ? first : band == 1 + axis ? weight : 0x1.2345p-30F;
                weights.wide[band][axis] = weights.single[band][axis];
            }
        std::vector<float> spectra(Vondrel::ColorC::blockRows * OXC_BANDS, 0x1.6789p-30F);
        for (std::size_t row = 0; row < Vondrel::ColorC::blockRows; ++row) {
            spectra[row * OXC_BANDS] = begin / first; // comes to the begin, but not exactly
            if (row % 4 == 0)                         // and others where nothing special happens
                std::fill_n(&spectra[row * OXC_BANDS + 1], 3, value);
        }
        Vondrel::ColorC::Block xyz;
        GetParam()->weigh(weights, spectra.data(), xyz);
        for (std::size_t row = 0; row < Vondrel::ColorC::blockRows; ++row)
            for (std::size_t axis = 0; axis < 3; ++axis) {
                float sum = 0.0F;
                for (std::size_t band = 0; band < OXC_BANDS; ++band)
                    sum = step(weights.single[band][axis], spectra[row * OXC_BANDS + band], sum);
                EXPECT_TRUE(SameBits(xyz[axis][row], sum)) << row << " " << axis;
            }
    }
}

// The lightness function in single precision, over all kinds of ratios.
TEST_P(EveryRoad, TakesCubeRootsAsTheEngineDoes)
{
    Vondrel::ColorC::KernelWeights weights;
    weights.white[0] = weights.white[1] = weights.white[2] = 1.0;
    std::uint32_t bits = std::bit_cast<std::uint32_t>(0.0001F);
    while (bits < 0x7f800000) {
        Vondrel::ColorC::Block colors;
        for (std::size_t i = 0; i < 3 * Vondrel::ColorC::blockRows; ++i, bits += 997)
            colors[i / Vondrel::ColorC::blockRows][i % Vondrel::ColorC::blockRows] =
                std::bit_cast<float>(std::min<std::uint32_t>(bits, 0x7f7fffff));
        Vondrel::ColorC::Block labs;
        std::copy_n(&colors[0][0], 3 * Vondrel::ColorC::blockRows, &labs[0][0]);
        GetParam()->toLab(weights, labs);
        for (std::size_t row = 0; row < Vondrel::ColorC::blockRows; ++row) {
            double f[3];
            for (std::size_t axis = 0; axis < 3; ++axis)
                f[axis] = LabFunction(colors[axis][row], 7.787F, 0.13793103F);
            const float expected[] = {std::max(0.0F, static_cast<float>(116 * f[1] - 16)),
                                      static_cast<float>((f[0] - f[1]) * 500), static_cast<float>((f[1] - f[2]) * 200)};
            for (std::size_t axis = 0; axis < 3; ++axis)
                ASSERT_TRUE(SameBits(labs[axis][row], expected[axis])) << colors[axis][row];
        }
    }
}

// Rows that hold no numbers, or give none, between others.
TEST_P(EveryRoad, LeavesTheRowsBesideOneWithoutAResultAlone)
{
    const Conditions c(oxc_conditions_new());
    auto spectra = RandomSpectra(20, 71);
    std::fill_n(spectra.begin(), OXC_BANDS, 0.5F);
    std::vector<float> whole(60), colors(60), densities(80), wholeDensities(80), one(20);
    std::vector<std::int32_t> filters(20);
    ASSERT_EQ(oxc_colors(c.get(), spectra.data(), 20, whole.data()), OX_NoError);
    ASSERT_EQ(oxc_densities(c.get(), spectra.data(), 20, wholeDensities.data()), OX_NoError);

    const auto expect = [&](std::size_t bad, std::int32_t code, const char* text, bool ofDensitiesToo) {
        EXPECT_EQ(oxc_colors(c.get(), spectra.data(), 20, colors.data()), code);
        EXPECT_EQ(oxc_error(), "row " + std::to_string(bad) + ": " + text);
        for (std::size_t i = 0; i < 60; ++i)
            ASSERT_TRUE(i / 3 == bad ? std::isnan(colors[i]) : SameBits(colors[i], whole[i])) << i;
        if (!ofDensitiesToo)
            return;
        EXPECT_EQ(oxc_densities(c.get(), spectra.data(), 20, densities.data()), code);
        for (std::size_t i = 0; i < 80; ++i)
            ASSERT_TRUE(i / 4 == bad ? std::isnan(densities[i]) : SameBits(densities[i], wholeDensities[i])) << i;
        EXPECT_EQ(oxc_density(c.get(), spectra.data(), 20, one.data(), filters.data()), code);
        EXPECT_TRUE(std::isnan(one[bad]));
        EXPECT_EQ(filters[bad], -1);
        EXPECT_EQ(oxc_temperatures(spectra.data(), 20, one.data()), code);
        EXPECT_TRUE(std::isnan(one[bad]));
        EXPECT_EQ(oxc_rendering_indices(spectra.data(), 20, one.data(), filters.data()), code);
        EXPECT_EQ(filters[bad], -1);
    };
    for (const std::size_t bad : {std::size_t{0}, std::size_t{7}, std::size_t{8}, std::size_t{19}})
        for (const std::size_t band : {std::size_t{0}, std::size_t{19}, std::size_t{35}})
            for (const float value : {noNumber, infinity, -infinity}) {
                SCOPED_TRACE(testing::Message() << bad << " " << band << " " << value);
                const float kept = std::exchange(spectra[bad * OXC_BANDS + band], value);
                expect(bad, OX_InvalidParameter, "not a finite number", true);
                spectra[bad * OXC_BANDS + band] = kept;
            }
    std::fill_n(&spectra[5 * OXC_BANDS], OXC_BANDS, 3e38F); // overflows
    expect(5, OX_CalculationFailed, "no result", false);
    spectra[3 * OXC_BANDS] = noNumber; // the first row that fails gives the code
    EXPECT_EQ(oxc_colors(c.get(), spectra.data(), 20, colors.data()), OX_InvalidParameter);
    EXPECT_STREQ(oxc_error(), "row 3: not a finite number");

    spectra = RandomSpectra(20, 71); // the first row is black
    EXPECT_EQ(oxc_densities(c.get(), spectra.data(), 20, densities.data()), OX_CalculationFailed);
    EXPECT_STREQ(oxc_error(), "row 0: no reflectance in a channel");
}

TEST(Arrays, AreThereAndApart)
{
    const Conditions c(oxc_conditions_new());
    auto data = RandomSpectra(4, 81);
    float* const a = data.data();
    std::vector<std::int32_t> numbers(4);
    const auto huge = std::numeric_limits<std::size_t>::max() / 2;
    EXPECT_EQ(oxc_colors(nullptr, a, 1, a + 100), OX_InvalidParameter);
    EXPECT_EQ(oxc_colors(c.get(), nullptr, 1, a), OX_InvalidParameter);
    EXPECT_EQ(oxc_colors(c.get(), a, 1, nullptr), OX_InvalidParameter);
    EXPECT_EQ(oxc_colors(c.get(), nullptr, 0, nullptr), OX_NoError);
    EXPECT_EQ(oxc_colors(c.get(), a, huge, a + 100), OX_InvalidParameter);
    const auto before = data;
    EXPECT_EQ(oxc_colors(c.get(), a, 2, a), OX_InvalidParameter);
    EXPECT_EQ(oxc_colors(c.get(), a, 2, a + 71), OX_InvalidParameter);
    EXPECT_STREQ(oxc_error(), "arrays overlap");
    EXPECT_EQ(oxc_colors(c.get(), a + 2, 2, a), OX_InvalidParameter);
    EXPECT_EQ(data, before);
    EXPECT_EQ(oxc_colors(c.get(), a, 2, a + 72), OX_NoError);
    EXPECT_EQ(oxc_convert(c.get(), "CIEXYZ", a, 2, "CIELab", a + 3), OX_InvalidParameter);
    EXPECT_EQ(oxc_convert(c.get(), "XYZ", a, 2, "CIELab", a), OX_InvalidParameter);
    EXPECT_EQ(oxc_convert(c.get(), nullptr, a, 2, "CIELab", a), OX_InvalidParameter);
    EXPECT_EQ(oxc_differences(c.get(), a, a, 2, 0, 0, 0, a + 6), OX_NoError);
    EXPECT_EQ(oxc_differences(c.get(), a, a, 2, 0, 0, 0, a), OX_InvalidParameter);
    EXPECT_EQ(oxc_temperatures(a, 1, nullptr), OX_InvalidParameter);
    EXPECT_EQ(oxc_rendering_indices(a, 1, a + 40, nullptr), OX_InvalidParameter);
    EXPECT_EQ(oxc_density(c.get(), a + 36, 1, a, nullptr), OX_NoError);
    EXPECT_EQ(oxc_set(c.get(), spaceKey.c_str(), "CMYK"), OX_NoError);
    EXPECT_EQ(oxc_colors(c.get(), a, 1, a + 100), OX_NotSupported);
}
}
