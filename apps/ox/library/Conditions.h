#pragma once

#include "apps/ox/library/Library.h"

#include <array>
#include <memory>

namespace Ox {

/// One colorimetric condition: its option of the program, its key in the library.
struct ConditionRow {
    const char* option;
    const char* key;
    const char* what;
    const char* help;
    const char* preset; ///< of this program where it differs from the library's, else null
};

inline constexpr std::array conditionTable = {
    ConditionRow{"--illuminant", "Colorimetric.Illumination", "illuminant",
                 "light: A, C, D50, D65, F1 to F12, Emission or \"Dxx, Temperature:5500\"", "D50"},
    ConditionRow{"--observer", "Colorimetric.Observer", "observer", "TwoDegree or TenDegree", nullptr},
    ConditionRow{"--white", "Colorimetric.WhiteBase", "white base", "Absolute, Paper or Automatic", nullptr},
    ConditionRow{"--space", "ColorSpaceDescription.Type", "colour space",
                 "CIELab, CIELCh, CIEXYZ, CIExyY, RGB and more", nullptr},
    ConditionRow{"--density", "Colorimetric.DensityStandard", "density standard",
                 "DIN, DINNB, ANSIA, ANSIE, ANSII, ANSIT, SPI", nullptr},
    ConditionRow{"--filter", "Colorimetric.DensityFilterMode", "density filter",
                 "Black, Cyan, Magenta, Yellow, Max or Auto", nullptr},
    ConditionRow{"--delta-e", "ColorSpaceDescription.DeltaEFormula", "delta E formula",
                 "CIELab, CMC, 94, 2000, CIELuv, LABvd, FMCII", "2000"},
};

enum class Condition { Illuminant, Observer, White, Space, Density, Filter, DeltaE };

/// How colours are computed. The texts are the library's own.
class Conditions {
public:
    explicit Conditions(const Library& library);
    Conditions(const Conditions& other);
    Conditions& operator=(const Conditions&) = delete;

    /// @throws Failure: the value is not accepted; says which are, and the nearest
    void Set(Condition condition, const std::string& value);
    std::string Get(Condition condition) const;

    const oxc_conditions* Handle() const { return handle.get(); }
    oxc_conditions* Handle() { return handle.get(); }
    const Library& GetLibrary() const { return library; }

    /// Checks the result of an oxc_ call.
    /// @throws Failure with the library's text
    void Check(int32_t result) const;

private:
    const Library& library;
    std::unique_ptr<oxc_conditions, void (*)(oxc_conditions*)> handle;
};

/// The row of a condition.
inline const ConditionRow& RowOf(Condition condition)
{
    return conditionTable[static_cast<std::size_t>(condition)];
}

}
