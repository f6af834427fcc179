#include "Vondrel/DeviceDriver/GENERIC/Calculation/SensorData.h"

#include "Vondrel/DeviceDriver/GENERIC/Calculation/Truncate.h"
#include "Vondrel/Utilities/Exceptions/DeviceDriverException.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"

#include <algorithm>

namespace Vondrel::DeviceDriver::Generic::Calculation {

namespace {

/// True if every band stays inside the pixels, and all of them together inside the weights.
bool BandsFit(const std::vector<std::int32_t>& firstPixels, const std::vector<std::int32_t>& lengths,
              std::size_t pixels, std::size_t weights)
{
    std::size_t used = 0;
    for (std::size_t row = 0; row < lengths.size(); ++row) {
        if (firstPixels[row] < 0 || lengths[row] < 0)
            return false;
        const auto length = static_cast<std::size_t>(lengths[row]);
        used += length;
        if (static_cast<std::size_t>(firstPixels[row]) + length > pixels || used > weights)
            return false;
    }
    return true;
}

/// The bands of one measurement. They must fit.
std::vector<float> MapToBands(const std::vector<float>& pixels, const std::vector<std::int32_t>& firstPixels,
                              const std::vector<std::int32_t>& lengths, const std::vector<float>& matrix)
{
    std::vector<float> bands(lengths.size());
    const float* weight = matrix.data();
    for (std::size_t row = 0; row < bands.size(); ++row) {
        const float* pixel = pixels.data() + firstPixels[row];
        double sum = 0;
        for (std::int32_t j = 0; j < lengths[row]; ++j)
            sum += double{*weight++} * pixel[j];
        bands[row] = static_cast<float>(sum);
    }
    return bands;
}

}

void SensorData::CreateMeanValue()
try {
    ThrowIfDataNotValid();
    if (raw.size() == 1)
        return;
    std::vector<std::uint32_t> sum(raw.front().size()); // unsigned: a sum beyond 32 bits wraps, and does so by the book
    for (const RawVector& reading : raw)
        for (std::size_t pixel = 0; pixel < sum.size(); ++pixel)
            sum[pixel] += static_cast<std::uint32_t>(reading[pixel]);

    RawVector mean(sum.size());
    for (std::size_t pixel = 0; pixel < sum.size(); ++pixel)
        mean[pixel] = static_cast<std::int32_t>(sum[pixel]) / static_cast<std::int32_t>(raw.size());
    raw.assign(1, mean);
}
TRACE_GUARD("SensorData", "CreateMeanValue")

void SensorData::Linearize(const std::vector<float>& coefficients)
try {
    ThrowIfDataNotValid();
    SetSize(raw.size());
    for (std::size_t m = 0; m < raw.size(); ++m) {
        data[m].resize(raw[m].size());
        std::transform(raw[m].begin(), raw[m].end(), data[m].begin(),
                       [&coefficients](std::int32_t count) { return LinearizeCore(count, coefficients); });
    }
}
TRACE_GUARD("SensorData", "Linearize")

float SensorData::LinearizeCore(std::int32_t raw, const std::vector<float>& coefficients)
try {
    if (coefficients.empty())
        throw CalculationException("Unable to linearize", THROW_LOCATION("SensorData", "LinearizeCore"));
    const double count = raw;
    if (coefficients.size() == 1)
        return static_cast<float>(count);
    double value = coefficients.back();
    for (std::size_t power = coefficients.size() - 1; power-- > 0;)
        value = coefficients[power] + count * value;
    return static_cast<float>(value);
}
TRACE_GUARD("SensorData", "LinearizeCore")

void SensorData::DoMatrixMultiplication(const std::vector<std::int32_t>& firstPixels,
                                        const std::vector<std::int32_t>& lengths, const std::vector<float>& matrix)
try {
    if (firstPixels.size() != lengths.size())
        throw CalculationException("Different vector length in matrix multiplication",
                                   THROW_LOCATION("SensorData", "DoMatrixMultiplication"));
    const bool fits = std::all_of(data.begin(), data.end(), [&](const std::vector<float>& pixels) {
        return BandsFit(firstPixels, lengths, pixels.size(), matrix.size());
    });
    if (!DataIsValid() || !fits)
        throw DataException("Invalid raw data for matrix multiplication",
                            THROW_LOCATION("SensorData", "DoMatrixMultiplication"));

    for (std::vector<float>& measurement : data)
        measurement = MapToBands(measurement, firstPixels, lengths, matrix);
}
TRACE_GUARD("SensorData", "DoMatrixMultiplication")

bool SensorData::SensorIsSaturated(std::int32_t threshold, std::uint32_t allowedPerMeasurement) const
{
    std::uint64_t above = 0;
    for (const RawVector& reading : raw)
        above += static_cast<std::uint64_t>(std::count_if(
            reading.begin(), reading.end(), [threshold](std::int32_t count) { return count > threshold; }));
    return above > std::uint64_t{allowedPerMeasurement} * raw.size();
}

void SensorData::StoreRawData(const std::vector<RawVector>& readings)
try {
    const bool sameLength = std::all_of(readings.begin(), readings.end(), [&readings](const RawVector& reading) {
        return reading.size() == readings.front().size();
    });
    if (!sameLength)
        throw DataException("Raw data vectors differ in size", THROW_LOCATION("SensorData", "StoreRawData"));
    raw = readings;
}
TRACE_GUARD("SensorData", "StoreRawData")

const std::vector<SensorData::RawVector>& SensorData::LoadRawData() const
try {
    if (!RawDataIsValid())
        throw DataException("Unable to load raw data", THROW_LOCATION("SensorData", "LoadRawData"));
    return raw;
}
TRACE_GUARD("SensorData", "LoadRawData")

std::int32_t SensorData::HighestRawValue() const
try {
    ThrowIfDataNotValid();
    std::int32_t highest = -100000;
    for (const RawVector& reading : raw)
        for (std::size_t pixel = 1; pixel < reading.size(); ++pixel)
            highest = std::max(highest, reading[pixel]);
    return highest;
}
TRACE_GUARD("SensorData", "HighestRawValue")

std::int32_t SensorData::MeanRawValue() const
try {
    ThrowIfDataNotValid();
    ThrowIfTooFewPixels();
    double sum = 0;
    for (const RawVector& reading : raw)
        for (std::size_t pixel = 1; pixel < reading.size(); ++pixel)
            sum += reading[pixel];
    const auto readings = static_cast<double>(raw.size());
    const auto pixels = static_cast<double>(raw.front().size() - 1);
    return Truncate(sum / readings / pixels + 0.5);
}
TRACE_GUARD("SensorData", "MeanRawValue")

void SensorData::ThrowIfDataNotValid() const
{
    if (!RawDataIsValid())
        throw DataException("Raw data is not valid", THROW_LOCATION("SensorData", "ThrowIfDataNotValid"));
}

void SensorData::ThrowIfTooFewPixels() const
{
    if (raw.front().size() < 2)
        throw DataException("Raw data has too few pixels", THROW_LOCATION("SensorData", "ThrowIfTooFewPixels"));
}

void SensorData::CopyRawToSpectrum()
try {
    ThrowIfDataNotValid();
    ThrowIfTooFewPixels();
    data.resize(raw.size());
    for (std::size_t m = 0; m < raw.size(); ++m) {
        data[m].resize(raw[m].size());
        std::transform(raw[m].begin(), raw[m].end(), data[m].begin(),
                       [](std::int32_t count) { return static_cast<float>(count); });
        data[m][0] = data[m][1];
    }
}
TRACE_GUARD("SensorData", "CopyRawToSpectrum")

}
