#pragma once

#include "Vondrel/DeviceDriver/GENERIC/EventListener.h"
#include "Vondrel/DeviceDriver/ox/c_sdk/src/SDKProxy/ModeState.h"
#include "Vondrel/Utilities/Exceptions/SDKError.h"
#include "orvex/ox.h"

#include <atomic>
#include <cstdint>
#include <map>
#include <string>

namespace OrvexSDK {

/// The device behind the exported calls, whatever kind it is: one operation for every call, the stored error, the
/// application's two handlers, and the state of each measure mode.
///
/// Called from the application's thread; MessageFromDevice also from the device's message thread, which reads nothing
/// but the message handler.
class SDKProxy : public Vondrel::DeviceDriver::Generic::EventListener {
public:
    /// Translates a message of the device and passes it to the application's handler.
    /// @param source  serial number of the device
    /// @throws SDKError 10 "Unknown device message ..."
    void MessageFromDevice(unsigned short message, std::int32_t source) override;

    virtual std::string GetDeviceType() = 0;

    /// @return the previous handler
    virtual OX_ErrorHandler RegisterErrorHandler(OX_ErrorHandler handler);
    virtual OX_DeviceMessageHandler RegisterDeviceMessageHandler(OX_DeviceMessageHandler handler);

    /// The answer to a text query; valid until the next query of either kind.
    virtual const std::string& GetDeviceInfo(const std::string& key);

    virtual bool IsConnected() = 0;
    virtual bool IsKeyPressed() = 0;
    virtual std::int32_t GetSampleCount() = 0;
    virtual void Calibrate() = 0;
    virtual void TriggerMeasurement() = 0;
    virtual void TriggerCountedScan(std::int32_t count) = 0;
    virtual void GetSpectrum(float* spectrum, std::int32_t index) = 0;
    virtual void GetTriStimulus(float* tristimulus, std::int32_t index) = 0;
    virtual void GetDensities(float* densities, std::int32_t* autoIndex, std::int32_t index) = 0;
    virtual void GetDensity(float* density, std::int32_t index) = 0;
    virtual void SetSubstrate(const float* spectrum) = 0;

    virtual void SetOption(const std::string& key, const std::string& value);

    /// The answer to a text query; valid until the next query of either kind. A key that needs the device has the empty
    /// answer while no device is connected.
    virtual const std::string& GetOption(const std::string& key);

    virtual void SetLastError(const SDKError& error);
    virtual const SDKError& GetLastError();

    /// Stores the error, then calls the application's handler. What that throws is swallowed, but for an
    /// OXSDK::Exception, which passes.
    virtual void HandleError(const std::string& function, const SDKError& error);

    /// Calls the application's message handler; what it throws is swallowed.
    virtual void SendDeviceMessage(std::int32_t message, const std::string& text);

    /// The plain options of the current mode.
    virtual ModeState::Options& GetOptions() = 0;

    /// @return seconds since the last calibration of the current mode, -1 for never
    virtual std::int32_t GetLastCalibrationTime();

    /// @return measurements since the last calibration of the current mode
    virtual std::int32_t GetLastCalibrationCounter();

    /// @return texts of the measure modes, separated by semicolons
    virtual std::string GetAvailableMeasureModes() = 0;

    virtual ColorMetryProvider& GetColorMetryProvider();
    virtual std::int32_t GetMode() = 0;
    virtual void SetMeasureMode(const std::string& mode) = 0;
    virtual void SetDeviceSpecificOption(const std::string& key, const std::string& value) = 0;
    virtual std::string GetDeviceSpecificOption(const std::string& key) = 0;

protected:
    /// The state of the current mode; a new one at its first use.
    ModeState& CurrentModeState();

    /// Raises the number of measurements since the last calibration of the current mode; modulo 2 to the 32nd, since an
    /// application may have set it to any number.
    void CountMeasurement();

    static bool IsColorimetricKey(const std::string& key);

private:
    void AnswerFromLibrary(const std::string& key);
    void AnswerWhileConnected(const std::string& key);
    bool CanConnect();

    OX_ErrorHandler errorHandler = nullptr;
    std::atomic<OX_DeviceMessageHandler> messageHandler = nullptr;
    SDKError lastError;
    std::map<std::int32_t, ModeState> modeStates;
    std::string answer; ///< of the last text query; keeps its capacity
};

}
