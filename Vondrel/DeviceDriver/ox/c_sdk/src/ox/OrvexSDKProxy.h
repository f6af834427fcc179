#pragma once

#include "Vondrel/DeviceDriver/ox/Orvex.h"
#include "Vondrel/DeviceDriver/ox/c_sdk/src/SDKProxy/SDKProxy.h"

namespace OrvexSDK {

/// The proxy of the spectrophotometer. The device object is made at first need and then stays, also when its instrument
/// goes: it reconnects by itself.
class OrvexSDKProxy : public SDKProxy {
public:
    using Orvex = Vondrel::DeviceDriver::ox::Orvex;
    template<class T>
    using SmartPointer = Vondrel::Utilities::Tools::SmartPointer<T>;

    explicit OrvexSDKProxy(std::int32_t theDeviceIndex);

    std::string GetDeviceType() override;
    const std::string& GetDeviceInfo(const std::string& key) override;
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
    ModeState::Options& GetOptions() override;
    std::int32_t GetLastCalibrationTime() override;
    std::int32_t GetLastCalibrationCounter() override;
    std::string GetAvailableMeasureModes() override;
    std::int32_t GetMode() override;
    void SetMeasureMode(const std::string& mode) override;
    void SetDeviceSpecificOption(const std::string& key, const std::string& value) override;
    std::string GetDeviceSpecificOption(const std::string& key) override;

    /// The device object; connects if there is none yet.
    /// @throws IOException "No devices connected"
    virtual SmartPointer<Orvex>& GetDevice();

    /// Replaces the samples of the current mode, if there are any.
    /// @param spectra  `count` arrays of 36 values
    void ReplaceSamples(const float* const* spectra, std::int32_t count);

private:
    /// Hears the device on its own thread and never asks for the proxy's dynamic type, which changes while it goes.
    class Listener : public Vondrel::DeviceDriver::Generic::EventListener {
    public:
        explicit Listener(SDKProxy& theProxy) : proxy(theProxy) { }
        void MessageFromDevice(unsigned short message, std::int32_t source) override
        {
            proxy.SDKProxy::MessageFromDevice(message, source);
        }

    private:
        SDKProxy& proxy;
    };

    Orvex& Device() { return *GetDevice(); }
    const std::vector<float>& Sample(std::int32_t index);
    void SetRecognitionStrategy(bool disable);
    bool IsRecognitionEnabled();
    void EnterBackdoor(const std::string& key, const std::string& value);
    std::string EnterBackdoor(const std::string& key);
    std::string GetDeviceDriverInfo(const std::string& key);

    Listener listener{*this};
    SmartPointer<Orvex> device;
    std::int32_t deviceIndex;
};

/// Puts factors in force that every later spectrum is multiplied by, or takes them back. For a tool in this process,
/// which finds proxy and function by the options "oxPInst" and "scsOFP".
/// @param spectrum  36 factors; not looked at without `enable`
void SetSpectralCorrection(OrvexSDKProxy* proxy, bool enable, const float* spectrum);

/// Replaces the samples of the current mode, if there are any. For a tool in this process, see "oxPInst" and "ssvOFP".
/// @param spectra  `count` arrays of 36 values
void SetSampleValues(OrvexSDKProxy* proxy, const float* const* spectra, std::int32_t count);

}
