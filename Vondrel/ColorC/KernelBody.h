// The loops of a road, written once. A road's file defines what Lanes are and includes this: it is compiled with the
// road's instructions, so nothing here or there may be shared with other files (no inline function of a library).
//
// Lanes: `width` doubles of as many rows, with
//     static Lanes All(double), static Lanes Load(const float*), void Store(float*) const
//     +, -, *, /; Lanes Single() const, a rounding to single precision and back
//     static Lanes LoadRatio(const float*, float white), the quotients in single precision: rounding them to double
//     first
//         gives the same floats, since 53 bits are more than twice 24 and 2 (S. A. Figueroa, When is double rounding
//         innocuous?, 1995)
//     static Lanes MulAdd(a, b, c), a * b + c; OneMinusProduct(a, b), 1 - a * b; fused or not
//     static Lanes CubeRootGuess(Lanes)
//     static Mask Greater(Lanes, double); static Lanes Select(Mask, Lanes, Lanes); static bool AllSet(Mask)
//     static void LoadBands(const float* spectra, Lanes (&bands)[4]), four bands of `width` spectra 36 floats apart

namespace {

using Vondrel::ColorC::Block;
using Vondrel::ColorC::blockRows;
using Vondrel::ColorC::KernelWeights;

constexpr std::size_t groups = blockRows / Lanes::width;

// `rows` groups of lanes side by side: as many as the registers hold.
template<std::size_t side>
void WeighGroups(const KernelWeights& weights, const float* spectra, Block& xyz, std::size_t firstRow)
{
    Lanes sums[3][side];
    for (auto& axis : sums)
        for (auto& sum : axis)
            sum = Lanes::All(0.0);
    for (std::size_t band = 0; band < KernelWeights::bands; band += 4) {
        Lanes values[side][4];
        for (std::size_t group = 0; group < side; ++group)
            Lanes::LoadBands(spectra + group * Lanes::width * KernelWeights::bands + band, values[group]);
        for (std::size_t i = 0; i < 4; ++i)
            for (std::size_t axis = 0; axis < 3; ++axis) {
                const Lanes weight = Lanes::All(weights.wide[band + i][axis]);
                for (std::size_t group = 0; group < side; ++group)
                    sums[axis][group] = (weight * values[group][i] + sums[axis][group]).Single();
            }
    }
    for (std::size_t axis = 0; axis < 3; ++axis)
        for (std::size_t group = 0; group < side; ++group)
            sums[axis][group].Store(&xyz[axis][firstRow + group * Lanes::width]);
}

void WeighRows(const KernelWeights& weights, const float* spectra, Block& xyz)
{
    constexpr std::size_t side = Lanes::width == 4 ? 4 : 2;
    for (std::size_t row = 0; row < blockRows; row += side * Lanes::width)
        WeighGroups<side>(weights, spectra + row * KernelWeights::bands, xyz, row);
}

constexpr double labSlope = 7.787F;
constexpr double labOffset = 0.13793103F; // 16/116

// As CubeRoot of the engine. Where a road has fused multiply-adds the last bits of the double differ; the same float
// comes of all 1 131 341 630 floats above 0.008856.
Lanes LanesCubeRoot(Lanes x)
{
    const auto all = [](double value) { return Lanes::All(value); };
    const auto mulAdd = [](Lanes a, Lanes b, Lanes c) { return Lanes::MulAdd(a, b, c); };
    Lanes y = Lanes::CubeRootGuess(x);
    Lanes error = Lanes::OneMinusProduct(x * y * y, y);
    Lanes factor = mulAdd(error, all(35.0 / 243), all(14.0 / 81));
    factor = mulAdd(error, mulAdd(error, factor, all(2.0 / 9)), all(1.0 / 3));
    y = y * mulAdd(error, factor, all(1));
    error = Lanes::OneMinusProduct(x * y * y, y);
    y = y * mulAdd(error, mulAdd(error, all(2.0 / 9), all(1.0 / 3)), all(1));
    return x * y * y;
}

void RowsToLab(const KernelWeights& weights, Block& colors)
{
    constexpr double threshold = 0.008856;
    for (std::size_t row = 0; row < blockRows; row += Lanes::width) {
        Lanes ratios[3], f[3];
        for (std::size_t axis = 0; axis < 3; ++axis)
            ratios[axis] = Lanes::LoadRatio(&colors[axis][row], static_cast<float>(weights.white[axis]));
        for (std::size_t axis = 0; axis < 3; ++axis)
            f[axis] = LanesCubeRoot(ratios[axis]);
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const Lanes dark = Lanes::All(labSlope) * ratios[axis] + Lanes::All(labOffset);
            f[axis] = Lanes::Select(Lanes::Greater(ratios[axis], threshold), f[axis], dark).Single();
        }
        const Lanes lightness = (Lanes::All(116) * f[1] - Lanes::All(16)).Single();
        Lanes::Select(Lanes::Greater(Lanes::All(0) - lightness, 0), Lanes::All(0), lightness).Store(&colors[0][row]);
        ((f[0] - f[1]) * Lanes::All(500)).Store(&colors[1][row]);
        ((f[1] - f[2]) * Lanes::All(200)).Store(&colors[2][row]);
    }
}

Lanes FromLabFunctionOf(Lanes f, double white)
{
    constexpr double threshold = 0.206893034423;
    const auto bright = Lanes::Greater(f, threshold);
    const Lanes cube = Lanes::All(white) * (f * f * f);
    if (Lanes::AllSet(bright))
        return cube;
    return Lanes::Select(bright, cube, (f - Lanes::All(labOffset)) * Lanes::All(white) / Lanes::All(labSlope));
}

void RowsFromLab(const KernelWeights& weights, Block& colors)
{
    for (std::size_t row = 0; row < blockRows; row += Lanes::width) {
        const Lanes y = ((Lanes::Load(&colors[0][row]) + Lanes::All(16)) / Lanes::All(116)).Single();
        const Lanes x = (Lanes::Load(&colors[1][row]) / Lanes::All(500) + y).Single();
        const Lanes z = (y - Lanes::Load(&colors[2][row]) / Lanes::All(200)).Single();
        FromLabFunctionOf(x, weights.white[0]).Store(&colors[0][row]);
        FromLabFunctionOf(y, weights.white[1]).Store(&colors[1][row]);
        FromLabFunctionOf(z, weights.white[2]).Store(&colors[2][row]);
    }
}

}
