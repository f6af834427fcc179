#include "Vondrel/DeviceDriver/GENERIC/Calculation/WhiteCheck.h"

#include "Vondrel/DeviceDriver/GENERIC/Configuration/PropertyId.h"
#include "Vondrel/Utilities/Exceptions/DeviceDriverException.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"

#include <cmath>

namespace Vondrel::DeviceDriver::Generic::Calculation {

namespace {

struct Range {
    float lowest;
    float highest;

    bool Holds(float level) const { return level >= lowest && level <= highest; }
};

struct WhiteShape {
    Range ultraviolet; ///< mean of 380 and 390 nm
    Range red;         ///< mean of 600 to 650 nm
};

constexpr WhiteShape filteredShape = {{0.0F, 0.05F}, {1.2F, 1.76F}};
constexpr WhiteShape unfilteredShape = {{0.11F, 0.22F}, {1.35F, 1.6F}};

constexpr std::size_t band550 = 17;
constexpr std::size_t band600 = 22;
constexpr std::size_t band650 = 27;

float Quotient(float dividend, float divisor)
{
    if (divisor == 0)
        throw CalculationException("Devision by zero", THROW_LOCATION("", "Quotient"));
    return dividend / divisor;
}

/// The magnitude of the mean of the bands from first to last.
float Level(const std::vector<float>& spectrum, std::size_t first, std::size_t last)
{
    float sum = 0;
    for (std::size_t band = first; band <= last; ++band)
        sum += spectrum[band];
    return std::abs(sum) / static_cast<float>(last - first + 1);
}

}

bool HasShapeOfWhite(const std::vector<float>& spectrum, const std::vector<float>& reference, std::int32_t filter)
try {
    if (spectrum.size() <= band650 || reference.size() < spectrum.size())
        return false;

    const float level550 = Quotient(spectrum[band550], reference[band550]);
    std::vector<float> relative(spectrum.size());
    for (std::size_t band = 0; band < relative.size(); ++band)
        relative[band] = Quotient(Quotient(spectrum[band], reference[band]), level550);

    const WhiteShape& shape = filter == Configuration::ultravioletFilter ? filteredShape : unfilteredShape;
    return shape.ultraviolet.Holds(Level(relative, 0, 1)) && shape.red.Holds(Level(relative, band600, band650));
}
TRACE_GUARD("", "HasShapeOfWhite")

}
