// From another grid of wavelengths to that of the library.
#include "Vondrel/CMetry/SpectrumGrid.h"
#include "Vondrel/ColorC/Call.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

using namespace Vondrel::ColorC;
namespace SpectrumGrid = Vondrel::CMetry::SpectrumGrid;

namespace {

/// The points of the other grid that a band is made of, and their shares.
struct Share {
    std::size_t first = 0;
    std::vector<double> weights;
};

struct Grid {
    std::size_t points;
    double first, step; // nm

    double At(std::size_t i) const { return first + static_cast<double>(i) * step; }
};

Share Single(std::size_t point)
{
    return {point, {1.0}};
}

// A triangle of 20 nm at the base, as of a monochromator with slits of 10 nm (ASTM E308, CIE 15). Where the points lie
// unevenly under it the weights are those of a straight line fitted under the triangle, so that lines stay lines.
Share Triangle(const Grid& grid, double wavelength)
{
    constexpr double half = SpectrumGrid::StepSize;
    const double middle = (wavelength - grid.first) / grid.step;
    const double reach = half / grid.step;
    const auto begin = static_cast<std::size_t>(std::max(0.0, std::ceil(middle - reach)));
    const auto end = std::min(grid.points, static_cast<std::size_t>(std::floor(middle + reach)) + 1);
    Share share{begin, {}};
    double sum = 0, moment = 0, second = 0;
    for (std::size_t i = begin; i < end; ++i) {
        const double distance = static_cast<double>(i) - middle;
        const double weight = std::max(0.0, 1 - std::abs(distance) / reach);
        share.weights.push_back(weight);
        sum += weight;
        moment += weight * distance;
        second += weight * distance * distance;
    }
    const double determinant = sum * second - moment * moment;
    for (std::size_t i = begin; i < end; ++i)
        share.weights[i - begin] *=
            determinant > 0 ? (second - moment * (static_cast<double>(i) - middle)) / determinant : 1 / sum;
    return share;
}

// T. B. Sprague's interpolation as in CIE 167:2005: a polynomial of the fifth degree through six points, between the
// third and the fourth.
Share Sprague(std::size_t interval, double x)
{
    // By point: the coefficients of x^0 to x^5, times 24.
    constexpr double table[6][6] = {
        {0, 2, -1, -9, 13, -5},    {0, -16, 16, 39, -64, 25}, {24, 0, -30, -70, 126, -50},
        {0, 16, 16, 66, -124, 50}, {0, -2, -1, -33, 61, -25}, {0, 0, 0, 7, -12, 5},
    };
    Share share{interval - 2, std::vector<double>(6)};
    for (std::size_t point = 0; point < 6; ++point) {
        double value = 0;
        for (std::size_t power = 6; power-- > 0;)
            value = value * x + table[point][power];
        share.weights[point] = value / 24;
    }
    return share;
}

// The parabola through the three nearest points.
Share Parabola(const Grid& grid, double position)
{
    const auto nearest =
        static_cast<std::size_t>(std::clamp(std::round(position), 1.0, static_cast<double>(grid.points) - 2));
    const double x = position - static_cast<double>(nearest);
    return {nearest - 1, {x * (x - 1) / 2, (1 - x) * (1 + x), x * (x + 1) / 2}};
}

Share GetShare(const Grid& grid, double wavelength)
{
    if (wavelength < grid.first)
        return Single(0);
    if (wavelength > grid.At(grid.points - 1))
        return Single(grid.points - 1);
    if (grid.step < SpectrumGrid::StepSize)
        return Triangle(grid, wavelength);
    const double position = (wavelength - grid.first) / grid.step;
    const auto interval = static_cast<std::size_t>(position);
    if (interval >= 2 && interval + 3 < grid.points)
        return Sprague(interval, position - static_cast<double>(interval));
    return Parabola(grid, position);
}

using Shares = std::array<Share, OXC_BANDS>;

Shares GetShares(const Grid& grid)
{
    constexpr double tolerance = 1e-6; // nm, for steps like 0.1
    const double last = grid.At(grid.points - 1);
    if (!(grid.step > 0) || grid.points < 4 || !std::isfinite(last))
        throw Refusal{OX_InvalidParameter, "a grid takes 4 points and a step above 0"};
    if (!(grid.first <= 400 + tolerance) || !(last >= 700 - tolerance))
        throw Refusal{OX_InvalidParameter, "a grid covers 400 nm to 700 nm"};
    Shares shares;
    for (std::size_t band = 0; band < shares.size(); ++band)
        shares[band] = GetShare(grid, static_cast<double>(SpectrumGrid::MinWavelength + band * SpectrumGrid::StepSize));
    return shares;
}

std::array<float, OXC_BANDS> Resample(const Shares& shares, const float* values)
{
    std::array<float, OXC_BANDS> spectrum;
    for (std::size_t band = 0; band < spectrum.size(); ++band) {
        double sum = 0;
        for (std::size_t i = 0; i < shares[band].weights.size(); ++i)
            sum += shares[band].weights[i] * values[shares[band].first + i];
        spectrum[band] = static_cast<float>(sum);
    }
    return spectrum;
}

}

extern "C" int32_t oxc_resample(const float* values, size_t points, double first_nm, double step_nm, size_t count,
                                float* spectra)
{
    return Call([&] {
        const Shares shares = GetShares({points, first_nm, step_nm});
        CheckArrays(count, {{values, points}}, {{spectra, OXC_BANDS}});
        Rows rows;
        for (std::size_t row = 0; row < count; ++row) {
            const float* const from = values + row * points;
            auto spectrum = Resample(shares, from);
            const bool finite = AllFinite(from, points);
            if (!finite || !AllFinite(spectrum.data(), spectrum.size())) {
                rows.Fail(row, finite ? OX_CalculationFailed : OX_InvalidParameter, finite ? noResult : notFinite);
                spectrum.fill(noNumber);
            }
            std::copy(spectrum.begin(), spectrum.end(), spectra + row * OXC_BANDS);
        }
        return rows.Result();
    });
}
