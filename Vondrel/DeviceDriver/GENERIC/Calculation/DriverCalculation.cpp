#include "Vondrel/DeviceDriver/GENERIC/Calculation/DriverCalculation.h"

#include "Vondrel/DeviceDriver/GENERIC/Calculation/Truncate.h"
#include "Vondrel/DeviceDriver/GENERIC/Calculation/WhiteCheck.h"
#include "Vondrel/DeviceDriver/GENERIC/Configuration/PropertyId.h"
#include "Vondrel/Utilities/Exceptions/DeviceDriverException.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"
#include "Vondrel/Utilities/Tools/LexicalCast.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <utility>

namespace Vondrel::DeviceDriver::Generic::Calculation {

using Utilities::Tools::lexical_cast;

namespace {

constexpr std::uint32_t saturatedCountsAllowed = 10; // for each reading
constexpr float consistencyLimit = 0.05F;
constexpr float optimalRange = 0.05F;
constexpr float darkness = 1.0e-15F; // stands for a level of 0 where it is divided by

/// The failure of an operation, with its name in front and the trace of the failure inside it.
CalculationException Prefixed(const char* prefix, const DeviceDriverException& failure, const std::string& location)
{
    CalculationException prefixed(std::string(prefix) + failure.PlainWhat(), location);
    prefixed.Trace().insert(prefixed.Trace().begin(), failure.Trace().begin(), failure.Trace().end());
    return prefixed;
}

float Mean(const SensorData::RawVector& reading)
{
    float sum = 0;
    for (const std::int32_t count : reading)
        sum += static_cast<float>(count);
    return sum / static_cast<float>(reading.size());
}

/// Puts a record back when the scope ends, by whatever way.
class Restore {
public:
    explicit Restore(WhiteData& record_) : record(record_), saved(record_) { }
    Restore(const Restore&) = delete;
    Restore& operator=(const Restore&) = delete;
    ~Restore() { record = std::move(saved); }

private:
    WhiteData& record;
    WhiteData saved;
};

}

DriverCalculation::DriverCalculation(const Properties& calibration) : Properties(calibration) { }

void DriverCalculation::Dark(SensorData& data)
try {
    dark = InternalDark(data);
}
TRACE_GUARD("DriverCalculation", "Dark")

void DriverCalculation::Dark(SensorData& normalFirst, SensorData& normalSecond, SensorData& sensitiveFirst,
                             SensorData& sensitiveSecond)
try {
    const DarkData darks[] = {InternalDark(normalFirst), InternalDark(normalSecond), InternalDark(sensitiveFirst),
                              InternalDark(sensitiveSecond)};
    dark.SetBaseDark(darks[0], false, false);
    dark.SetBaseDark(darks[1], false, true);
    dark.SetBaseDark(darks[2], true, false);
    dark.SetBaseDark(darks[3], true, true);
}
TRACE_GUARD("DriverCalculation", "Dark")

DarkData DriverCalculation::InternalDark(SensorData& data) const
try {
    data.CreateMeanValue();
    Linearize(data);

    DarkData result;
    result = data;
    result.SetHighestSensorValue(data.MeanRawValue());
    if (!result.DataIsValid(GetProperty(Configuration::InternalDarkLimit).AsLong()))
        throw DataException("Data is not valid", THROW_LOCATION("DriverCalculation", "InternalDark"));
    return result;
} catch (const DeviceDriverException& failure) {
    throw Prefixed("Dark calculation: ", failure, THROW_LOCATION("DriverCalculation", "InternalDark"));
}
TRACE_GUARD("DriverCalculation", "InternalDark")

bool DriverCalculation::White(SensorData& data, bool createMean, float factor)
try {
    if (SensorIsSaturated(data))
        throw DataException("Sensor is saturated", THROW_LOCATION("DriverCalculation", "White"));
    if (!CheckConsistency(data))
        throw DataException("Data is not consistent", THROW_LOCATION("DriverCalculation", "White"));
    if (!CheckWhite(data))
        throw DataException("White check failed", THROW_LOCATION("DriverCalculation", "White"));

    if (createMean)
        data.CreateMeanValue();
    Linearize(data);
    ThrowIfDarkNotStored();
    data.Begin();
    for (std::size_t measurement = 0; measurement < data.GetSize(); ++measurement) {
        data -= dark;
        data++;
    }
    TransformToBands(data);
    white = data;
    white.CalculateCorrection(Floats(Configuration::ReflectanceWhiteReference));

    const bool optimal = SensorIsOptimal(data, factor);
    if (!white.DataIsFinite())
        throw DataException("Data is not valid", THROW_LOCATION("DriverCalculation", "White"));
    return optimal;
} catch (const DeviceDriverException& failure) {
    white.Invalidate();
    throw Prefixed("White calculation: ", failure, THROW_LOCATION("DriverCalculation", "White"));
}
TRACE_GUARD("DriverCalculation", "White")

bool DriverCalculation::Reference(SensorData& data)
try {
    if (SensorIsSaturated(data))
        throw DataException("Sensor is saturated", THROW_LOCATION("DriverCalculation", "Reference"));

    data.CreateMeanValue();
    Linearize(data);
    ThrowIfDarkNotStored();
    SubtractDark(data);
    TransformToBands(data);
    reference = data;

    const bool optimal = SensorIsOptimal(data, 1.0F);
    if (!reference.DataIsFinite())
        throw DataException("Data is not valid", THROW_LOCATION("DriverCalculation", "Reference"));
    return optimal;
} catch (const DeviceDriverException& failure) {
    reference.Invalidate();
    throw Prefixed("Reference calculation: ", failure, THROW_LOCATION("DriverCalculation", "Reference"));
}
TRACE_GUARD("DriverCalculation", "Reference")

void DriverCalculation::Sample(SensorData& data, SpectrumData& result, const std::string& mode)
try {
    if (SensorIsSaturated(data))
        throw DataException("Sensor is saturated", THROW_LOCATION("DriverCalculation", "Sample"));

    data.CreateMeanValue();
    Linearize(data);
    SubtractDark(data);
    TransformToBands(data);

    if (mode == "Remission")
        CorrectByWhite(data);
    else if (mode == "Emission" || mode == "AmbientLight")
        CorrectByEmissionCalibration(data, mode == "AmbientLight");
    else if (mode == "Transmission")
        CorrectByReference(data);
    else
        throw DataException("Unknown measure mode", THROW_LOCATION("DriverCalculation", "Sample"));

    result = data;
    if (!result.DataIsFinite())
        throw DataException("Data is not valid", THROW_LOCATION("DriverCalculation", "Sample"));
} catch (const DeviceDriverException& failure) {
    result.Invalidate();
    throw Prefixed("Sample calculation: ", failure, THROW_LOCATION("DriverCalculation", "Sample"));
}
TRACE_GUARD("DriverCalculation", "Sample")

void DriverCalculation::CorrectByWhite(SensorData& data)
try {
    if (!white.DataIsValid())
        throw DataException("White data not valid", THROW_LOCATION("DriverCalculation", "CorrectByWhite"));
    data *= white;
    white++;
}
TRACE_GUARD("DriverCalculation", "CorrectByWhite")

void DriverCalculation::CorrectByEmissionCalibration(SensorData& data, bool ambient)
try {
    const float time = data.GetIntegrationTime();
    const float gain = data.GetGain() == 0 ? Float(Configuration::GainRatio) : 1.0F;
    if (time == 0 || gain == 0)
        throw CalculationException("Division by zero",
                                   THROW_LOCATION("DriverCalculation", "CorrectByEmissionCalibration"));

    std::vector<float> factors = Floats(Configuration::EmissionCalibration);
    for (float& factor : factors)
        factor = factor / time / gain;
    if (ambient) {
        const std::vector<float>& ambientFactors = Floats(Configuration::AmbientCalibration);
        if (ambientFactors.size() < factors.size())
            throw DataException("Ambient calibration has too few bands",
                                THROW_LOCATION("DriverCalculation", "CorrectByEmissionCalibration"));
        std::transform(factors.begin(), factors.end(), ambientFactors.begin(), factors.begin(), std::multiplies<>());
    }

    white.SetSize(1);
    white.StoreData(factors);
    white.SetGain(data.GetGain());
    white.SetIntegrationTime(time);
    data *= white;
}
TRACE_GUARD("DriverCalculation", "CorrectByEmissionCalibration")

void DriverCalculation::CorrectByReference(SensorData& data)
try {
    if (!reference.DataIsValid())
        throw DataException("Reference data not valid", THROW_LOCATION("DriverCalculation", "CorrectByReference"));
    data /= reference;
}
TRACE_GUARD("DriverCalculation", "CorrectByReference")

bool DriverCalculation::NewIntegrationTime(const SensorData& data, float& time, float factor, bool failAtLimit) const
try {
    constexpr float longestAtNormalGain = 2.0F;
    constexpr float longestAtHighSensitivity = 1.0F;

    const std::vector<float>& coefficients = Linearisation(data);
    float level = SensorData::LinearizeCore(data.HighestRawValue(), coefficients);
    const float target = SensorData::LinearizeCore(TargetLevel(factor), coefficients);
    if (level == 0)
        level = darkness;
    const float unclamped = target * time / level;
    if (std::isnan(unclamped))
        throw DataException("Integration time is not a number",
                            THROW_LOCATION("DriverCalculation", "NewIntegrationTime"));
    time = unclamped; // stays if the limits fail
    time = LimitIntegrationTime(time, factor, failAtLimit);

    if (data.GetGain() == 0) {
        time = std::min(time, longestAtHighSensitivity);
        return true;
    }
    if (!(time > longestAtNormalGain))
        return false;
    time = unclamped / 10.0F;
    if (time > longestAtHighSensitivity || time < 0)
        time = longestAtHighSensitivity;
    return true;
} catch (const DeviceDriverException& failure) {
    throw Prefixed("New integration time: ", failure, THROW_LOCATION("DriverCalculation", "NewIntegrationTime"));
}
TRACE_GUARD("DriverCalculation", "NewIntegrationTime")

float DriverCalculation::LimitIntegrationTime(float time, float factor, bool failAtLimit) const
try {
    const float longest = Float(Configuration::MaxIntegrationTime);
    const float shortest = Float(Configuration::MinIntegrationTime);
    const char* failure = nullptr;
    if (time < 0) {
        failure = "No light";
        time = longest;
    }
    if (time > longest) {
        if (failure == nullptr && time / factor > longest)
            failure = "Too little light";
        time = longest;
    }
    if (time < shortest) {
        if (failure == nullptr && time / factor < shortest)
            failure = "Too much light";
        time = shortest;
    }
    if (failAtLimit && failure != nullptr)
        throw CalculationException(failure, THROW_LOCATION("DriverCalculation", "LimitIntegrationTime"));
    return time;
}
TRACE_GUARD("DriverCalculation", "LimitIntegrationTime")

void DriverCalculation::InvalidateData(const std::string& record)
{
    const bool all = record == "All";
    if (all || record == "White")
        white.Invalidate();
    if (all || record == "Reference")
        reference.Invalidate();
    if (all || record == "Dark")
        dark.Invalidate();
}

float DriverCalculation::GetSaveIntegrationTime() const
try {
    return Float(Configuration::MinIntegrationTime);
}
TRACE_GUARD("DriverCalculation", "GetSaveIntegrationTime")

bool DriverCalculation::SensorIsSaturated(const SensorData& data) const
try {
    const auto limit =
        data.GetGain() != 0 ? Configuration::SaturationLimitNormalGain : Configuration::SaturationLimitSensitiveGain;
    return data.SensorIsSaturated(GetProperty(limit).AsLong(), saturatedCountsAllowed);
}
TRACE_GUARD("DriverCalculation", "SensorIsSaturated")

bool DriverCalculation::SensorIsOptimal(const SensorData& data, float factor) const
try {
    const std::int32_t target = TargetLevel(factor);
    const std::int64_t distance = std::abs(std::int64_t{data.HighestRawValue()} - target);
    return static_cast<float>(distance) < optimalRange * static_cast<float>(target);
}
TRACE_GUARD("DriverCalculation", "SensorIsOptimal")

void DriverCalculation::ZeroDark()
try {
    std::vector<float>& values = dark.LoadData();
    std::fill(values.begin(), values.end(), 0.0F);
}
TRACE_GUARD("DriverCalculation", "ZeroDark")

void DriverCalculation::Linearize(SensorData& data) const
try {
    data.Linearize(Linearisation(data));
}
TRACE_GUARD("DriverCalculation", "Linearize")

void DriverCalculation::TransformToBands(SensorData& data) const
try {
    const std::vector<std::int32_t>& firstPixels = GetProperty(Configuration::MatrixStartIndices).AsLongVector();
    if (firstPixels.empty())
        throw DataException("Calibration data has no bands", THROW_LOCATION("DriverCalculation", "TransformToBands"));
    data.DoMatrixMultiplication(firstPixels, GetProperty(Configuration::MatrixCounts).AsLongVector(),
                                Floats(Configuration::MatrixCoefficients));
}
TRACE_GUARD("DriverCalculation", "TransformToBands")

bool DriverCalculation::CheckConsistency(const SensorData& data) const
try {
    if (!data.RawDataIsValid())
        return true;
    const std::vector<SensorData::RawVector>& raw = data.LoadRawData();
    if (raw.size() == 1)
        return true;
    const float first = raw.front().empty() ? 0.0F : Mean(raw.front());
    if (first == 0)
        throw CalculationException("Devision by zero", THROW_LOCATION("DriverCalculation", "CheckConsistency"));
    return std::none_of(raw.begin() + 1, raw.end(), [first](const SensorData::RawVector& reading) {
        return std::abs((first - Mean(reading)) / first) > consistencyLimit;
    });
}
TRACE_GUARD("DriverCalculation", "CheckConsistency")

bool DriverCalculation::CheckWhite(const SensorData& data)
try {
    SpectrumData spectrum;
    {
        const Restore restore(white);
        SensorData copy(data);
        Sample(copy, spectrum, "Emission");
    }
    return HasShapeOfWhite(spectrum.LoadData(), GetProperty(Configuration::ReflectanceWhiteReference).AsFloatVector(),
                           GetProperty(Configuration::PhysicalFilter).AsLong());
}
TRACE_GUARD("DriverCalculation", "CheckWhite")

/// A calibration vector of finite numbers.
const std::vector<float>& DriverCalculation::Floats(std::uint16_t id) const
try {
    const std::vector<float>& values = GetProperty(id).AsFloatVector();
    if (!std::all_of(values.begin(), values.end(), [](float value) { return std::isfinite(value); }))
        throw DataException("Calibration data is not a number (ID " + lexical_cast<std::string>(id) + ")",
                            THROW_LOCATION("DriverCalculation", "Floats"));
    return values;
}
TRACE_GUARD("DriverCalculation", "Floats")

/// A calibration value that is a finite number.
float DriverCalculation::Float(std::uint16_t id) const
try {
    const std::vector<float>& values = Floats(id);
    if (values.empty())
        throw DataException("Calibration data is empty (ID " + lexical_cast<std::string>(id) + ")",
                            THROW_LOCATION("DriverCalculation", "Float"));
    return values.front();
}
TRACE_GUARD("DriverCalculation", "Float")

const std::vector<float>& DriverCalculation::Linearisation(const SensorData& data) const
{
    return Floats(data.GetGain() != 0 ? Configuration::LinearisationNormalGain
                                      : Configuration::LinearisationSensitiveGain);
}

/// The count that the brightest pixel should reach.
std::int32_t DriverCalculation::TargetLevel(float factor) const
{
    return Truncate(static_cast<float>(GetProperty(Configuration::SensorTargetLevel).AsLong()) * factor);
}

/// If the dark was taken under other conditions, it becomes the one for these, from the base darks.
void DriverCalculation::SubtractDark(SensorData& data)
try {
    try {
        data -= dark;
    } catch (const CalculationException&) {
        dark.Interpolate(data.GetGain(), data.GetIntegrationTime());
        data -= dark;
    }
}
TRACE_GUARD("DriverCalculation", "SubtractDark")

void DriverCalculation::ThrowIfDarkNotStored() const
{
    if (!dark.BasicData::DataIsValid())
        throw DataException("Dark data not valid", THROW_LOCATION("DriverCalculation", "ThrowIfDarkNotStored"));
}

}
