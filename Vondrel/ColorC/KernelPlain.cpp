// The road of every processor.
#include "Vondrel/ColorC/Kernels.h"

#include <cstdint>
#include <cstring>

namespace {

struct Lanes {
    static constexpr std::size_t width = 1;
    using Mask = bool;
    double value;

    static Lanes All(double value) { return {value}; }
    static Lanes Load(const float* from) { return {static_cast<double>(*from)}; }
    static Lanes LoadRatio(const float* from, float white) { return {static_cast<double>(*from / white)}; }
    void Store(float* to) const { *to = static_cast<float>(value); }
    friend Lanes operator+(Lanes a, Lanes b) { return {a.value + b.value}; }
    friend Lanes operator-(Lanes a, Lanes b) { return {a.value - b.value}; }
    friend Lanes operator*(Lanes a, Lanes b) { return {a.value * b.value}; }
    friend Lanes operator/(Lanes a, Lanes b) { return {a.value / b.value}; }
    static Lanes MulAdd(Lanes a, Lanes b, Lanes c) { return a * b + c; }
    static Lanes OneMinusProduct(Lanes a, Lanes b) { return All(1) - a * b; }
    Lanes Single() const { return {static_cast<double>(static_cast<float>(value))}; }
    static Lanes CubeRootGuess(Lanes x)
    {
        std::uint64_t bits;
        std::memcpy(&bits, &x, sizeof bits);
        bits = std::uint64_t{0x553ef000U - static_cast<std::uint32_t>(bits >> 32) / 3} << 32;
        std::memcpy(&x, &bits, sizeof bits);
        return x;
    }
    static Mask Greater(Lanes a, double b) { return a.value > b; }
    static Lanes Select(Mask mask, Lanes a, Lanes b) { return mask ? a : b; }
    static bool AllSet(Mask mask) { return mask; }
    static void LoadBands(const float* spectra, Lanes (&bands)[4])
    {
        for (std::size_t i = 0; i < 4; ++i)
            bands[i] = Load(spectra + i);
    }
};

}

#include "Vondrel/ColorC/KernelBody.h"

namespace Vondrel::ColorC {

const Road plainRoad{"plain", WeighRows, RowsToLab, RowsFromLab};

}
