#include "Vondrel/DeviceDriver/ox/Orvex.h"

#include "Vondrel/DeviceDriver/GENERIC/Configuration/PropertyId.h"
#include "Vondrel/DeviceDriver/GENERIC/Measurement/AmbientLightScanHandle.h"
#include "Vondrel/DeviceDriver/GENERIC/Measurement/RawHandle.h"
#include "Vondrel/DeviceDriver/GENERIC/Measurement/RemissionHandle.h"
#include "Vondrel/DeviceDriver/GENERIC/Measurement/RemissionScanHandle.h"
#include "Vondrel/DeviceDriver/GENERIC/Measurement/ServiceHandle.h"
#include "Vondrel/DeviceDriver/GENERIC/Measurement/TransmissionHandle.h"
#include "Vondrel/DeviceDriver/GENERIC/Utilities/Timing.h"
#include "Vondrel/DeviceDriver/ox/USB/USBBrowser.h"
#include "Vondrel/Utilities/Exceptions/DeviceDriverException.h"
#include "Vondrel/Utilities/Exceptions/ResourceException.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"
#include "Vondrel/Utilities/Tools/LexicalCast.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>
#include <string>

namespace Vondrel::DeviceDriver::ox {

using namespace Generic::Measurement;
using Generic::HighLevelDriver;
using Generic::LowLevelDriver;
using Generic::Configuration::Property;
using Generic::Utilities::Timing;
using Utilities::Exceptions::ResourceException;
namespace Id = Generic::Configuration;

namespace {

using Driver = Utilities::Tools::SmartPointer<LowLevelDriver>;

constexpr std::int32_t monitorDeviceType = 2;
constexpr std::int32_t ambientLightBits = 0x6000;
constexpr std::int32_t retryDelayMs = 100;

template<typename H>
HighLevelDriver* New(const Driver& driver)
{
    return new H(driver);
}

struct HandleRow {
    std::int32_t mode;
    const char* name; ///< in messages
    HighLevelDriver* (*make)(const Driver&);
};

constexpr HandleRow handleTable[] = {
    {RemissionMode, "RemissionHandle", New<RemissionHandle>},
    {RemissionScanMode, "RemissionScanHandle", New<RemissionScanHandle>},
    {EmissionMode, "EmissionHandle", New<EmissionHandle>},
    {AmbientLightMode, "AmbientLightHandle", New<AmbientLightHandle>},
    {AmbientLightScanMode, "AmbientLightScanHandle", New<AmbientLightScanHandle>},
    {TransmissionMode, "TransmissionHandle", New<TransmissionHandle>},
    {ServiceMode, "ServiceHandle", New<ServiceHandle>},
    {RawMode, "RawHandle", New<RawHandle>},
    {RawScanMode, "RawScanHandle", New<RawScanHandle>},
};

std::string HandleName(std::int32_t mode)
{
    const auto row = std::find_if(std::begin(handleTable), std::end(handleTable),
                                  [mode](const HandleRow& r) { return r.mode == mode; });
    if (row != std::end(handleTable))
        return row->name;
    return "Unknown interface (" + Utilities::Tools::lexical_cast<std::string>(mode) + ")";
}

/// Brackets an operation on a handle with its lock. A lock that could not be had is no obstacle: its limit has passed.
class HandleSession {
public:
    explicit HandleSession(const Utilities::Tools::SmartPointer<HighLevelDriver>& handle_) : handle(handle_)
    {
        handle->LockHandle();
    }
    HandleSession(const HandleSession&) = delete;
    HandleSession& operator=(const HandleSession&) = delete;
    ~HandleSession() { handle->UnlockHandle(); }

