#pragma once

#include <array>
#include <optional>
#include <string>
#include <vector>

namespace Ox {

/// A curve over wavelength, as the bench takes it.
struct Curve {
    double firstNm = 380, stepNm = 10;
    std::vector<float> values;
};

/// What stands on the virtual bench, and lies before its instruments.
struct Scene {
    struct Patch {
        Curve reflectance;
        double seconds = 0.4, edgeSeconds = 0.04;
    };
    struct Flash {
        double start = 0.3, duration = 0.05;
        Curve irradiance;
    };
    /// A screen: what it shows of red, green, blue from 0 to 1.
    struct Display {
        std::array<std::array<double, 2>, 3> primaries{{{0.64, 0.33}, {0.30, 0.60}, {0.15, 0.06}}}; ///< x, y
        std::array<double, 2> white{0.3127, 0.3290};                                                ///< x, y
        double luminance = 120, black = 0.1;                                                        ///< cd/m²
        double gamma = 2.2;

        /// X, Y, Z of a patch, Y in cd/m².
        std::array<double, 3> Show(const std::array<double, 3>& drive) const;
    };

    std::vector<std::string> instruments;                ///< kinds, each with "@" and a place where that is not "usb"
    std::vector<std::pair<std::string, double>> numbers; ///< of the instruments, by the bench's names
    std::vector<Curve> samples;                          ///< reflectance factors, spot by spot
    std::vector<Curve> lights;                           ///< W / (sr m² nm), measurement by measurement
    std::vector<Curve> rooms;                            ///< W / (m² nm), measurement by measurement
    std::vector<Patch> strip;
    std::vector<Flash> flashes;
    std::optional<Display> display;
};

/// Names of the scenes that ship with the program: "chart", "display", "lamps".
std::vector<std::string> ShippedScenes();

/// @param name  of a shipped scene, or a file
/// @throws Failure: the file cannot be read, or "FILE:LINE: FIELD: what" is wrong with it
Scene ReadScene(const std::string& name);

}
