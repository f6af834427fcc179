#pragma once

#include "Vondrel/DeviceDriver/GENERIC/Calculation/BasicData.h"

namespace Vondrel::DeviceDriver::Generic::Calculation {

/// Readings of the sensor, and what the correction makes of them.
///
/// A reading is a raw vector: one signed count for each pixel. All readings of a record have the same length. Pixel 0
/// is left out of the statistics.
class SensorData : public BasicData {
public:
    using RawVector = std::vector<std::int32_t>;

    /// Replaces all readings by their mean, pixel by pixel, in whole counts truncated toward zero. The sum is one of 32
    /// bits and wraps.
    /// @throws DataException "Raw data is not valid"
    void CreateMeanValue();

    /// Makes one measurement of every reading, and selects the first.
    /// @param coefficients  see LinearizeCore
    /// @throws DataException "Raw data is not valid"
    /// @throws CalculationException "Unable to linearize"
    void Linearize(const std::vector<float>& coefficients);

    /// The polynomial in a count, in double precision, rounded to float.
    /// @param coefficients  in ascending order of power; a single one means identity, whatever its value
    /// @throws CalculationException "Unable to linearize": there are none
    static float LinearizeCore(std::int32_t raw, const std::vector<float>& coefficients);

    /// Turns every measurement from pixels into bands: band r is the sum of lengths[r] pixels from firstPixels[r] on,
    /// each with its weight, in double precision, rounded to float.
    /// @param matrix  the weights of all bands, one band after the other
    /// @throws CalculationException  firstPixels and lengths differ in size
    /// @throws DataException "Invalid raw data for matrix multiplication": there is no measurement, or a band reaches
    ///                       outside the pixels or the weights; nothing has changed
    void DoMatrixMultiplication(const std::vector<std::int32_t>& firstPixels, const std::vector<std::int32_t>& lengths,
                                const std::vector<float>& matrix);

    /// True if more counts than allowed lie above the threshold, over all readings and pixels. Without readings false.
    /// @param allowedPerMeasurement  for each reading
    bool SensorIsSaturated(std::int32_t threshold, std::uint32_t allowedPerMeasurement) const;

    /// Replaces all readings.
    /// @throws DataException  they differ in length
    void StoreRawData(const std::vector<RawVector>& readings);
    /// @throws DataException "Unable to load raw data": there are none
    const std::vector<RawVector>& LoadRawData() const;
    void InvalidateRaw() { raw.clear(); }
    bool RawDataIsValid() const { return !raw.empty(); }

    /// The highest count from pixel 1 on, at least -100000.
    /// @throws DataException "Raw data is not valid"
    std::int32_t HighestRawValue() const;

    /// The mean count from pixel 1 on, plus a half, truncated toward zero.
    /// @throws DataException "Raw data is not valid"; a reading has fewer than two pixels
    std::int32_t MeanRawValue() const;

    /// The raw form of the test.
    /// @throws DataException "Raw data is not valid"
    void ThrowIfDataNotValid() const;

    /// Makes the readings the measurements, without any correction; pixel 0 gets the value of pixel 1. The cursor
    /// stays.
    /// @throws DataException "Raw data is not valid"; a reading has fewer than two pixels
    void CopyRawToSpectrum();

private:
    void ThrowIfTooFewPixels() const;

    std::vector<RawVector> raw;
};

}
