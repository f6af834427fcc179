#include "tests/frame/ScriptedDevice.h"

#include "Vondrel/DeviceDriver/ox/c_sdk/src/SDKProxy/Vocabulary.h"

using namespace OrvexSDK;

ScriptedDevice& Scripted()
{
    static ScriptedDevice device;
    return device;
}

namespace {

template<class T>
using SmartPointer = Vondrel::Utilities::Tools::SmartPointer<T>;

class ScriptedProxy : public SDKProxy {
public:
    explicit ScriptedProxy(std::int32_t theId) : id(theId) { ++Scripted().alive; }
    ~ScriptedProxy() override
    {
        --Scripted().alive;
        Scripted().farewell();
    }

    std::string GetDeviceType() override { return id == 1000 ? "OrvexDisplay" : "Orvex" + std::to_string(id); }
    bool IsConnected() override { return Run("IsConnected"), true; }
    bool IsKeyPressed() override { return Run("IsKeyPressed"), false; }
    std::int32_t GetSampleCount() override { return Run("GetSampleCount"), Scripted().samples; }
    void Calibrate() override { Run("Calibrate"); }
    void TriggerMeasurement() override { Run("TriggerMeasurement"); }
    void TriggerCountedScan(std::int32_t) override { Run("TriggerCountedScan"); }
    void GetSpectrum(float* spectrum, std::int32_t) override { Run("GetSpectrum"), spectrum[35] = 0.5F; }
    void GetTriStimulus(float* values, std::int32_t) override { Run("GetTriStimulus"), values[2] = 0.5F; }
    void GetDensities(float*, std::int32_t*, std::int32_t) override { Run("GetDensities"); }
    void GetDensity(float*, std::int32_t) override { Run("GetDensity"); }
    void SetSubstrate(const float*) override { Run("SetSubstrate"); }
    ModeState::Options& GetOptions() override { return CurrentModeState().options; }
    std::string GetAvailableMeasureModes() override { return "SingleEmission"; }
    std::int32_t GetMode() override { return Scripted().mode; }
    void SetMeasureMode(const std::string& mode) override { Run("SetMeasureMode " + mode); }
    void SetDeviceSpecificOption(const std::string& key, const std::string&) override { Run("set " + key); }
    std::string GetDeviceSpecificOption(const std::string& key) override
    {
        Run("get " + key);
        return key == Key::MeasurementMode ? TranslateMeasureMode(GetMode()) : "value of " + key;
    }

private:
    void Run(const std::string& what)
    {
        Scripted().calls.push_back(std::to_string(id) + " " + what);
        Scripted().operation();
    }

    std::int32_t id;
};

class ScriptedValidator : public ContextParameterValidator {
public:
    void Validate(const std::string& function, const CallParameters& parameters) override
    {
        if (function == "OX_SetOption" || function == "OX_GetOption")
            ContextParameterValidator::Validate(parameters.key);
        if (function == "OX_SetOption")
            ContextParameterValidator::Validate(parameters.value);
        Scripted().validate(function, parameters);
    }
};

Context* NewContext(std::int32_t id)
{
    return new Context(SmartPointer<SDKProxy>(new ScriptedProxy(id)),
                       SmartPointer<ContextParameterValidator>(new ScriptedValidator));
}

bool Always()
{
    return !Scripted().colorimeterAttached;
}

bool Sometimes()
{
    return Scripted().colorimeterAttached;
}

constexpr DeviceKind spectrophotometers{0, 127, Always, NewContext};
constexpr DeviceKind colorimeter{1000, 1000, Sometimes, NewContext};

}

namespace OrvexSDK {

const DeviceKind* FindDeviceKind(std::int32_t id)
{
    if (id == colorimeter.firstId)
        return &colorimeter;
    return id >= spectrophotometers.firstId && id <= spectrophotometers.lastId ? &spectrophotometers : nullptr;
}

std::int32_t DetectDevice()
{
    return Scripted().colorimeterAttached ? colorimeter.firstId : spectrophotometers.firstId;
}

}
