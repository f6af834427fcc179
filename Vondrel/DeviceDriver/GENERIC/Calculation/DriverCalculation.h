#pragma once

#include "Vondrel/DeviceDriver/GENERIC/Calculation/DarkData.h"
#include "Vondrel/DeviceDriver/GENERIC/Calculation/ReferenceData.h"
#include "Vondrel/DeviceDriver/GENERIC/Calculation/SensorData.h"
#include "Vondrel/DeviceDriver/GENERIC/Calculation/SpectrumData.h"
#include "Vondrel/DeviceDriver/GENERIC/Calculation/WhiteData.h"
#include "Vondrel/DeviceDriver/GENERIC/Configuration/Properties.h"

#include <string>

namespace Vondrel::DeviceDriver::Generic::Calculation {

/// The instrument's arithmetic: from the raw counts of a measurement to its spectrum, and the judgement of calibration
/// measurements.
///
/// It is the instrument's calibration data, and keeps what calibration made: the current dark, the white correction and
/// the transmission reference. They stay until the next calibration or InvalidateData. Not locked.
///
/// White, Reference, Sample, NewIntegrationTime and InternalDark put their name in front of any failure of the driver,
/// "White calculation: " for instance, and throw it as a CalculationException; what they were to fill is then invalid.
/// A ResourceException, for a calibration value that is missing, passes as it is. Calibration values that are no finite
/// numbers fail with a DataException, and so does a result that they make no finite number of: "Data is not valid".
class DriverCalculation : public Configuration::Properties {
public:
    explicit DriverCalculation(const Properties& calibration);

    /// Makes a dark measurement the current dark. Base darks are dropped.
    void Dark(SensorData& data);

    /// Stores the four base darks; the current dark stays. A failure stores none.
    void Dark(SensorData& normalFirst, SensorData& normalSecond, SensorData& sensitiveFirst,
              SensorData& sensitiveSecond);

    /// White calibration, against the dark that is current; gain and integration time must be the dark's.
    /// @param createMean  one correction from the mean of all readings, not one for each reading
    /// @param factor      of the target level
    /// @return the level was optimal
    bool White(SensorData& data, bool createMean, float factor);

    /// Calibration of a transmission measurement.
    /// @return the level was optimal
    bool Reference(SensorData& data);

    /// Makes a spectrum of the mean of all readings: a reflectance factor, a radiance, an irradiance or a transmittance
    /// in each of the 36 bands. A dark of other conditions is replaced by one interpolated from the base darks.
    /// @param mode  "Remission": the next sample then uses the next white; "Emission" and "AmbientLight": the white
    ///              correction is lost; "Transmission"
    void Sample(SensorData& data, SpectrumData& result, const std::string& mode);

    /// The integration time that would bring the brightest pixel to its target level.
    /// @param time         seconds; enters as that of the data, leaves as the proposal
    /// @param factor       of the target level
    /// @param failAtLimit  a proposal outside the instrument's limits fails; otherwise it ends at the limit
    /// @return gain 0 is wanted
    bool NewIntegrationTime(const SensorData& data, float& time, float factor, bool failAtLimit) const;

    /// Drops the current dark, not the base darks, for "Dark"; the correction for "White"; the reference for
    /// "Reference"; all of them for "All". Other texts drop nothing.
    void InvalidateData(const std::string& record);

    /// The shortest integration time, in seconds.
    float GetSaveIntegrationTime() const;

    /// True if more than ten counts for each reading lie above the limit of the gain.
    bool SensorIsSaturated(const SensorData& data) const;

    /// True if the highest count lies within 5 % of the target level, both ends excluded.
    /// @param factor  of the target level
    bool SensorIsOptimal(const SensorData& data, float factor) const;

    /// The next sample uses the first white again.
    void ResetWhite() { white.Begin(); }

    /// Sets the current dark to 0.
    void ZeroDark();

    /// By the polynomial of the gain.
    void Linearize(SensorData& data) const;

    /// From pixels to bands.
    void TransformToBands(SensorData& data) const;

    /// True if the mean of every reading lies within 5 % of the first one's.
    /// @throws CalculationException "Devision by zero": no pixels, or a mean of 0
    bool CheckConsistency(const SensorData& data) const;

    /// True if a white measurement has the shape of the white reference behind the instrument's filter. The white
    /// correction stays; the dark may have been interpolated.
    /// @throws CalculationException "Devision by zero", and the failures of Sample
    bool CheckWhite(const SensorData& data);

    /// A dark measurement as a record of its own.
    DarkData InternalDark(SensorData& data) const;

private:
    const std::vector<float>& Floats(std::uint16_t id) const;
    float Float(std::uint16_t id) const;
    const std::vector<float>& Linearisation(const SensorData& data) const;
    std::int32_t TargetLevel(float factor) const;
    float LimitIntegrationTime(float time, float factor, bool failAtLimit) const;
    void SubtractDark(SensorData& data);
    void ThrowIfDarkNotStored() const;
    void CorrectByWhite(SensorData& data);
    void CorrectByEmissionCalibration(SensorData& data, bool ambient);
    void CorrectByReference(SensorData& data);

    WhiteData white;
    ReferenceData reference;
    DarkData dark;
};

}
