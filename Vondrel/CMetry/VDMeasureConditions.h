#pragma once

#include "Vondrel/CMetry/ConditionTypes.h"
#include "Vondrel/CMetry/GlobalStringInitialisator.h"
#include "Vondrel/CMetry/VDIllumination.h"

#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace Vondrel::CMetry {

class VDSpectrum;

/// All conditions of a colorimetric result: illuminant, observer, white base, density standard, colour space, delta E
/// formula, and the filter in front of the instrument.
///
/// A small value: a copy costs some fifty bytes and no memory from the heap. What hardly any conditions hold (custom
/// conditions, an illuminant of the user's, a spectrum type of a text of its own) copies share.
class VDMeasureConditions : public GlobalStringInitialisator {
public:
    /// D65, 2 degree observer, white base Automatic, density DIN Auto, no filter, CIELab, absolute vectors.
    VDMeasureConditions() = default;
    VDMeasureConditions(const VDMeasureConditions&) = default;
    VDMeasureConditions& operator=(const VDMeasureConditions&) = default;
    virtual ~VDMeasureConditions() = default;

    /// Custom conditions take no part; illuminants of the user's are equal if their spectra are.
    bool operator==(const VDMeasureConditions& other) const;

    /// Sets one condition, see Keys. "Physical.SpectrumType" takes any text; the three keys of the spectrum's grid take
    /// any and ignore it. Other keys are stored while "CustomCondition" is "Enable". A refusal changes nothing.
    /// @throws CMetryException           the value is none of the key's, or "Modification not supported for key: ..."
    /// @throws InvalidArgumentException  no number behind "F" or "Dxx, Temperature:"
    void SetMeasureCondition(const std::string& key, const std::string& value);

    /// The value of a condition; "Undefined" for an unknown key, and for custom ones while these are disabled.
    std::string GetMeasureCondition(const std::string& key) const;

    /// Sets the conditions one after the other in the order of the keys; those before a refused one stay set.
    void SetMeasureConditions(const std::map<std::string, std::string>& conditions);

    /// Stores a copy of the spectrum (36 values of relative power) as the illuminant, type Userdefined.
    void SetUserdefinedIllumination(const VDSpectrum& spectrum);
    /// @throws NullPointerException  there is none
    const VDSpectrum& GetUserdefinedIllumination() const;
    /// Null if there is none.
    const VDSpectrum* FindUserdefinedIllumination() const noexcept;
    /// Whether both have the very same spectrum, or none.
    bool SharesUserdefinedIllumination(const VDMeasureConditions& other) const noexcept
    {
        return extras == other.extras || FindUserdefinedIllumination() == other.FindUserdefinedIllumination();
    }

    /// The values that are offered for a key, in their order; empty for an unknown key. Under "ColorSpaceDescription."
    /// and a colour space: the labels of its elements, first absolute, then delta.
    static const std::vector<std::string>& GetSupportedValues(std::string_view key);

    /// The label of an element of a vector of the conditions' colour space and kind, "L*" or "delta L*" for example.
    /// @throws CMetryException  the colour space has no such element
    std::string GetElementName(std::size_t index) const;

    /// Takes over the filter of the instrument and nothing else.
    void SetPhysMeasCond(const VDMeasureConditions& other) noexcept
    {
        values.physicalFilter = other.values.physicalFilter;
    }

    PhysicalFilter GetPhysicalFilter() const noexcept { return values.physicalFilter; }
    WhiteBase GetWhiteBase() const noexcept { return values.whiteBase; }
    void SetWhiteBase(WhiteBase value) noexcept { values.whiteBase = value; }
    Observer GetObserver() const noexcept { return values.observer; }
    void SetObserver(Observer value) noexcept { values.observer = value; }
    DensityStandard GetDensityStandard() const noexcept { return values.densityStandard; }
    DensityFilterMode GetDensityFilterMode() const noexcept { return values.densityFilterMode; }
    ColorSpace GetColorSpace() const noexcept { return values.colorSpace; }
    void SetColorSpace(ColorSpace value) noexcept { values.colorSpace = value; }
    DeltaEFormula GetDeltaEFormula() const noexcept { return values.deltaEFormula; }

    const VDIllumination& GetIllumination() const noexcept { return values.illumination; }
    /// Any type but Userdefined drops the stored spectrum of the user's illuminant.
    void SetIllumination(const VDIllumination& value);

private:
    struct Extras;

    const Extras& GetExtras() const;
    template<typename Change>
    void ChangeExtras(Change change);
    const std::string& GetSpectrumType() const;
    void SetSpectrumType(const std::string& value);
    void SetCustomCondition(const std::string& key, const std::string& value);
    bool CustomConditionsEnabled() const;

    static constexpr std::int8_t otherSpectrumType = -1;

    // Copied as a whole.
    struct Values {
        VDIllumination illumination{IlluminationTYPE::D65};
        PhysicalFilter physicalFilter = PhysicalFilter::No;
        Observer observer = Observer::TwoDegree;
        WhiteBase whiteBase = WhiteBase::Automatic;
        DensityStandard densityStandard = DensityStandard::DIN;
        DensityFilterMode densityFilterMode = DensityFilterMode::Auto;
        ColorSpace colorSpace = ColorSpace::CIELab;
        DeltaEFormula deltaEFormula = DeltaEFormula::CIELab;
        VectorKind vectorKind = VectorKind::AbsoluteVector;
        std::int8_t spectrumType = 0; // its place in the supported values, or otherSpectrumType

        bool operator==(const Values&) const = default;
    };

    Values values;
    std::shared_ptr<const Extras> extras; // empty while all of it is as at construction
};

}
