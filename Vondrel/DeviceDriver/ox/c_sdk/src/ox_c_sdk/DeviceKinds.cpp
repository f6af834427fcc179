#include "Vondrel/DeviceDriver/ox/c_sdk/src/ox_c_sdk/DeviceKinds.h"

#include "Vondrel/Utilities/Exceptions/DeviceDriverException.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"
#include "Vondrel/Utilities/Tools/LexicalCast.h"

#include <algorithm>
#include <iterator>

namespace OrvexSDK {

namespace {

/// Serves a device that is never there: whatever needs it fails.
class AbsentProxy : public SDKProxy {
public:
    explicit AbsentProxy(std::string theDeviceType) : deviceType(std::move(theDeviceType)) { }

    std::string GetDeviceType() override { return deviceType; }
    bool IsConnected() override { Fail("IsConnected"); }
    bool IsKeyPressed() override { Fail("IsKeyPressed"); }
    std::int32_t GetSampleCount() override { Fail("GetSampleCount"); }
    void Calibrate() override { Fail("Calibrate"); }
    void TriggerMeasurement() override { Fail("TriggerMeasurement"); }
    void TriggerCountedScan(std::int32_t) override { Fail("TriggerCountedScan"); }
    void GetSpectrum(float*, std::int32_t) override { Fail("GetSpectrum"); }
    void GetTriStimulus(float*, std::int32_t) override { Fail("GetTriStimulus"); }
    void GetDensities(float*, std::int32_t*, std::int32_t) override { Fail("GetDensities"); }
    void GetDensity(float*, std::int32_t) override { Fail("GetDensity"); }
    void SetSubstrate(const float*) override { Fail("SetSubstrate"); }
    ModeState::Options& GetOptions() override { Fail("GetOptions"); }
    std::string GetAvailableMeasureModes() override { Fail("GetAvailableMeasureModes"); }
    std::int32_t GetMode() override { Fail("GetMode"); }
    void SetMeasureMode(const std::string&) override { Fail("SetMeasureMode"); }
    void SetDeviceSpecificOption(const std::string&, const std::string&) override { Fail("SetOption"); }
    std::string GetDeviceSpecificOption(const std::string&) override { Fail("GetOption"); }

private:
    [[noreturn]] static void Fail(const char* method)
    {
        throw IOException("No devices connected", THROW_LOCATION("AbsentProxy", method));
    }

    std::string deviceType;
};

template<class T>
using SmartPointer = Vondrel::Utilities::Tools::SmartPointer<T>;

Context* NewAbsentContext(const std::string& deviceType)
{
    return new Context(SmartPointer<SDKProxy>(new AbsentProxy(deviceType)),
                       SmartPointer<ContextParameterValidator>(new ContextParameterValidator));
}

Context* NewSpectrophotometer(std::int32_t id)
{
    using Vondrel::Utilities::Tools::lexical_cast;
    return NewAbsentContext(id == 0 ? "Orvex" : "Orvex" + lexical_cast<std::string>(id));
}

Context* NewColorimeter(std::int32_t)
{
    return NewAbsentContext("OrvexDisplay");
}

bool NoneAttached()
{
    return false;
}

/// In the order of preference.
constexpr DeviceKind deviceKinds[] = {
    {0, 127, NoneAttached, NewSpectrophotometer},
    {1000, 1000, NoneAttached, NewColorimeter},
};

}

const DeviceKind* FindDeviceKind(std::int32_t id)
{
    const auto kind = std::find_if(std::begin(deviceKinds), std::end(deviceKinds),
                                   [id](const DeviceKind& k) { return k.firstId <= id && id <= k.lastId; });
    return kind == std::end(deviceKinds) ? nullptr : kind;
}

std::int32_t DetectDevice()
{
    const auto kind = std::find_if(std::begin(deviceKinds), std::end(deviceKinds),
                                   [](const DeviceKind& k) { return k.isAttached(); });
    return kind == std::end(deviceKinds) ? deviceKinds[0].firstId : kind->firstId;
}

}
