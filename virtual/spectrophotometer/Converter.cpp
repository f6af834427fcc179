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
    // The root of the polynomial, in the form that does not cancel.
    const auto [constant, linear, quadratic] = LinearisationOf(gain);
    const double above = counts - constant;
    const double bent = 2.0 * above / (linear + std::sqrt(linear * linear + 4.0 * quadratic * above));

    const double disturbance = noise > 0.0 ? noise * normal(random) : 0.0;
    return static_cast<std::uint16_t>(std::clamp(std::round(bent + pedestal + disturbance), 0.0, clipLevel));
}

}
