#include "Vondrel/ColorC/Conditions.h"

#include "Vondrel/CMetry/CMetryException.h"
#include "Vondrel/CMetry/MeasureConditionTranslator.h"

using namespace Vondrel::CMetry;

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
    if (paper)
        paperDensities = Formulas::GetDensities(*curves, paper->data());
}