    HighLevelDriver* operator->() const { return &*handle; }

private:
    Utilities::Tools::SmartPointer<HighLevelDriver> handle;
};

}

Orvex::Orvex(Generic::EventListener* listener, std::int32_t deviceIndex_)
try : deviceIndex(deviceIndex_) {
    Initialize();
    messages.Start(listener);
}
TRACE_GUARD("Orvex", "Orvex")

Orvex::~Orvex()
{
    messages.Stop(); // no handler runs any more while the instrument is closed
    try {
        if (driver.IsValid())
            driver->RemoveListener(this);
    } catch (...) {
        // The instrument may be gone; nobody is left to hear of it.
    }
}

void Orvex::Initialize()
try {
    try {
        driver = LowLevelDriver::Instance(this, deviceIndex);
        MakeHandles();
        if (IsOrvexMonitor()) {
            handles.erase(RemissionMode);
            handles.erase(RemissionScanMode);
        }
        serialNumber = HandleSession(GetHandle(ServiceMode))->GetPhysicalCondition(Id::SerialNumber).AsLong();
    } catch (...) {
        // Half a connection would pass for one at the next question.
        UnInitialize();
        throw;
    }
}
TRACE_GUARD("Orvex", "Initialize")

void Orvex::MakeHandles()
{
    for (const HandleRow& row : handleTable)
        handles[row.mode] = Handle(row.make(driver));
}

void Orvex::UnInitialize()
{
    handles.clear();
    driver = Driver();
}

const std::vector<Orvex::SpectrumData>& Orvex::MeasureOnce()
try {
    const HandleSession handle(ModeHandle());
    handle->TriggerMeasurement();
    return handle->GetMeasurementResult();
}
TRACE_GUARD("Orvex", "TriggerMeasurement(internal)")

const std::vector<Orvex::SpectrumData>& Orvex::TriggerMeasurement()
try {
    try {
        return MeasureOnce();
    } catch (const IOException&) {
        Timing::Instance()->DeviceDriverSleep(retryDelayMs);
        if (removed) {
            if (IsConnected() && GetMode() == RemissionMode)
                return MeasureOnce();
            throw;
        }
    }
    if (GetMode() == RemissionScanMode) {
        HandleSession(GetHandle(ServiceMode))->SetPhysicalCondition(Id::ResetMask, Generic::resetAll);
        throw std::runtime_error("system busy. try again");
    }
    return MeasureOnce();
}
TRACE_GUARD("Orvex", "TriggerMeasurement")

const std::vector<Orvex::SpectrumData>& Orvex::GetLastMeasurementResult()
try {
    return HandleSession(ModeHandle())->GetMeasurementResult();
}
TRACE_GUARD("Orvex", "GetLastMeasurementResult")

template<typename Operation>
auto Orvex::WithRecoveryByReset(Operation operation)
{
    try {
        // The session must have ended before the connection is made anew.
        return operation(HandleSession(ModeHandle()));
    } catch (const IOException&) {
        Reset();
    }
    return operation(HandleSession(ModeHandle()));
}

void Orvex::Calibrate(bool darkStep)
try {
    WithRecoveryByReset([darkStep](const HandleSession& handle) { handle->Calibrate(darkStep); });
}
TRACE_GUARD("Orvex", "Calibrate")

void Orvex::SetCondition(std::uint16_t id, const Property& property)
try {
    WithRecoveryByReset([&](const HandleSession& handle) { handle->SetPhysicalCondition(id, property); });
}
TRACE_GUARD("Orvex", "SetCondition")

Property Orvex::GetCondition(std::uint16_t id)
try {
    return WithRecoveryByReset([id](const HandleSession& handle) { return handle->GetPhysicalCondition(id); });
}
TRACE_GUARD("Orvex", "GetCondition")

void Orvex::Reset()
try {
    UnInitialize();
    Initialize();
}
TRACE_GUARD("Orvex", "Reset")

bool Orvex::IsConnected()
try {
    if (driver.IsValid() && !removed)
        return true;
    removed = false;
    UnInitialize();
    if (!USBBrowser::Instance()->IsAnyOrvexConnected())
        return false;
    Initialize();
    return true;
}
TRACE_GUARD("Orvex", "IsConnected")

Orvex::Handle Orvex::GetHandle(std::int32_t handleMode)
try {
    if (!IsConnected())
        throw IOException("Device not connected", THROW_LOCATION("Orvex", "GetHandle"));
    const auto found = handles.find(handleMode);
    if (found == handles.end())
        throw ResourceException("No such mode (" + HandleName(handleMode) + ")", THROW_LOCATION("Orvex", "GetHandle"));
    return found->second;
}
TRACE_GUARD("Orvex", "GetHandle")

bool Orvex::IsButtonPressed()
{
    return keyPressed.exchange(false);
}

bool Orvex::HasAmbientLightSupport()
try {
    const HandleSession handle(GetHandle(ServiceMode));
    return (handle->GetPhysicalCondition(Id::HardwareOptions).AsLong() & ambientLightBits) != 0;
}
TRACE_GUARD("Orvex", "HasAmbientLightSupport")

bool Orvex::IsOrvexMonitor()
try {
    const HandleSession handle(GetHandle(ServiceMode));
    return handle->GetPhysicalCondition(Id::DeviceType).AsLong() == monitorDeviceType;
}
TRACE_GUARD("Orvex", "IsOrvexMonitor")

void Orvex::MessageFromDevice(unsigned short id, std::int32_t)
try {
    if (id == Generic::deviceGoneMessage)
        removed = true;
    if (id == Generic::buttonPressedMessage)
        keyPressed = true;
    messages.Post(id, serialNumber);
}
TRACE_GUARD("Orvex", "MessageFromDevice")

}
