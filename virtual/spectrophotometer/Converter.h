#pragma once

#include <cstdint>
#include <random>

namespace Virtual {

/// Coefficients of the polynomial that turns words (less the pedestal) back into counts, ascending order of power.
struct Linearisation {
    double constant;
    double linear;
    double quadratic;
};

/// The gain settings as the commands number them.
enum class Gain { high = 0, normal = 1 };

inline constexpr double gainRatio = 9.6; ///< counts at high gain for one at normal gain

/// The polynomial that undoes the sensor's curvature at a gain.
constexpr Linearisation LinearisationOf(Gain gain)
{
    return gain == Gain::normal ? Linearisation{-12.0, 0.985, 4e-7} : Linearisation{-15.0, 0.98, 5e-7};
}

/// The analogue end of the sensor: collected counts become words.
class Converter {
public:
    double pedestal = 300.0;    ///< added to every word
    double clipLevel = 57000.0; ///< the highest word
    double noise = 0.0;         ///< rms, in words, whatever the light
    double shotNoise = 0.0;     ///< rms of one collected count at normal gain; of n counts sqrt(n) times as much

    void Seed(std::uint64_t seed);

    /// @param counts  collected in one reading, gain included
    std::uint16_t Word(double counts, Gain gain);

private:
    double Disturbance(double rms) { return rms > 0.0 ? rms * normal(random) : 0.0; }

    std::mt19937_64 random;
    std::normal_distribution<double> normal;
};

}
