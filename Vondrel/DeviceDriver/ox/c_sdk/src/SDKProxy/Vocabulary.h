#pragma once

#include "Vondrel/CMetry/ConditionTypes.h"
#include "Vondrel/DeviceDriver/GENERIC/Configuration/PropertyId.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace OrvexSDK {

/// Option keys that more than one place needs.
namespace Key {
inline constexpr const char* DeviceType = "DeviceType";
inline constexpr const char* Reset = "Reset";
inline constexpr const char* MeasurementMode = "MeasurementMode";
inline constexpr const char* Recognition = "Recognition";
inline constexpr const char* Beep = "Beep";
inline constexpr const char* AdaptiveMode = "AdaptiveMode";
inline constexpr const char* SerialNumber = "SerialNumber";
inline constexpr const char* PhysicalFilter = "PhysicalFilter";
inline constexpr const char* LastCalibrationTime = "LastCalibrationTime";
inline constexpr const char* LastCalibrationCounter = "LastCalibrationCounter";
inline constexpr const char* LastAutoDensityFilter = "LastAutoDensityFilter";
inline constexpr const char* ScreenType = "ScreenType";
inline constexpr const char* PatchIntensity = "PatchIntensity";
inline constexpr const char* Illumination = Vondrel::CMetry::Keys::Illumination.data();
inline constexpr const char* WhiteBase = Vondrel::CMetry::Keys::WhiteBase.data();
inline constexpr const char* DensityFilterMode = Vondrel::CMetry::Keys::DensityFilterMode.data();
inline constexpr const char* ColorSpace = Vondrel::CMetry::Keys::ColorSpace.data();
}

/// One row for every option. The proxies and their rules follow it, and so does docs/guide.md.
struct OptionRow {
    /// Who answers a question for the key.
    enum class Answer : std::uint8_t {
        Library,   ///< the library itself, device or not
        Condition, ///< the colorimetric conditions of the mode
        Connected, ///< every kind of device, while it is connected
        Device,    ///< the kinds that know it, while one is connected
    };
    enum class Setting : std::uint8_t {
        Taken,
        Kept,   ///< as a plain entry of the mode: nobody looks at it
        Refused ///< by a spectrophotometer
    };

    const char* key;
    Answer answer;
    Setting setting;
    const char* initial;    ///< what the options of a new mode hold; null where they hold nothing
    const char* values;     ///< as the guide has them
    std::uint16_t property; ///< of the spectrophotometer, behind the key; 0 for none
};

// clang-format off
inline constexpr OptionRow optionTable[] = {
    {Key::DeviceType, OptionRow::Answer::Library, OptionRow::Setting::Taken, nullptr, "Orvex OrvexDisplay", 0},
    {Key::Reset, OptionRow::Answer::Device, OptionRow::Setting::Taken, nullptr, "All", 0},
    {"Version", OptionRow::Answer::Library, OptionRow::Setting::Kept, nullptr, "text", 0},
    {"LastError", OptionRow::Answer::Library, OptionRow::Setting::Kept, nullptr, "text", 0},
    {"ExtendedErrorInformation", OptionRow::Answer::Library, OptionRow::Setting::Kept, nullptr, "text", 0},
    {"Connection", OptionRow::Answer::Library, OptionRow::Setting::Kept, nullptr, "yes no", 0},
    {Key::Illumination, OptionRow::Answer::Condition, OptionRow::Setting::Taken, nullptr, "A B C D50 D55 D65 D75, Dxx, Temperature:5500 (any temperature in kelvin), F1 to F12, Emission", 0},
    {Vondrel::CMetry::Keys::Observer.data(), OptionRow::Answer::Condition, OptionRow::Setting::Taken, nullptr, "TwoDegree TenDegree", 0},
    {Key::WhiteBase, OptionRow::Answer::Condition, OptionRow::Setting::Taken, nullptr, "Absolute Paper Automatic", 0},
    {Vondrel::CMetry::Keys::DensityStandard.data(), OptionRow::Answer::Condition, OptionRow::Setting::Taken, nullptr, "DIN DINNB ANSIA ANSIE ANSII ANSIT SPI User", 0},
    {Key::DensityFilterMode, OptionRow::Answer::Condition, OptionRow::Setting::Taken, nullptr, "Black Cyan Magenta Yellow Max Auto", 0},
    {Key::ColorSpace, OptionRow::Answer::Condition, OptionRow::Setting::Taken, nullptr, "CIELab CIELCh CIELuv CIELChuv CIEXYZ CIExyY CIEuvY1960 CIEuvY1976 HunterLab RxRyRz LABvd LCHvd RGB", 0},
    {Key::MeasurementMode, OptionRow::Answer::Device, OptionRow::Setting::Taken, nullptr, "see above", 0},
    {Key::Beep, OptionRow::Answer::Device, OptionRow::Setting::Taken, nullptr, "yes no", 0},
    {Key::AdaptiveMode, OptionRow::Answer::Device, OptionRow::Setting::Taken, nullptr, "yes no", Vondrel::DeviceDriver::Generic::Configuration::AdaptiveMode},
    {Key::Recognition, OptionRow::Answer::Device, OptionRow::Setting::Taken, "no", "yes no", 0},
    {Key::ScreenType, OptionRow::Answer::Device, OptionRow::Setting::Taken, "not set", "LCD CRT", 0},
    {Key::PatchIntensity, OptionRow::Answer::Device, OptionRow::Setting::Taken, "Auto", "Bleak Bright Auto", 0},
    {Key::SerialNumber, OptionRow::Answer::Device, OptionRow::Setting::Kept, nullptr, "decimal", Vondrel::DeviceDriver::Generic::Configuration::SerialNumber},
    {Key::PhysicalFilter, OptionRow::Answer::Device, OptionRow::Setting::Refused, nullptr, "1 2", Vondrel::DeviceDriver::Generic::Configuration::PhysicalFilter},
    {"AvailableMeasurementModes", OptionRow::Answer::Connected, OptionRow::Setting::Kept, nullptr, "modes, with semicolons between them", 0},
    {"AvailableSamples", OptionRow::Answer::Connected, OptionRow::Setting::Kept, nullptr, "decimal", 0},
    {"IsKeyPressed", OptionRow::Answer::Connected, OptionRow::Setting::Kept, nullptr, "yes no", 0},
    {Key::LastCalibrationTime, OptionRow::Answer::Connected, OptionRow::Setting::Kept, "-1", "seconds since then, -1 for never", Vondrel::DeviceDriver::Generic::Configuration::LastCalibrationTime},
    {Key::LastCalibrationCounter, OptionRow::Answer::Connected, OptionRow::Setting::Kept, "0", "measurements since then", Vondrel::DeviceDriver::Generic::Configuration::LastCalibrationCounter},
    {Key::LastAutoDensityFilter, OptionRow::Answer::Device, OptionRow::Setting::Kept, "not set", "a filter's name, not set", 0},
};
// clang-format on

