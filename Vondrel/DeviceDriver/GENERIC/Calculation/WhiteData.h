#pragma once

#include "Vondrel/DeviceDriver/GENERIC/Calculation/BasicData.h"

namespace Vondrel::DeviceDriver::Generic::Calculation {

/// White measurements, or the correction factors made from them.
class WhiteData : public BasicData {
public:
    using BasicData::operator=;

    /// Turns every white measurement into the factors by which a sample is corrected: reference / measured, band by
    /// band. A failure in the middle leaves the earlier ones changed.
    /// @param reference  what the white should show, one value for each band
    /// @throws DataException "Invalid white data"
    /// @throws CalculationException  the sizes differ; a measured value is 0
    void CalculateCorrection(const std::vector<float>& reference);
};

}
