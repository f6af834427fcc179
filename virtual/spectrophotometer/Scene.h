#pragma once

#include "virtual/instrument/Curve.h"
#include "virtual/spectrophotometer/Optics.h"

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace Virtual {

/// What the aperture sees during a measurement, over the time since its first reading began. It does not change any
/// more once it is made.
class View {
public:
    /// Mean light between two moments.
    /// @param from, to  seconds since the first reading began, from < to
    PixelRates Mean(double from, double to) const;

    /// The light of the last moment: what a scan is filled up with.
    const PixelRates& Rest() const { return rest; }

    /// How long a strip takes from its lead to its trail, seconds.
    double Duration() const { return segments.empty() ? 0.0 : segments.back().to; }

private:
    friend class Scene;

    /// A stretch of time in which one light turns evenly into another; or stays, if both are the same.
    struct Segment {
        double from;
        double to;
        std::size_t first; // of lights
        std::size_t last;
    };

    struct Flash {
        double from;
        double to;
        PixelRates light;
    };

    void Append(double seconds, std::size_t first, std::size_t last);

    std::vector<PixelRates> lights;
    std::vector<Segment> segments; // in the order of time, without gaps
    std::vector<Flash> flashes;
    PixelRates rest{};
};

/// What lies before a spectrophotometer, and which of it the instrument stands on.
class Scene {
public:
    Scene();

    double leadSeconds = 0.5;
    double trailSeconds = 0.5;
    bool ambientHead = true; ///< without it the diffuser lets no light through

    /// Reflectance factor of the white tile as built: straight lines between 380, 400, 420, 450 and 730 nm.
    static Curve BuiltTile();

    /// Whether there is a curve, or a position, of this name.
    bool HasCurve(std::string_view name) const { return curves.contains(name); }
    static bool IsPosition(std::string_view name);

    void SetCurve(std::string_view name, const Curve& curve);
    void SetPosition(std::string_view name) { position = name; }
    const std::string& Position() const { return position; }

    void ClearStrip() { strip.clear(); }

    /// A patch, with its edge before it; the last edge of the strip, to the trail, is as long as that before the last
    /// patch.
    void AddPatch(const Curve& reflectance, double seconds, double edgeSeconds);

    /// Waits for the next measurement.
    void AddFlash(const Curve& irradiance, double start, double duration);

    /// What the next measurement sees. Takes the flashes away.
    View Look(const Optics& optics, bool lampIsOn);

private:
    struct Patch {
        Curve reflectance;
        double seconds;
        double edgeSeconds;
    };

    struct Flash {
        Curve irradiance;
        double start;
        double duration;
    };

    const Curve& CurveOf(const char* name) const { return curves.find(name)->second; }
    PixelRates LightAt(const std::string& place, const Optics& optics, bool lampIsOn) const;
    void LayStrip(View& view, const Optics& optics, bool lampIsOn) const;

    std::map<std::string, Curve, std::less<>> curves;
    std::string position = "tile";
    std::vector<Patch> strip;
    std::vector<Flash> flashes;
};

}
