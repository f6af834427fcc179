#include "virtual/instrument/Curve.h"

namespace Virtual {

Curve::Curve(std::span<const float> values, double first, double distance)
    : points(values.begin(), values.end()), firstWavelength(first), step(distance)
{
}

double Curve::At(double wavelength) const
{
    if (points.empty())
        return 0.0;
    const double position = (wavelength - firstWavelength) / step;
    if (!(position > 0.0))
        return points.front();
    if (position >= static_cast<double>(points.size() - 1))
        return points.back();
    const auto left = static_cast<std::size_t>(position);
    const double share = position - static_cast<double>(left);
    return points[left] + (points[left + 1] - points[left]) * share;
}

}
