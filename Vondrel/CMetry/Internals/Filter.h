#pragma once

#include "Vondrel/CMetry/Internals/StandardTables.h"

#include <cstddef>

namespace Vondrel::CMetry {

class VDSpectrum;

/// One response curve on the spectrum grid: 36 weights, 380 nm first, steps of 10 nm.
class Filter {
public:
    using Curve = DensityCurve;

    Filter() = default;
    explicit Filter(const Curve& curve);

    void CalculateSum();
    /// The sum of the weights, added in single precision; calculated when a weight has changed.
    float GetFilterSum();

    const Curve& GetFilterSpectrum() const { return values; }

    /// A weight, index 0 to 35, not checked. The writable form makes the sum out of date.
    float operator[](std::size_t index) const { return values[index]; }
    float& operator[](std::size_t index);

    /// The product of two curves, point by point.
    Filter FilterXFilter(const Filter& other) const;

    /// The response to a spectrum: the sum of weight times value, held in single precision.
    float operator*(const VDSpectrum& spectrum) const;

    /// The same 36 weights, to the last bit.
    bool operator==(const Filter& other) const;

private:
    bool sumValid = false;
    float sum = 0.0F;
    Curve values{};
};

}
