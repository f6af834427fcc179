#include "virtual/spectrophotometer/Optics.h"

#include <cmath>

namespace Virtual {

namespace {

constexpr double pixelPitch = 10.0 / 3.0;  // nanometres
constexpr std::size_t nodesPerPixel = 10;  // of the wavelength grid, from one pixel to the next
constexpr std::size_t firstBandPixel = 11; // the pixel in the middle of 380 nm
constexpr std::size_t nodeCount = (pixelCount + 1) * nodesPerPixel + 1;

constexpr double lampRate = 2.859e6;        // counts per second of a perfect white at 550 nm, but for the sensitivity
constexpr double radianceOfOneCount = 1e-6; // likewise for a source, W / (sr m2 nm)

constexpr double PixelWavelength(double pixel)
{
    return BandWavelength(0) + (pixel - static_cast<double>(firstBandPixel)) * pixelPitch;
}

double NodeWavelength(std::size_t node)
{
    return PixelWavelength(static_cast<double>(node) / static_cast<double>(nodesPerPixel) - 1.0);
}

/// The share that a node adds to the pixel from which it lies `distance` nodes away. All shares of a pixel make 1.
double PassbandShare(std::size_t distance)
{
    constexpr double foot = static_cast<double>(nodesPerPixel);
    return (foot - static_cast<double>(distance)) / (foot * foot);
}

/// High in the blue, where the lamp gives little: so a white is nowhere far below its highest count.
double Sensitivity(double wavelength)
{
    if (wavelength < 360.0 || wavelength > 750.0)
        return 0.0;
    return 0.15 + 0.85 * std::exp(-0.5 * std::pow((wavelength - 450.0) / 120.0, 2));
}

/// Planck's law, relative to 550 nm.
/// Second radiation constant: CODATA 2018, 1.438776877e-2 m K.
double Planck(double wavelength, double kelvin)
{
    constexpr double secondRadiationConstant = 1.438776877e7; // nm K
    constexpr double reference = 550.0;
    const auto exponential = [&](double nanometres) {
        return std::expm1(secondRadiationConstant / (nanometres * kelvin));
    };
    return std::pow(reference / wavelength, 5) * exponential(reference) / exponential(wavelength);
}

double UvFilter(double wavelength)
{
    static constexpr float transmittance[] = {0.2F, 1.0F};
    static const Curve& filter = *new Curve(transmittance, 390.0, 30.0); // never destroyed
    return filter.At(wavelength);
}

/// The mean distance from its own wavelength, in pixels, at which a pixel sees light.
double OwnSpread()
{
    double spread = 0.0;
    for (std::size_t distance = 1; distance < nodesPerPixel; ++distance)
        spread += 2.0 * PassbandShare(distance) * static_cast<double>(distance) / static_cast<double>(nodesPerPixel);
    return spread;
}

}

Optics::Optics()
{
    sensitivity.reserve(nodeCount);
    for (std::size_t node = 0; node < nodeCount; ++node)
        sensitivity.push_back(Sensitivity(NodeWavelength(node)));
    SetLamp(3000.0, 1.0, false);
}

void Optics::SetLamp(double kelvin, double scale, bool uvCut)
{
    lamp.clear();
    for (std::size_t node = 0; node < nodeCount; ++node) {
        const double wavelength = NodeWavelength(node);
        const double filter = uvCut ? UvFilter(wavelength) : 1.0;
        lamp.push_back(lampRate * scale * filter * Planck(wavelength, kelvin) * sensitivity[node]);
    }
}

PixelRates Optics::Collect(const SpectralRate& rate) const
{
    std::vector<double> rates(nodeCount);
    for (std::size_t node = 0; node < nodeCount; ++node)
        rates[node] = rate(node, NodeWavelength(node));

    PixelRates pixels{};
    for (std::size_t pixel = 0; pixel < pixelCount; ++pixel) {
        const std::size_t middle = (pixel + 1) * nodesPerPixel;
        double sum = rates[middle] * PassbandShare(0);
        for (std::size_t distance = 1; distance < nodesPerPixel; ++distance)
            sum += (rates[middle - distance] + rates[middle + distance]) * PassbandShare(distance);
        pixels[pixel] = sum;
    }
    return pixels;
}

PixelRates Optics::UnderLamp(const Curve& reflectance) const
{
    return Collect([&](std::size_t node, double wavelength) { return lamp[node] * reflectance.At(wavelength); });
}

PixelRates Optics::OfSource(const Curve& radiance) const
{
    return Collect([&](std::size_t node, double wavelength) {
        return sensitivity[node] * radiance.At(wavelength) / radianceOfOneCount;
    });
}

PixelRates Optics::OfSourceThrough(const Curve& radiance, const Curve& transmittance) const
{
    return Collect([&](std::size_t node, double wavelength) {
        return sensitivity[node] * radiance.At(wavelength) * transmittance.At(wavelength) / radianceOfOneCount;
    });
}

PixelRates Optics::OfAmbientLight(const Curve& irradiance) const
{
    return Collect([&](std::size_t node, double wavelength) {
        const double radiance = irradiance.At(wavelength) / DiffuserFactor(wavelength);
        return sensitivity[node] * radiance / radianceOfOneCount;
    });
}

double Optics::DiffuserFactor(double wavelength)
{
    static constexpr float factors[] = {30.5F, 32.0F};
    static const Curve& factor =
        *new Curve(factors, BandWavelength(0), BandWavelength(bandCount - 1) - BandWavelength(0));
    return factor.At(wavelength);
}

BandWeights Optics::WeightsOf(std::size_t band)
{
    // Neighbours with negative weights take away what the passbands blur: the mean distance of the seen light from the
    // band's wavelength, weights included, is zero. Each of the four forms solves
    //   (own spread) * w[0] + 1 * (w[-1] + w[1]) + 2 * (w[-2] + w[2]) = 0
    // for the given weights at a distance of two pixels. The own spread counts for the middle pixel alone: to all
    // others the band's wavelength lies outside the passband.
    const std::size_t middle = firstBandPixel + 3 * band;
    const double spread = OwnSpread();
    const auto nearWeight = [&](double farWeights) {
        // w[0] = 1 - near - far, so that near = -(spread * (1 - far) + 2 * far) / (1 - spread)
        return -(spread * (1.0 - farWeights) + 2.0 * farWeights) / (1.0 - spread);
    };

    constexpr double far = 0.02;
    switch (band % 4) {
    case 1: { // two pixels to each side
        const double near = nearWeight(2 * far);
        return {middle - 2, {far, near / 2, 1.0 - near - 2 * far, near / 2, far}};
    }
    case 2: { // one pixel to the left, two to the right: the left one holds the balance
        const double near = nearWeight(far);
        return {middle - 1, {near / 2 + far, 1.0 - near - far, near / 2 - far, far}};
    }
    default: {
        const double near = nearWeight(0.0);
        return {middle - 1, {near / 2, 1.0 - near, near / 2}};
    }
    }
}

double Optics::RadiancePerRate(std::size_t band) const
{
    const float one = 1.0F;
    const PixelRates rates = OfSource(Curve({&one, 1}, BandWavelength(0), 1.0));
    const auto [firstPixel, weights] = WeightsOf(band);
    double rate = 0.0;
    for (std::size_t i = 0; i < weights.size(); ++i)
        rate += weights[i] * rates[firstPixel + i];
    return 1.0 / rate;
}

}
