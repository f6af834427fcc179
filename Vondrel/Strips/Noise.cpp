#include "Vondrel/Strips/Noise.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace Vondrel::Strips {

namespace {

constexpr double smallest = 0.0007;       // noise that is always reckoned with, of each channel ...
constexpr float smallestFlicker = 0.003F; // ... and of all together
constexpr float darkest = 0.02F;          // of white; flicker is not looked for in what is darker

/// asinh, quicker.
float Bent(float x)
{
    return std::copysign(std::log(std::abs(x) + std::sqrt(x * x + 1)), x);
}

float Quantile(std::vector<float>& values, double share)
{
    const auto place = values.begin() + static_cast<std::ptrdiff_t>(share * static_cast<double>(values.size() - 1));
    std::nth_element(values.begin(), place, values.end());
    return *place;
}

}

NoiseTables::NoiseTables(std::size_t readings)
{
    deviations.reserve(readings);
    steps.reserve(readings);
    sizes.reserve(readings);
    sorted.reserve(readings);
    for (auto& bin : bins)
        bin.reserve(readings * channels / 2);
}

Noise Noise::OfNeighbours(const Rows& readings, NoiseTables& tables)
{
    tables.deviations.clear();
    for (std::size_t i = 1; i + 1 < readings.size(); ++i) {
        Deviation d;
        for (std::size_t c = 0; c < channels; ++c) {
            d.level[c] = (readings[i - 1][c] + readings[i][c] + readings[i + 1][c]) / 3;
            d.step[c] = (readings[i][c] - (readings[i - 1][c] + readings[i + 1][c]) / 2) * 0.8165F; // sqrt(2/3)
        }
        tables.deviations.push_back(d);
    }
    return {tables, 0.3};
}

Noise Noise::OfStretches(const Rows& readings, const std::vector<Span>& stretches, NoiseTables& tables)
{
    tables.deviations.clear();
    for (const Span& stretch : stretches) {
        const auto n = static_cast<float>(stretch.Length());
        if (stretch.Length() < 2)
            continue;
        Row mean{};
        for (std::size_t i = stretch.first; i <= stretch.last; ++i)
            for (std::size_t c = 0; c < channels; ++c)
                mean[c] += readings[i][c] / n;
        const float loss = std::sqrt(n / (n - 1));
        for (std::size_t i = stretch.first; i <= stretch.last; ++i) {
            Deviation d{mean, {}};
            for (std::size_t c = 0; c < channels; ++c)
                d.step[c] = (readings[i][c] - mean[c]) * loss;
            tables.deviations.push_back(d);
        }
    }
    return {tables, 0.9};
}

Noise::Noise(NoiseTables& tables, double share)
{
    TakeFlicker(tables, share);
    ChooseKnee(tables, share);
    TakeCovariance(tables, share);
}

/// Measures what all channels have in common, and takes it out of the deviations.
void Noise::TakeFlicker(NoiseTables& tables, double share)
{
    std::vector<float>& factors = tables.sizes;
    factors.clear();
    for (Deviation& d : tables.deviations) {
        float along = 0, length = darkest * darkest * channels;
        for (std::size_t c = 0; c < channels; ++c) {
            along += d.step[c] * d.level[c];
            length += d.level[c] * d.level[c];
        }
        factors.push_back(std::abs(along / length));
        for (std::size_t c = 0; c < channels; ++c)
            d.step[c] -= along / length * d.level[c];
    }
    // The smallest 30 % of normal deviations stay below 0.385, the smallest 68.3 % below 1.
    const bool wide = share < 0.5;
    flicker = factors.empty() ? 0 : Quantile(factors, wide ? 0.3 : 0.683) / (wide ? 0.385F : 1.0F);
    flicker = std::max(flicker, smallestFlicker);
}

/// Of a few knees the one that leaves the noise of dark and light readings most alike.
void Noise::ChooseKnee(NoiseTables& tables, double share)
{
    constexpr std::size_t levels = NoiseTables::levels;
    auto& bins = tables.bins;
    for (auto& sizes : bins)
        sizes.clear();
    const auto bin = [&](float level) {
        const float octaves = -std::log2(std::clamp(level, 1e-3F, 1.0F));
        return std::min(levels - 1, static_cast<std::size_t>(octaves * 1.5F));
    };
    for (const Deviation& d : tables.deviations)
        for (std::size_t c = 0; c < channels; c += 2)
            bins[bin(d.level[c])].push_back(std::abs(d.step[c]));
    struct Level {
        double level = 1, size = 0, weight = 0;
    };
    std::array<Level, levels> seen;
    for (std::size_t i = 0; i < levels; ++i)
        if (bins[i].size() >= 24)
            seen[i] = {std::exp2(-(static_cast<double>(i) + 0.5) / 1.5),
                       std::log(Quantile(bins[i], share * 0.6) + 1e-6), static_cast<double>(bins[i].size())};
    double least = std::numeric_limits<double>::max();
    for (const double candidate : {0.01, 0.02, 0.04, 0.08, 0.16, 0.32, 0.64, 2.0}) {
        double sum = 0, squares = 0, weights = 1e-9;
        for (const Level& at : seen) {
            const double size = at.size - std::log(std::hypot(at.level, candidate));
            sum += at.weight * size;
            squares += at.weight * size * size;
            weights += at.weight;
        }
        const double spread = squares / weights - sum * sum / weights / weights;
        if (spread < least) {
            least = spread;
            knee = static_cast<float>(candidate);
        }
    }
    unit = std::hypot(1.0F, knee);
}

