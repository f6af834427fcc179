#include "Vondrel/DeviceDriver/ox/c_sdk/src/zelkova/Zelkova.h"

#include "Vondrel/DeviceDriver/ox/c_sdk/src/SDKProxy/Vocabulary.h"
#include "Vondrel/Utilities/Exceptions/SDKError.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"
#include "Vondrel/Utilities/Tools/LexicalCast.h"
#include "orvex/ox.h"
#include "orvex/zelcal.h"
#include "platform/RunTime.h"

namespace ZelkovaSDK {

using OrvexSDK::SingleAmbientLight;
using OrvexSDK::SingleEmission;
using Vondrel::Utilities::Tools::lexical_cast;

namespace {

constexpr std::uint16_t candelaPerSquareMetre = 1;
constexpr std::int32_t crtScreen = 1;
constexpr std::int32_t autoIntensity = 2;
constexpr std::int32_t hasDarkCurrent = 1;
constexpr std::int32_t hasRefreshMeasurement = 3;
constexpr std::int32_t hasAmbientHead = 4;
constexpr std::int32_t noRefresh = -200;
constexpr std::uint16_t refreshPeriods = 100;
constexpr std::size_t versionSize = 64;

constexpr const char* screenTypes[] = {"LCD", "CRT"};

std::int32_t MeasureBleak(ZelYxyz* result)
{
    return zelDarkMeasureYxy(candelaPerSquareMetre, 1, 1, 1, 1, result);
}

std::int32_t MeasureBright(ZelYxyz* result)
{
    return zelMeasureYxy(candelaPerSquareMetre, result);
}

std::int32_t MeasureAuto(ZelYxyz* result)
{
    return zelAutoMeasureYxy(candelaPerSquareMetre, result);
}

struct IntensityRow {
    const char* text;
    std::int32_t (*measure)(ZelYxyz*);
};

/// The place is the number.
constexpr IntensityRow intensities[] = {{"Bleak", MeasureBleak}, {"Bright", MeasureBright}, {"Auto", MeasureAuto}};

/// Throws what a code of the toolkit means, unless it means success.
/// @param file, line  of the rule, which is the caller: clang 14 has no std::source_location
void Check(std::int32_t code, std::int32_t result, const char* text, const char* method,
           const char* file = __builtin_FILE(), int line = __builtin_LINE())
{
    if (code != 0)
        throw SDKError(result, text + lexical_cast<std::string>(code),
                       Vondrel::Utilities::Exceptions::MakeLocation("Zelkova", method, file, line));
}

}

Zelkova::Zelkova()
try : mode(SingleEmission) {
    char version[versionSize] = {};
    const std::int32_t code = zelOpenUSBAltrix(version);
    if (code != 0)
        throw SDKError(OX_DeviceNotConnected, "no ox-display connected (code " + lexical_cast<std::string>(code) + ")",
                       THROW_LOCATION("Zelkova", "Zelkova"));
}
TRACE_GUARD("Zelkova", "Zelkova")

Zelkova::~Zelkova()
{
    zelCloseCalibrator();
}

bool Zelkova::IsConnected()
{
    char version[versionSize] = {};
    return AltrixGetVersionString(version) == 0;
}

bool Zelkova::SupportsAmbientLight()
{
    return zelSupportsFunction(hasAmbientHead) != 0;
}

std::int32_t Zelkova::GetSerialNumber()
{
    return static_cast<std::int32_t>(zelGetCalibratorSerialNumber());
}

void Zelkova::SetScreenType(std::int32_t screen)
try {
    Check(zelSelectCalibration(screen == 0 ? 1 : 0), OX_InvalidParameter, "operation failed with code ",
          "SetScreenType");
}
TRACE_GUARD("Zelkova", "SetScreenType")

void Zelkova::Calibrate(std::int32_t screen)
try {
    constexpr const char* failed = "calibration failed with code";
    SetScreenType(screen);
    if (zelSupportsFunction(hasDarkCurrent) != 0) {
        Check(zelSetDarkCurrentEx(), OX_InternalError, failed, "Calibrate");
    } else if (zelSupportsFunction(hasRefreshMeasurement) != 0 && screen == crtScreen && mode == SingleEmission) {
        double frequency = 0;
        const std::int32_t code = zelMeasMonFreqAndSetIntTime(refreshPeriods, &frequency);
        if (code == noRefresh)
            throw SDKError(OX_InternalError, "could not measure refresh rate of CRT",
                           THROW_LOCATION("Zelkova", "Calibrate"));
        Check(code, OX_InternalError, failed, "Calibrate");
    }
}
TRACE_GUARD("Zelkova", "Calibrate")

std::vector<float> Zelkova::TriggerMeasurement(std::int32_t screen, std::int32_t intensity)
try {
    SetScreenType(screen);
    ZelYxyz result{};
    const std::int32_t code = mode == SingleAmbientLight ? zelMeasureAmbient(candelaPerSquareMetre, &result)
                                                         : intensities[intensity].measure(&result);
    Check(code, OX_InternalError, "measurement failed with code", "TriggerMeasurement");

    const long double scale = static_cast<long double>(result.Y) / result.y;
    return {static_cast<float>(scale * result.x), static_cast<float>(result.Y),
            static_cast<float>((1 - static_cast<long double>(result.x) - result.y) * scale)};
}
TRACE_GUARD("Zelkova", "TriggerMeasurement")

std::int32_t Zelkova::TranslatePatchIntensity(const std::string& text)
try {
    for (std::int32_t number = 0; number <= autoIntensity; ++number) {
        if (text == intensities[number].text)
            return number;
    }
    throw SDKError(OX_InvalidParameter, "unknown patch intensity " + text,
                   THROW_LOCATION("Zelkova", "TranslatePatchIntensity"));
}
TRACE_GUARD("Zelkova", "TranslatePatchIntensity")

std::int32_t Zelkova::TranslateScreenType(const std::string& text)
try {
    for (std::int32_t number = 0; number <= crtScreen; ++number) {
        if (text == screenTypes[number])
            return number;
    }
    throw SDKError(OX_InvalidParameter, "unknown screen type " + text,
                   THROW_LOCATION("Zelkova", "TranslateScreenType"));
}
TRACE_GUARD("Zelkova", "TranslateScreenType")

bool IsAnyZelkovaConnected()
{
    try {
        Zelkova candidate;
        return candidate.IsConnected();
    } catch (...) {
        Platform::PassForcedUnwind();
        return false;
    }
}

}
