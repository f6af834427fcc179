#pragma once

#include <cstdint>
#include <string>

namespace OrvexSDK {

/// Number of the measure modes that have a text. The device object has more, which an application does not see.
enum MeasureMode : std::int32_t {
    SingleReflectance = 0,
    ScanningReflectance = 1,
    SingleEmission = 2,
    SingleAmbientLight = 3,
    ScanningAmbientLight = 4
};

/// Option keys that more than one place needs.
namespace Key {
inline const std::string MeasurementMode = "MeasurementMode";
inline const std::string Recognition = "Recognition";
inline const std::string Beep = "Beep";
inline const std::string AdaptiveMode = "AdaptiveMode";
inline const std::string SerialNumber = "SerialNumber";
inline const std::string PhysicalFilter = "PhysicalFilter";
inline const std::string LastCalibrationTime = "LastCalibrationTime";
inline const std::string LastCalibrationCounter = "LastCalibrationCounter";
inline const std::string LastAutoDensityFilter = "LastAutoDensityFilter";
inline const std::string ScreenType = "ScreenType";
inline const std::string PatchIntensity = "PatchIntensity";
inline const std::string Illumination = "Colorimetric.Illumination";
inline const std::string WhiteBase = "Colorimetric.WhiteBase";
inline const std::string DensityFilterMode = "Colorimetric.DensityFilterMode";
inline const std::string ColorSpace = "ColorSpaceDescription.Type";
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
