#pragma once

#include "Vondrel/CMetry/VDMeasureConditions.h"

#include <array>
#include <cstddef>
#include <vector>

namespace Vondrel::CMetry {

/// Up to four numbers in the colour space that the conditions name. Spaces of three elements leave the fourth 0.
class VDColorVector {
public:
    VDColorVector() = default;
    VDColorVector(float first, float second, float third, const VDMeasureConditions& conditions)
        : elements{first, second, third, 0.0F}, measureConditions(conditions)
    {
    }
    /// @param values  at most four; those missing are 0
    /// @throws CMetryException  more
    VDColorVector(const std::vector<float>& values, const VDMeasureConditions& conditions);

    /// Elements as floats, and the conditions.
    bool operator==(const VDColorVector& other) const = default;

    /// @param index  0 to 3, unchecked
    float& operator[](std::size_t index) noexcept { return elements[index]; }
    const float& operator[](std::size_t index) const noexcept { return elements[index]; }

    /// Sets a space of three elements; the fourth becomes 0.
    void SetElements(float first, float second, float third) noexcept { elements = {first, second, third, 0.0F}; }

    /// Element by element, also the product; the conditions stay.
    VDColorVector& operator-=(const VDColorVector& other) noexcept;
    VDColorVector& operator*=(const VDColorVector& other) noexcept;

    /// The Euclidean length over all four elements.
    float Length() const noexcept;

    VDMeasureConditions& GetMeasureConditions() noexcept { return measureConditions; }
    const VDMeasureConditions& GetMeasureConditions() const noexcept { return measureConditions; }
    void SetMeasureConditions(const VDMeasureConditions& conditions) { measureConditions = conditions; }
    /// Takes the conditions, with the instrument's filter from `physicalSource`.
    void SetMeasureConditions(const VDMeasureConditions& physicalSource, const VDMeasureConditions& conditions);

private:
    std::array<float, 4> elements{};
    VDMeasureConditions measureConditions;
};

/// Names for what a vector holds; they add nothing to it.
class VDLab : public VDColorVector {
public:
    VDLab() = default;
    VDLab(const VDColorVector& vector) : VDColorVector(vector) { }
    using VDColorVector::operator=;
};

class VDXYZ : public VDColorVector {
public:
    VDXYZ() = default;
    VDXYZ(const VDColorVector& vector) : VDColorVector(vector) { }
};

class VDLCh : public VDColorVector {
public:
    VDLCh() = default;
    VDLCh(const VDColorVector& vector) : VDColorVector(vector) { }
};

}
