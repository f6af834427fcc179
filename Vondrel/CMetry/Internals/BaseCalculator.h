#pragma once

#include "Vondrel/CMetry/VDSample.h"
#include "Vondrel/Utilities/Tools/SmartPointer.h"

namespace Vondrel::CMetry {

/// Keeps the paper white, the one substrate of the process against which paper-relative results are computed. The paper
/// in force is the first spectrum of its sample.
class BaseCalculator {
public:
    static void SetPaperWhitePointer(const Utilities::Tools::SmartPointer<VDSample>& sample);
    static bool IsPaperWhiteSet() noexcept;
    /// @throws NullPointerException  none is set
    static const VDSample& GetPaperWhite();

    /// Whether a paper white is set, holds a spectrum, and that has a value above 0. The conditions do not matter.
    static bool IsPaperWhiteValid(const VDMeasureConditions& conditions);

    /// Divides 36 values by those of the paper white. A zero in the paper gives an infinite or undefined quotient.
    /// @return false if there is no paper white; the values are unchanged then
    static bool GetSpecBasedToPapWhite(VDSpectrum& spectrum);
    static bool GetSpecBasedToPapWhite(const VDMeasureConditions& conditions, float* values);

    /// The 36 values of the paper; null where there is none.
    static const float* GetPaperValues();

protected:
    static const VDSpectrum* FindPaper();
};

}
