#pragma once

#include <span>
#include <vector>

namespace Virtual {

/// A quantity over wavelength: straight lines between evenly spaced points, the end values beyond the ends.
class Curve {
public:
    Curve() = default; ///< zero everywhere

    /// @param values    at least one
    /// @param first     wavelength of the first value, nanometres
    /// @param distance  between two values, nanometres, above 0
    Curve(std::span<const float> values, double first, double distance);

    double At(double wavelength) const;

private:
    std::vector<double> points;
    double firstWavelength = 0.0;
    double step = 1.0;
};

}
