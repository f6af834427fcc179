#include "apps/ox/device/Instrument.h"

#include "apps/ox/base/Failure.h"

#include <algorithm>

namespace Ox {

namespace {

constexpr const char* noError = "no error";

Status StatusOf(int32_t result)
{
    switch (result) {
    case OX_DeviceNotConnected:
        return Status::NoInstrument;
    case OX_InvalidParameter:
    case OX_NotSupported:
    case OX_NotAvailable:
        return Status::Refused;
    default:
        return Status::Failed;
    }
}

/// The library's text without the code at its end.
std::string Sentence(std::string text)
{
    const auto code = text.rfind(" (code ");
    return code == std::string::npos ? text : text.substr(0, code);
}

}

Instrument::~Instrument()
{
    library.OX_SetOption("Reset", "All");
}

std::string Instrument::Advice()
{
    return "no instrument found.\n"
           "  - Is its cable plugged in, and its lamp or light on?\n"
           "  - May you use the USB device? Copy the library's udev rule to /etc/udev/rules.d and plug the instrument "
           "in anew.\n"
           "  - A serial colorimeter needs the group dialout: sudo usermod -aG dialout $USER, then log in anew.\n"
           "  - To try ox without an instrument: ox --virtual list";
}

void Instrument::Connect(const std::string& deviceType)
{
    if (!deviceType.empty())
        Set("DeviceType", deviceType);
    if (!IsConnected())
        throw Failure(Status::NoInstrument,
                      deviceType.empty() ? Advice() : "no instrument at " + deviceType + "; see ox list");
}

bool Instrument::IsConnected() const
{
    return library.OX_IsConnected() == OX_NoError;
}

void Instrument::Throw(int32_t result) const
{
    const std::string text = library.OX_GetOption("LastError");
    throw Failure(StatusOf(result), Sentence(text), library.OX_GetOption("ExtendedErrorInformation"));
}

bool Instrument::HasFailed() const
{
    return library.OX_GetOption("LastError") != std::string(noError);
}

void Instrument::Check(int32_t result) const
{
    if (result != OX_NoError)
        Throw(result);
}

std::string Instrument::Get(const std::string& key) const
{
    const std::string value = library.OX_GetOption(key.c_str());
    if (value.empty() && HasFailed())
        Throw(OX_NotAvailable);
    return value;
}

std::optional<std::string> Instrument::Find(const std::string& key) const
{
    const std::string value = library.OX_GetOption(key.c_str());
    return value.empty() && HasFailed() ? std::nullopt : std::optional(value);
}

void Instrument::Set(const std::string& key, const std::string& value) const
{
    Check(library.OX_SetOption(key.c_str(), value.c_str()));
}

void Instrument::SetConditions(const Conditions& conditions) const
{
    for (const ConditionRow& row : conditionTable) {
        const std::string value = conditions.GetLibrary().oxc_get(conditions.Handle(), row.key);
        if (std::string(row.key) != RowOf(Condition::DeltaE).key)
            Set(row.key, value);
    }
}

bool Instrument::IsColorimeter() const
{
    return Get("DeviceType") == "OrvexDisplay";
}

void Instrument::Calibrate() const
{
    Check(library.OX_Calibrate());
}

std::size_t Instrument::Measure() const
{
    Check(library.OX_TriggerMeasurement());
    const int32_t samples = library.OX_GetNumberOfAvailableSamples();
    return static_cast<std::size_t>(std::max(samples, 0));
}

void Instrument::ReadColor(std::size_t sample, float* color) const
{
    Check(library.OX_GetTriStimulus(color, static_cast<int32_t>(sample)));
}

void Instrument::ReadSpectrum(std::size_t sample, float* spectrum) const
{
    Check(library.OX_GetSpectrum(spectrum, static_cast<int32_t>(sample)));
}

void Instrument::ReadDensity(std::size_t sample, float* density) const
{
    Check(library.OX_GetDensity(density, static_cast<int32_t>(sample)));
}

void Instrument::ReadDensities(std::size_t sample, float* densities) const
{
    float cmyk[4]; // in the order of OX_GetDensities
    Check(library.OX_GetDensities(cmyk, nullptr, static_cast<int32_t>(sample)));
    const float ordered[4] = {cmyk[3], cmyk[0], cmyk[1], cmyk[2]};
    std::copy(std::begin(ordered), std::end(ordered), densities);
}

}