/// The covariance of the smaller deviations, twice narrowed to those that are small by the covariance itself.
void Noise::TakeCovariance(NoiseTables& tables, double share)
{
    auto& [deviations, steps, sizes, sorted, bins] = tables;
    steps.clear();
    for (const Deviation& d : deviations)
        steps.push_back(Bend(d.level, d.step));
    for (std::size_t c = 0; c < channels; ++c)
        inverse[c][c] = 1;
    sizes.resize(steps.size());
    for (int round = 0; round < 3 && !steps.empty(); ++round) {
        std::transform(steps.begin(), steps.end(), sizes.begin(), [&](const Row& step) {
            const Row white = Whiten(step);
            return Dot(white, white);
        });
        sorted = sizes;
        const float limit = Quantile(sorted, share);
        Matrix sums{};
        double count = 0;
        for (std::size_t i = 0; i < steps.size(); ++i) {
            if (sizes[i] > limit)
                continue;
            ++count;
            for (std::size_t a = 0; a < channels; ++a)
                for (std::size_t b = 0; b <= a; ++b)
                    sums[a][b] += static_cast<double>(steps[i][a]) * static_cast<double>(steps[i][b]);
        }
        // Of 12 squares of normal deviations the smallest 30 % have the mean 7.6, the smallest 90 % 10.9.
        const double loss = channels / (share < 0.5 ? 7.6 : 10.9) / count;
        double taken = 0; // with the flicker
        for (std::size_t a = 0; a < channels; ++a)
            taken += sums[a][a] * loss / (channels - 1) / channels;
        for (std::size_t a = 0; a < channels; ++a)
            for (std::size_t b = 0; b <= a; ++b)
                sums[a][b] = sums[a][b] * loss + taken + (a == b ? smallest * smallest : 0);
        Factor(sums);
    }
}

/// The inverse of the Cholesky factor of a covariance.
void Noise::Factor(Matrix covariance)
{
    for (std::size_t a = 0; a < channels; ++a)
        for (std::size_t b = 0; b <= a; ++b) {
            double rest = covariance[a][b];
            for (std::size_t k = 0; k < b; ++k)
                rest -= covariance[a][k] * covariance[b][k];
            covariance[a][b] = a == b ? std::sqrt(std::max(rest, 1e-12)) : rest / covariance[b][b];
        }
    for (std::size_t b = 0; b < channels; ++b)
        for (std::size_t a = b; a < channels; ++a) {
            double rest = a == b ? 1 : 0;
            for (std::size_t k = b; k < a; ++k)
                rest -= covariance[a][k] * static_cast<double>(inverse[k][b]);
            inverse[a][b] = static_cast<float>(rest / covariance[a][a]);
        }
}

/// A small step at a level on the bent scale.
Row Noise::Bend(const Row& level, const Row& step) const
{
    Row bent;
    for (std::size_t c = 0; c < channels; ++c)
        bent[c] = step[c] * unit / std::sqrt(level[c] * level[c] + knee * knee);
    return bent;
}

Row Noise::Whiten(const Row& row) const
{
    Row white;
    for (std::size_t a = 0; a < channels; ++a) {
        float sum = 0;
        for (std::size_t b = 0; b <= a; ++b)
            sum += inverse[a][b] * row[b];
        white[a] = sum;
    }
    return white;
}

Even Noise::ToEven(const Row& reading) const
{
    Even even;
    for (std::size_t c = 0; c < channels; ++c)
        even.at[c] = unit * Bent(reading[c] / knee);
    even.at = Whiten(even.at);
    even.flicker = EvenStep(reading, reading);
    const float length = Dot(even.flicker, even.flicker);
    for (float& part : even.flicker)
        part *= flicker / std::sqrt(1 + flicker * flicker * length);
    return even;
}

void Noise::ToEven(const Rows& readings, std::vector<Even>& even) const
{
    even.resize(readings.size());
    std::transform(readings.begin(), readings.end(), even.begin(), [&](const Row& row) { return ToEven(row); });
}

Row Noise::EvenStep(const Row& at, const Row& step) const
{
    return Whiten(Bend(at, step));
}

}
