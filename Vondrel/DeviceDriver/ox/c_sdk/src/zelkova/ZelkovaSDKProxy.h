#pragma once

#include "Vondrel/DeviceDriver/ox/c_sdk/src/SDKProxy/SDKProxy.h"
#include "Vondrel/DeviceDriver/ox/c_sdk/src/zelkova/Zelkova.h"

namespace ZelkovaSDK {

/// The proxy of the display colorimeter. A sample is X, Y, Z; half of the calls are refused. A failed calibration or
/// measurement costs one close and open and one second attempt.
class ZelkovaSDKProxy : public OrvexSDK::SDKProxy {
public:
    template<class T>
    using SmartPointer = Vondrel::Utilities::Tools::SmartPointer<T>;

    std::string GetDeviceType() override;
    bool IsConnected() override;
    bool IsKeyPressed() override;
    std::int32_t GetSampleCount() override;
    void Calibrate() override;
    void TriggerMeasurement() override;
    void TriggerCountedScan(std::int32_t count) override;
    void GetSpectrum(float* spectrum, std::int32_t index) override;
    void GetTriStimulus(float* tristimulus, std::int32_t index) override;
    void GetDensities(float* densities, std::int32_t* autoIndex, std::int32_t index) override;
    void GetDensity(float* density, std::int32_t index) override;
    void SetSubstrate(const float* spectrum) override;
    OrvexSDK::ModeState::Options& GetOptions() override;
    std::string GetAvailableMeasureModes() override;
    std::int32_t GetMode() override;
    void SetMeasureMode(const std::string& mode) override;
    void SetDeviceSpecificOption(const std::string& key, const std::string& value) override;
    std::string GetDeviceSpecificOption(const std::string& key) override;

    /// The open device; opens it if it is not.
    /// @throws SDKError 2 "no ox-display connected (code ...)"
    Zelkova& GetDevice();

private:
    template<class Operation>
    void WithRecoveryByReopening(Operation operation);
    bool IsMeasuringEmission();

    SmartPointer<Zelkova> device;
};

}
