#include "virtual/spectrophotometer/Converter.h"

#include <algorithm>
#include <cmath>

namespace Virtual {

void Converter::Seed(std::uint64_t seed)
{
    random.seed(seed);
    normal.reset();
}

std::uint16_t Converter::Word(double counts, Gain gain)
{
    // The amplifier of the high gain makes the light's own noise larger with the light.
    const double amplification = gain == Gain::high ? gainRatio : 1.0;
    const double collected = counts + Disturbance(shotNoise * std::sqrt(std::max(counts, 0.0) * amplification));

    // The root of the polynomial, in the form that does not cancel.
    const auto [constant, linear, quadratic] = LinearisationOf(gain);
    const double above = collected - constant;
    const double bent = 2.0 * above / (linear + std::sqrt(linear * linear + 4.0 * quadratic * above));

    return static_cast<std::uint16_t>(std::clamp(std::round(bent + pedestal + Disturbance(noise)), 0.0, clipLevel));
}

}
