// The calls that make, set and read conditions.
#include "Vondrel/CMetry/CMetryException.h"
#include "Vondrel/CMetry/Internals/ConditionNames.h"
#include "Vondrel/ColorC/Call.h"
#include "Vondrel/ColorC/Conditions.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <string_view>

using namespace Vondrel::CMetry;
using namespace Vondrel::ColorC;
using Spectrum = oxc_conditions::Spectrum;

namespace {

// All that "Colorimetric.Illumination" takes but daylights by their temperature.
constexpr const char* illuminations[] = {"A",  "B",  "C",   "D50", "D55", "D65",         "D75",
                                         "F1", "F2", "F3",  "F4",  "F5",  "F6",          "F7",
                                         "F8", "F9", "F10", "F11", "F12", "Userdefined", "Emission"};

const char* IlluminationAt(std::size_t index)
{
    return index < std::size(illuminations) ? illuminations[index] : nullptr;
}

const char* TextOfIllumination(const oxc_conditions& conditions)
{
    return conditions.illumination.c_str();
}

// "Undefined" stands last in every table.
template<const auto& names>
const char* ValueAt(std::size_t index)
{
    return index + 1 < std::size(names) ? names[index].text : nullptr;
}

template<const auto& names, auto get>
const char* TextOf(const oxc_conditions& conditions)
{
    const auto value = (conditions.values.*get)();
    for (const auto& name : names)
        if (name.value == value)
            return name.text;
    return "";
}

struct KeyRow {
    std::string_view key;
    const char* (*valueAt)(std::size_t index);
    const char* (*textOf)(const oxc_conditions& conditions);
};

template<const auto& names, auto get>
constexpr KeyRow Row(std::string_view key)
{
    return {key, ValueAt<names>, TextOf<names, get>};
}

constexpr KeyRow keyRows[] = {
    {Keys::Illumination, IlluminationAt, TextOfIllumination},
    Row<observerNames, &VDMeasureConditions::GetObserver>(Keys::Observer),
    Row<whiteBaseNames, &VDMeasureConditions::GetWhiteBase>(Keys::WhiteBase),
    Row<densityStandardNames, &VDMeasureConditions::GetDensityStandard>(Keys::DensityStandard),
    Row<densityFilterModeNames, &VDMeasureConditions::GetDensityFilterMode>(Keys::DensityFilterMode),
    Row<colorSpaceNames, &VDMeasureConditions::GetColorSpace>(Keys::ColorSpace),
    Row<deltaEFormulaNames, &VDMeasureConditions::GetDeltaEFormula>(Keys::DeltaEFormula),
};

const KeyRow* FindKey(const char* key)
{
    const auto* const found = std::find_if(std::begin(keyRows), std::end(keyRows),
                                           [key](const KeyRow& row) { return key != nullptr && row.key == key; });
    return found == std::end(keyRows) ? nullptr : found;
}

Spectrum ReadSpectrum(const float* values)
{
    RequireNonNull(values);
    if (!AllFinite(values, OXC_BANDS))
        throw Refusal{OX_InvalidParameter, notFinite};
    Spectrum spectrum;
    std::copy_n(values, spectrum.size(), spectrum.begin());
    return spectrum;
}

// Runs a change of conditions: what the engine refuses is a parameter that is not acceptable.
template<typename Change>
std::int32_t Set(Change change) noexcept
{
    return Call([&] {
        try {
            change();
        } catch (const std::bad_alloc&) {
            throw;
        } catch (const std::exception& e) {
            return KeepError(OX_InvalidParameter, e.what());
        }
        return std::int32_t{OX_NoError};
    });
}

}

extern "C" {

oxc_conditions* oxc_conditions_new(void)
{
    oxc_conditions* made = nullptr;
    Call([&] {
        made = new oxc_conditions;
        return OX_NoError;
    });
    return made;
}

oxc_conditions* oxc_conditions_copy(const oxc_conditions* conditions)
{
    oxc_conditions* made = nullptr;
    Call([&] {
        RequireNonNull(conditions);
        made = new oxc_conditions(*conditions);
        return OX_NoError;
    });
    return made;
}

void oxc_conditions_free(oxc_conditions* conditions)
{
    delete conditions;
}

int32_t oxc_set(oxc_conditions* conditions, const char* key, const char* value)
{
    return Set([&] {
        RequireNonNull(conditions, key, value);
        if (FindKey(key) == nullptr)
            throw Refusal{OX_InvalidParameter, "unknown key"};
        conditions->Set(key, value);
    });
}

const char* oxc_get(const oxc_conditions* conditions, const char* key)
{
    const KeyRow* const row = FindKey(key);
    return conditions == nullptr || row == nullptr ? "" : row->textOf(*conditions);
}

const char* oxc_value(const char* key, size_t index)
{
    const KeyRow* const row = FindKey(key);
    return row == nullptr ? nullptr : row->valueAt(index);
}

int32_t oxc_set_illuminant(oxc_conditions* conditions, const float* spectrum)
{
    return Set([&] {
        RequireNonNull(conditions);
        conditions->SetIlluminant(ReadSpectrum(spectrum));
    });
}

int32_t oxc_set_paper(oxc_conditions* conditions, const float* spectrum)
{
    return Set([&] {
        RequireNonNull(conditions);
        if (spectrum == nullptr)
            return conditions->SetPaper({});
        const Spectrum paper = ReadSpectrum(spectrum);
        if (std::none_of(paper.begin(), paper.end(), [](float value) { return value > 0.0F; }))
            throw Refusal{OX_InvalidParameter, "a paper without any value above 0"};
        conditions->SetPaper(paper);
    });
}
}