/// The row of a key, or null.
const OptionRow* FindOption(std::string_view key);

/// Number of the measure modes that have a text. The device object has more, which an application does not see.
enum MeasureMode : std::int32_t {
    SingleReflectance = 0,
    ScanningReflectance = 1,
    SingleEmission = 2,
    SingleAmbientLight = 3,
    ScanningAmbientLight = 4
};

/// One row for every measure mode. The proxies and their rules follow it, and so does docs/guide.md.
struct ModeRow {
    /// What of an instrument it needs, in the order in which the modes are listed to an application.
    enum class Needs : std::uint8_t { Nothing, Reflectance, AmbientHead };
    enum class Recognised : std::uint8_t { Nothing, Patches, Flashes };

    MeasureMode mode;
    const char* text;
    const char* sample; ///< what one is on a spectrophotometer, as the guide has it
    Needs needs;
    Recognised recognised;
    bool onColorimeter;

    /// What is measured shines by itself: its colours have the illumination "Emission".
    constexpr bool IsEmission() const { return needs != Needs::Reflectance; }
};

// clang-format off
inline constexpr ModeRow modeTable[] = {
    {SingleReflectance, "SingleReflectance", "reflectance factor", ModeRow::Needs::Reflectance, ModeRow::Recognised::Nothing, false},
    {ScanningReflectance, "ScanningReflectance", "reflectance factor", ModeRow::Needs::Reflectance, ModeRow::Recognised::Patches, false},
    {SingleEmission, "SingleEmission", "spectral radiance", ModeRow::Needs::Nothing, ModeRow::Recognised::Nothing, true},
    {SingleAmbientLight, "SingleAmbientLight", "spectral irradiance", ModeRow::Needs::AmbientHead, ModeRow::Recognised::Nothing, true},
    {ScanningAmbientLight, "ScanningAmbientLight", "spectral irradiance", ModeRow::Needs::AmbientHead, ModeRow::Recognised::Flashes, false},
};
// clang-format on

/// The row of a mode, or null: the device object has modes without one.
const ModeRow* FindMode(std::int32_t mode);
const ModeRow* FindMode(std::string_view text);

/// The texts of the modes that an instrument can do, with semicolons between them.
std::string ListModes(const std::function<bool(const ModeRow&)>& can);

/// "yes" or "no".
inline const char* YesOrNo(bool yes)
{
    return yes ? "yes" : "no";
}

/// Every text but "yes" is no.
inline bool IsYes(const std::string& text)
{
    return text == YesOrNo(true);
}

/// The device property behind an option key.
/// @throws SDKError 10 "unknown key ...": no property stands behind it
unsigned short TranslateKey(const std::string& key);

/// @return the number of a measure mode, 0 to 4
/// @throws SDKError 10 "No such measure interface ..."
std::int32_t TranslateMeasureMode(const std::string& mode);

/// @return the text of a measure mode
/// @throws SDKError 10 "Unknown measure mode ...": not 0 to 4
std::string TranslateMeasureMode(std::int32_t mode);

/// @return what the application's message handler gets: 0 key pressed, 1 removed
/// @throws SDKError 10 "Unknown device message ..."
std::int32_t TranslateDeviceMessage(unsigned short message);

/// Whether a device property stands behind the option key.
bool IsDeviceDriverKey(const std::string& key);

}
