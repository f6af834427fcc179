#pragma once

#include "Vondrel/CMetry/VDColorVector.h"
#include "Vondrel/CMetry/VDMeasureConditions.h"
#include "Vondrel/DeviceDriver/GENERIC/Calculation/RecognitionCallbacks.h"
#include "Vondrel/DeviceDriver/GENERIC/Calculation/SpectrumData.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Vondrel::DeviceDriver::Generic::Calculation {

/// The colorimetry of chart recognition: CIELAB under D50 for the 2 degree observer, absolute, with delta E 2000.
class ChartColors {
public:
    ChartColors();

    /// The colour of a reading, under these conditions.
    /// @throws DataException "Data not valid"
    /// @throws CMetryException  the reading has fewer than 36 bands
    CMetry::VDColorVector Lab(const SpectrumData& reading) const;

private:
    CMetry::VDMeasureConditions conditions;
};

/// Reports L*, a* and b* of colours on a channel and the two behind it.
void ReportColors(RecognitionChannel first, const std::vector<CMetry::VDColorVector>& labs);

/// Collects what is reported about the patches of a scan. Computes nothing while nobody listens.
class PatchReport {
public:
    /// @param position  an index into the readings, rising from patch to patch
    void Add(const SpectrumData& patch, std::size_t position);

    /// Reports positions and colours of the patches; the spacing of two or more, its irregularity for three or more.
    void Send() const;

private:
    void SendSpacing() const;

    ChartColors colors;
    std::vector<CMetry::VDColorVector> labs;
    std::vector<std::int32_t> positions;
};

}
