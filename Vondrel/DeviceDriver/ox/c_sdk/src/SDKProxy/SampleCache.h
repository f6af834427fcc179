#pragma once

#include "Vondrel/DeviceDriver/GENERIC/Calculation/SpectrumData.h"

#include <cstdint>
#include <vector>

namespace OrvexSDK {

/// The samples of one measure mode, as measured: 36 values each on a spectrophotometer, X, Y, Z on a colorimeter.
class SampleCache {
public:
    using SpectrumData = Vondrel::DeviceDriver::Generic::Calculation::SpectrumData;

    /// Replaces the samples by the spectra of a measurement, in their order.
    SampleCache& operator=(const std::vector<SpectrumData>& results);

    /// Replaces the samples by one.
    SampleCache& operator=(const std::vector<float>& sample);

    /// @param index  from 0; 0xFFFFFFFF reads sample 0
    /// @throws SDKError 8 "index ... out of range"
    const std::vector<float>& operator[](std::uint32_t index) const;

    std::int32_t Count() const { return static_cast<std::int32_t>(samples.size()); }
    bool IsEmpty() const { return samples.empty(); }
    void Clear() { samples.clear(); }

    /// Appends one sample.
    void Append(const float* values, std::size_t count) { samples.emplace_back(values, values + count); }

private:
    std::vector<std::vector<float>> samples;
};

}
