#pragma once

#include <cstdint>
#include <vector>

namespace Vondrel::DeviceDriver::Generic::Calculation {

/// One or several measurements with the conditions under which they were taken, and a cursor that selects one of them.
///
/// A measurement is a vector of floats: one value for each pixel of the sensor at first, later one for each spectral
/// band, where band i of a finished spectrum is the wavelength 380 nm + 10 nm * i. The arithmetic works on the selected
/// measurements and refuses to combine what was taken under different conditions.
class BasicData {
public:
    /// Replaces the selected measurement.
    /// @throws DataException "Data not valid"
    void StoreData(const std::vector<float>& values);

    /// The selected measurement.
    /// @throws DataException "Data not valid"
    const std::vector<float>& LoadData() const;
    std::vector<float>& LoadData();

    /// Element by element on the two selected measurements. Each fails before it changes anything, except for a divisor
    /// of zero, which leaves the elements in front of it divided.
    /// @throws DataException "Data not valid"
    /// @throws CalculationException  the two differ in size, in gain, or by more than 1 ms in integration time; an
    ///                               element of a divisor is 0
    BasicData& operator-=(const BasicData& other);
    BasicData& operator*=(const BasicData& other);
    BasicData& operator/=(const BasicData& other);

    /// Selects the next measurement; the last one stays selected.
    void operator++(int);
    /// Selects the first measurement.
    void Begin() { index = 0; }

    /// Makes room for so many measurements, keeps those that fit, and selects the first.
    void SetSize(std::size_t count);
    std::size_t GetSize() const { return data.size(); }

    /// Drops all measurements; conditions and cursor stay.
    void Invalidate() { data.clear(); }
    /// True if a measurement is selected.
    bool DataIsValid() const { return index < data.size(); }
    /// True if a measurement is selected and every value of every measurement is a finite number.
    bool DataIsFinite() const;
    /// @throws DataException "Data not valid"
    void ThrowIfDataNotValid() const;
    /// @throws CalculationException  size, gain or integration time differ
    void ThrowIfDataNotConsistent(const BasicData& other) const;

    /// Seconds.
    void SetIntegrationTime(const float& seconds) { integrationTime = seconds; }
    float GetIntegrationTime() const { return integrationTime; }
    /// 1 normal, 0 high sensitivity.
    void SetGain(const std::int32_t& newGain) { gain = newGain; }
    std::int32_t GetGain() const { return gain; }

protected:
    std::vector<std::vector<float>> data;

private:
    float integrationTime = 0;
    std::int32_t gain = 0;
    std::uint32_t index = 0;
};

}
