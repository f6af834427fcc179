#include "Vondrel/ColorC/Conditions.h"

#include "Vondrel/CMetry/CMetryException.h"
#include "Vondrel/CMetry/MeasureConditionTranslator.h"

#include <cmath>

using namespace Vondrel::CMetry;
using Vondrel::ColorC::KernelWeights;

namespace {

// The weights of conditions, or why there are none.
std::optional<Weightfactors> MakeWeights(const VDMeasureConditions& conditions, const float* illuminant,
                                         std::string& whyNot)
{
    try {
        return Weightfactors(conditions.GetIllumination(), conditions.GetObserver(), illuminant);
    } catch (const Vondrel::Utilities::Exceptions::RuntimeException& e) {
        whyNot = e.what();
        return {};
    }
}

constexpr std::array<float, OXC_BANDS> zeros{};

KernelWeights MakeKernelWeights(const std::array<const float*, 3>& axes)
{
    constexpr float least = 0x1p-40F;
    KernelWeights made;
    made.checkable = true;
    for (std::size_t band = 0; band < KernelWeights::bands; ++band)
        if (axes[2][band] != 0.0F)
            made.lastZ = band + 1;
    for (std::size_t band = 0; band < KernelWeights::bands; ++band)
        for (std::size_t axis = 0; axis < axes.size(); ++axis) {
            const float weight = axes[axis][band];
            made.single[band][axis] = weight;
            made.wide[band][axis] = weight;
            const bool counts = axis < 2 || band < made.lastZ;
            made.checkable = made.checkable && (!counts || (std::abs(weight) >= least && std::isfinite(weight)));
        }
    return made;
}

KernelWeights MakeKernelWeights(const Weightfactors& weights)
{
    KernelWeights made = MakeKernelWeights({weights[0], weights[1], weights[2]});
    for (std::size_t axis = 0; axis < 3; ++axis)
        made.white[axis] = weights.GetFilterSum(axis);
    return made;
}

}

oxc_conditions::oxc_conditions()
{
    VDMeasureConditions fresh;
    fresh.SetWhiteBase(WhiteBase::Absolute);
    Renew(fresh);
}

void oxc_conditions::Set(const std::string& key, const std::string& value)
{
    VDMeasureConditions changed = values;
    changed.SetMeasureCondition(key, value);
    Renew(changed);
}

void oxc_conditions::SetIlluminant(const Spectrum& spectrum)
{
    VDMeasureConditions changed = values;
    changed.SetIllumination(VDIllumination(IlluminationTYPE::Userdefined));
    const bool tenDegree = values.GetObserver() == Observer::TenDegree;
    Weightfactors(changed.GetIllumination(), tenDegree ? Observer::TenDegree : Observer::TwoDegree, spectrum.data());
    Renew(changed, &spectrum);
}

void oxc_conditions::SetPaper(const std::optional<Spectrum>& spectrum)
{
    paper = spectrum;
    RenewDensities();
}

void oxc_conditions::Renew(const VDMeasureConditions& changed, const Spectrum* newIlluminant)
{
    if (!weights || newIlluminant != nullptr || changed.GetIllumination() != values.GetIllumination()
        || changed.GetObserver() != values.GetObserver()) {
        if (newIlluminant == nullptr && illuminant)
            newIlluminant = &*illuminant;
        std::string text = MeasureConditionTranslator::ToString(changed.GetIllumination());
        std::string why;
        weights = MakeWeights(changed, newIlluminant == nullptr ? nullptr : newIlluminant->data(), why);
        if (newIlluminant != nullptr)
            illuminant = *newIlluminant;
        if (weights)
            kernelWeights = MakeKernelWeights(*weights);
        whyNoWeights.swap(why);
        illumination.swap(text);
    }
    values = changed;
    RenewDensities();
}

void oxc_conditions::RenewDensities()
{
    curves.reset();
    paperDensities = {};
    const auto number = static_cast<std::size_t>(values.GetDensityStandard());
    if (number >= std::size(densityCurves))
        return;
    curves.emplace();
    for (std::size_t channel = 0; channel < curves->size(); ++channel)
        (*curves)[channel] = densityCurves[number][channel].data();
    colorCurves = MakeKernelWeights({(*curves)[1], (*curves)[2], (*curves)[3]});
    blackCurve = MakeKernelWeights({(*curves)[0], zeros.data(), zeros.data()});
    if (paper)
        paperDensities = Formulas::GetDensities(*curves, paper->data());
}
