#include "Vondrel/DeviceDriver/GENERIC/Calculation/PatchRecognition/PatchReport.h"

#include "Vondrel/CMetry/CMetryService.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <string_view>
#include <utility>

namespace Vondrel::DeviceDriver::Generic::Calculation {

namespace {

using Longs = std::vector<std::int32_t>;

RecognitionChannel Behind(RecognitionChannel channel, std::size_t steps)
{
    return static_cast<RecognitionChannel>(static_cast<std::uint32_t>(channel) + steps);
}

}

ChartColors::ChartColors()
{
    namespace Keys = CMetry::Keys;
    const std::pair<std::string_view, const char*> values[] = {
        {Keys::Illumination, "D50"},  {Keys::Observer, "TwoDegree"}, {Keys::WhiteBase, "Absolute"},
        {Keys::ColorSpace, "CIELab"}, {Keys::DeltaEFormula, "2000"}, {Keys::VectorKind, "AbsoluteVector"},
    };
    for (const auto& [key, value] : values)
        conditions.SetMeasureCondition(std::string(key), value);
}

CMetry::VDColorVector ChartColors::Lab(const SpectrumData& reading) const
try {
    return CMetry::CMetryService::GetVector(CMetry::VDSpectrum(reading.LoadData(), conditions), conditions);
}
TRACE_GUARD("ChartColors", "Lab")

void ReportColors(RecognitionChannel first, const std::vector<CMetry::VDColorVector>& labs)
{
    if (!RecognitionIsReported())
        return;
    for (std::size_t element = 0; element < 3; ++element) {
        std::vector<float> values(labs.size());
        std::transform(labs.begin(), labs.end(), values.begin(), [element](const auto& lab) { return lab[element]; });
        Report(Behind(first, element), values);
    }
}

void PatchReport::Add(const SpectrumData& patch, std::size_t position)
try {
    if (!RecognitionIsReported())
        return;
    labs.push_back(colors.Lab(patch));
    positions.push_back(static_cast<std::int32_t>(position));
}
TRACE_GUARD("PatchReport", "Add")

void PatchReport::Send() const
try {
    Report(RecognitionChannel::PatchPositions, positions);
    ReportColors(RecognitionChannel::PatchLightness, labs);
    if (positions.size() > 1)
        SendSpacing();
}
TRACE_GUARD("PatchReport", "Send")

void PatchReport::SendSpacing() const
{
    const auto distances = static_cast<std::int32_t>(positions.size() - 1);
    const std::int32_t mean = (positions.back() - positions.front()) / distances;
    Report(RecognitionChannel::Spacing, Longs{std::clamp((33 - mean) * 3, 0, 99)});
    if (distances < 2)
        return;

    double squares = 0;
    for (std::size_t i = 1; i < positions.size(); ++i) {
        const double deviation = positions[i] - positions[i - 1] - mean;
        squares += deviation * deviation;
    }
    const double irregularity = std::min(99.0, std::sqrt(squares / (distances - 1)));
    Report(RecognitionChannel::Irregularity, Longs{static_cast<std::int32_t>(irregularity)});
}

}
