#pragma once

#include "virtual/instrument/Curve.h"

#include <array>
#include <cstddef>
#include <functional>
#include <vector>

namespace Virtual {

inline constexpr std::size_t pixelCount = 128;
inline constexpr std::size_t bandCount = 36;

/// Light on the sensor: counts per second of each pixel at normal gain.
using PixelRates = std::array<double, pixelCount>;

/// Wavelength of a band, nanometres: 380, 390 ... 730.
constexpr double BandWavelength(std::size_t band)
{
    return 380.0 + 10.0 * static_cast<double>(band);
}

/// The weights with which the pixels around a band make up the band.
struct BandWeights {
    std::size_t firstPixel;
    std::vector<double> weights;
};

/// The way of the light from what lies before the instrument to the pixels of its sensor.
///
/// A grating spreads 343 to 767 nm evenly over the pixels, three to a band; each pixel sees a triangle as wide at its
/// foot as two pixels. A filter lets 360 to 750 nm through.
class Optics {
public:
    Optics();

    /// @param kelvin  colour temperature of the lamp
    /// @param scale   its brightness, 1: as built
    /// @param uvCut   with a filter before the lamp that leaves a fifth of the light up to 390 nm and all from 420 nm
    /// on
    void SetLamp(double kelvin, double scale, bool uvCut);

    /// Something of this reflectance factor, in the light of the lamp.
    PixelRates UnderLamp(const Curve& reflectance) const;

    /// A source of this radiance, W / (sr m2 nm).
    PixelRates OfSource(const Curve& radiance) const;

    /// The same through something of this transmittance factor.
    PixelRates OfSourceThrough(const Curve& radiance, const Curve& transmittance) const;

    /// Irradiance on the diffuser, W / (m2 nm).
    PixelRates OfAmbientLight(const Curve& irradiance) const;

    /// Irradiance for one unit of radiance that gives the same counts, at a wavelength in nanometres.
    static double DiffuserFactor(double wavelength);

    /// The weights of a band: they add up to 1 and give the value at the band's wavelength of every curve that is a
    /// straight line to both sides of it.
    static BandWeights WeightsOf(std::size_t band);

    /// Radiance for one count per second in a band, W / (sr m2 nm): of a source that is the same at all wavelengths.
    double RadiancePerRate(std::size_t band) const;

private:
    using SpectralRate = std::function<double(std::size_t node, double wavelength)>;
    PixelRates Collect(const SpectralRate& rate) const;

    std::vector<double> sensitivity; // [node] of the wavelength grid
    std::vector<double> lamp;        // [node], counts per second of a perfect white
};

}
