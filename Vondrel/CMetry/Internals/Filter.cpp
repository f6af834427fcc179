#include "Vondrel/CMetry/Internals/Filter.h"

#include "Vondrel/CMetry/Internals/SinglePrecision.h"
#include "Vondrel/CMetry/VDSpectrum.h"

#include <bit>
#include <cstdint>
#include <tuple>

namespace Vondrel::CMetry {

Filter::Filter(const Curve& curve) : values(curve)
{
    CalculateSum();
}

void Filter::CalculateSum()
{
    sum = 0.0F;
    for (const float value : values)
        sum += value;
    sumValid = true;
}

float Filter::GetFilterSum()
{
    if (!sumValid)
        CalculateSum();
    return sum;
}

float& Filter::operator[](std::size_t index)
{
    sumValid = false;
    return values[index];
}

Filter Filter::FilterXFilter(const Filter& other) const
{
    Curve product;
    for (std::size_t i = 0; i < product.size(); ++i)
        product[i] = values[i] * other.values[i];
    return Filter(product);
}

float Filter::operator*(const VDSpectrum& spectrum) const
{
    float response = 0.0F;
    for (std::size_t i = 0; i < values.size(); ++i)
        response = Accumulate(response, values[i], spectrum[i]);
    return response;
}

bool Filter::operator==(const Filter& other) const
{
    using Bits = std::array<std::uint32_t, std::tuple_size_v<Curve>>;
    return std::bit_cast<Bits>(values) == std::bit_cast<Bits>(other.values);
}

}
