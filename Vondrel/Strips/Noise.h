#pragma once

#include <array>
#include <cstddef>
#include <vector>

namespace Vondrel::Strips {

/// What the recognition sees of a spectrum: the means of three neighbouring bands each, of white.
constexpr std::size_t channels = 12;
using Row = std::array<float, channels>;
using Rows = std::vector<Row>;

/// Readings first to last.
struct Span {
    std::size_t first = 0, last = 0;
    std::size_t Length() const { return last - first + 1; }
};

inline float Dot(const Row& a, const Row& b)
{
    float sum = 0;
    for (std::size_t c = 0; c < channels; ++c)
        sum += a[c] * b[c];
    return sum;
}

inline Row Minus(const Row& a, const Row& b)
{
    Row difference;
    for (std::size_t c = 0; c < channels; ++c)
        difference[c] = a[c] - b[c];
    return difference;
}

/// A reading on the even scale, where noise has the deviation 1 in every direction but that of flicker.
struct Even {
    Row at{};
    Row flicker{}; ///< a step s is Dot(s, flicker) shorter, in square, than it looks

    /// Product of two steps from here, flicker considered.
    float Product(const Row& a, const Row& b) const { return Dot(a, b) - Dot(a, flicker) * Dot(b, flicker); }
    float SquaredDistance(const Row& other) const
    {
        const Row step = Minus(other, at);
        return Product(step, step);
    }
};

/// What a reading leaves the mean of its place by.
struct Deviation {
    Row level, step;
};

/// Room that the search for noise works in, kept from one time to the next.
struct NoiseTables {
    explicit NoiseTables(std::size_t readings);

    static constexpr std::size_t levels = 8; // in which noise is looked at apart
    std::vector<Deviation> deviations;
    Rows steps;
    std::vector<float> sizes, sorted;
    std::array<std::vector<float>, levels> bins;
};

/// The noise of a scan, taken from the scan itself, and the scale that evens it out.
///
/// A part of the noise has the same size everywhere and a part grows with the reading: asinh(x / knee) makes them one,
/// and what remains is a covariance, evened out by its Cholesky factor. Flicker moves all channels together, along the
/// reading itself; it may be many times larger than the rest and is a direction of its own at every reading.
class Noise {
public:
    Noise() = default;
    /// From the second differences of neighbours, of which the smaller ones are taken: they lie on no edge.
    static Noise OfNeighbours(const Rows& readings, NoiseTables& tables);
    /// From the deviations within stretches of one colour.
    static Noise OfStretches(const Rows& readings, const std::vector<Span>& stretches, NoiseTables& tables);

    Even ToEven(const Row& reading) const;
    void ToEven(const Rows& readings, std::vector<Even>& even) const;
    /// What a small step from a reading is on the even scale.
    Row EvenStep(const Row& at, const Row& step) const;

private:
    using Matrix = std::array<std::array<double, channels>, channels>;
    Noise(NoiseTables& tables, double share);
    void TakeFlicker(NoiseTables& tables, double share);
    void ChooseKnee(NoiseTables& tables, double share);
    void TakeCovariance(NoiseTables& tables, double share);
    void Factor(Matrix covariance);
    Row Bend(const Row& level, const Row& step) const;
    Row Whiten(const Row& row) const;

    float knee = 1;
    float unit = 1;                                              // makes a step at white its share of white
    float flicker = 0;                                           // rms, of the reading
    std::array<std::array<float, channels>, channels> inverse{}; // of the Cholesky factor
};

}
