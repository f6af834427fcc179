#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace ZelkovaSDK {

/// The open display colorimeter: it opens with its construction and closes with its destruction. The toolkit has one
/// current device per process, and so there is one of these at a time.
class Zelkova {
public:
    /// @throws SDKError 2 "no ox-display connected (code ...)"
    Zelkova();
    Zelkova(const Zelkova&) = delete;
    Zelkova& operator=(const Zelkova&) = delete;
    ~Zelkova();

    /// Whether the instrument still answers.
    bool IsConnected();

    void SetMode(std::int32_t newMode) { mode = newMode; }
    std::int32_t GetMode() const { return mode; }
    bool SupportsAmbientLight();
    std::int32_t GetSerialNumber();

    /// @param screen  0 LCD, 1 CRT
    /// @throws SDKError 10 "operation failed with code ..."
    void SetScreenType(std::int32_t screen);

    /// Measures the dark where the instrument has one to measure; otherwise the refresh rate of a CRT.
    /// @throws SDKError 9 "calibration failed with code...", "could not measure refresh rate of CRT"
    void Calibrate(std::int32_t screen);

    /// @param intensity  of the patch, as TranslatePatchIntensity gives it
    /// @return X, Y, Z in cd/m2, or of the ambient light in lux
    /// @throws SDKError 9 "measurement failed with code..."
    std::vector<float> TriggerMeasurement(std::int32_t screen, std::int32_t intensity);

    /// @return 0 "Bleak", 1 "Bright", 2 "Auto"
    /// @throws SDKError 10 "unknown patch intensity ..."
    static std::int32_t TranslatePatchIntensity(const std::string& text);

    /// @return 0 "LCD", 1 "CRT"
    /// @throws SDKError 10 "unknown screen type ..."
    static std::int32_t TranslateScreenType(const std::string& text);

private:
    std::int32_t mode;
};

/// Whether a display colorimeter can be opened now. Never throws.
bool IsAnyZelkovaConnected();

}
