#pragma once

#include "Vondrel/CMetry/VDColorVector.h"
#include "Vondrel/CMetry/VDSpectrum.h"

#include <algorithm>
#include <random>

/// Colours that tests of colorimetry start from.

inline Vondrel::CMetry::VDMeasureConditions
Conditions(Vondrel::CMetry::ColorSpace space,
           Vondrel::CMetry::IlluminationTYPE type = Vondrel::CMetry::IlluminationTYPE::D50,
           Vondrel::CMetry::Observer observer = Vondrel::CMetry::Observer::TwoDegree)
{
    Vondrel::CMetry::VDMeasureConditions conditions;
    conditions.SetColorSpace(space);
    conditions.SetIllumination(Vondrel::CMetry::VDIllumination(type));
    conditions.SetObserver(observer);
    return conditions;
}

inline Vondrel::CMetry::VDColorVector Lab(float lightness, float a, float b)
{
    return {lightness, a, b, Conditions(Vondrel::CMetry::ColorSpace::CIELab)};
}

inline Vondrel::CMetry::VDSpectrum FlatSpectrum(float value)
{
    Vondrel::CMetry::VDSpectrum::ValueArray values;
    values.fill(value);
    return Vondrel::CMetry::VDSpectrum(values);
}

/// Random colours, the same ones in every run.
class RandomColors {
public:
    /// A smooth reflectance from a few percent to nearly white.
    Vondrel::CMetry::VDSpectrum Reflectance()
    {
        Vondrel::CMetry::VDSpectrum spectrum;
        float value = Between(0.02F, 0.98F);
        for (std::size_t i = 0; i < Vondrel::CMetry::VDSpectrum::GetNrOfDataPoints(); ++i) {
            spectrum[i] = value;
            value = std::min(0.98F, std::max(0.02F, value + Between(-0.1F, 0.1F)));
        }
        return spectrum;
    }

    Vondrel::CMetry::VDColorVector LabColor()
    {
        return Lab(Between(1.0F, 99.0F), Between(-90.0F, 90.0F), Between(-90.0F, 90.0F));
    }

    float Between(float low, float high) { return std::uniform_real_distribution<float>(low, high)(random); }

private:
    std::mt19937 random{20};
};
