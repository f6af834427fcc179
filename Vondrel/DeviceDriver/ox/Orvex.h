#pragma once

#include "Vondrel/DeviceDriver/GENERIC/EventListener.h"
#include "Vondrel/DeviceDriver/GENERIC/HighLevelDriver.h"
#include "Vondrel/DeviceDriver/GENERIC/LowLevelDriver.h"
#include "Vondrel/DeviceDriver/ox/MessagePump.h"
#include "Vondrel/Utilities/Tools/SmartPointer.h"

#include <atomic>
#include <cstdint>
#include <map>
#include <vector>

namespace Vondrel::DeviceDriver::ox {

/// The modes of the device object. An application sees the first five.
enum MeasureModeType : std::int32_t {
    RemissionMode = 0,
    RemissionScanMode = 1,
    EmissionMode = 2,
    AmbientLightMode = 3,
    AmbientLightScanMode = 4,
    TransmissionMode = 5,
    ServiceMode = 6,
    RawMode = 7,
    RawScanMode = 8
};

/// The spectrophotometer: one measurement handle for each mode over one connection. Notices that the instrument has
/// gone, reconnects at the next occasion, and recovers from a failed transfer.
///
/// Conditions live in the handles and are lost with a reconnection. All operations but MessageFromDevice come from the
/// application's thread.
class Orvex : public Generic::EventListener {
public:
    using Property = Generic::Configuration::Property;
    using SpectrumData = Generic::Calculation::SpectrumData;

    /// Connects to the instrument.
    /// @param listener     gets the device messages on a thread of their own; may be null; outlives the object
    /// @param deviceIndex  which instrument, from 0
    /// @throws IOException "No devices connected"
    Orvex(Generic::EventListener* listener, std::int32_t deviceIndex);
    ~Orvex() override;

    /// Measures in the current mode. A failed transfer is tried once more after 100 ms, but for a scan, after which the
    /// instrument is reset and the failure is "system busy. try again".
    const std::vector<SpectrumData>& TriggerMeasurement();
    const std::vector<SpectrumData>& GetLastMeasurementResult();

    // A failed transfer in one of these costs a reset and a second attempt on the new handle.
    void Calibrate(bool darkStep);
    void SetCondition(std::uint16_t id, const Property& property);
    Property GetCondition(std::uint16_t id);

    /// Chooses the mode. No check, no transfer.
    void Activate(std::int32_t newMode) { mode = newMode; }
    std::int32_t GetMode() const { return mode; }

    /// Drops the connection and all handles, and makes them anew.
    void Reset();

    /// Whether the instrument is there; reconnects to one that has come back.
    bool IsConnected();

    /// Reports a press of the key once.
    bool IsButtonPressed();

    bool HasAmbientLightSupport();
    bool IsOrvexMonitor();

    /// From the instrument's thread: notes the message and passes it on with the serial number.
    void MessageFromDevice(unsigned short id, std::int32_t argument) override;

private:
    template<typename T>
    using SmartPointer = Utilities::Tools::SmartPointer<T>;
    using Handle = SmartPointer<Generic::HighLevelDriver>;

    void Initialize();
    void UnInitialize();
    void MakeHandles();
    Handle GetHandle(std::int32_t handleMode);
    Handle ModeHandle() { return GetHandle(GetMode()); }
    const std::vector<SpectrumData>& MeasureOnce();
    template<typename Operation>
    auto WithRecoveryByReset(Operation operation);

    MessagePump messages; // outlives the connection, whose thread posts to it
    std::atomic<bool> removed = false;
    std::atomic<bool> keyPressed = false;
    std::atomic<std::int32_t> mode = EmissionMode;
    std::map<std::int32_t, Handle> handles;
    SmartPointer<Generic::LowLevelDriver> driver;
    std::int32_t deviceIndex;
    std::atomic<std::int32_t> serialNumber = 0;
};

}
