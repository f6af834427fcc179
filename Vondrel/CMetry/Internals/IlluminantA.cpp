// CIE illuminant A: the Planck radiator of the CIE 1931 definition, 2848 K with c2 = 1.435e7 nm K (CIE 15,
// Colorimetry).

#include "Vondrel/CMetry/Internals/StandardTables.h"

namespace Vondrel::CMetry {

namespace {

// The standard library's exponential is no constant expression, and its last bit is the platform's own.
constexpr double Exponential(double x)
{
    constexpr int halvings = 12;
    const double small = x / (1 << halvings);
    double result = 1.0;
    for (int term = 10; term > 0; --term)
        result = 1.0 + result * small / term;
    for (int i = 0; i < halvings; ++i)
        result *= result;
    return result;
}

constexpr int first = 300, last = 830;

constexpr auto values = [] {
    constexpr double c = 1.435e7, temperature = 2848.0, unity = 560.0;
    std::array<float, last - first + 1> table{};
    for (int wavelength = first; wavelength <= last; ++wavelength) {
        const double ratio = unity / wavelength;
        const double power = ratio * ratio * ratio * ratio * ratio;
        const double planck =
            (Exponential(c / (temperature * unity)) - 1.0) / (Exponential(c / (temperature * wavelength)) - 1.0);
        table[static_cast<std::size_t>(wavelength - first)] = static_cast<float>(100.0 * power * planck);
    }
    return table;
}();

}

const StandardTable illuminantA = {first, last, 1, values.data()};

}
