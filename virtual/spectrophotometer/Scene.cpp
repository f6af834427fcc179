#include "virtual/spectrophotometer/Scene.h"

#include <algorithm>
#include <utility>

namespace Virtual {

namespace {

constexpr std::string_view positions[] = {"tile", "sample", "strip", "source", "diffuser", "transmission", "dark"};

Curve Flat(float value)
{
    return Curve({&value, 1}, BandWavelength(0), 10.0);
}

void AddScaled(PixelRates& sum, const PixelRates& light, double factor)
{
    for (std::size_t pixel = 0; pixel < pixelCount; ++pixel)
        sum[pixel] += light[pixel] * factor;
}

}

void View::Append(double seconds, std::size_t first, std::size_t last)
{
    const double from = Duration();
    if (seconds > 0.0)
        segments.push_back({from, from + seconds, first, last});
}

PixelRates View::Mean(double from, double to) const
{
    PixelRates sum{};
    const auto end = Duration();
    if (to > end)
        AddScaled(sum, rest, to - std::max(from, end));

    auto segment = std::ranges::upper_bound(segments, from, {}, &Segment::to);
    for (; segment != segments.end() && segment->from < to; ++segment) {
        const double begin = std::max(from, segment->from);
        const double finish = std::min(to, segment->to);
        const double middle = (begin + finish) / 2.0;
        const double turned = (middle - segment->from) / (segment->to - segment->from);
        AddScaled(sum, lights[segment->first], (finish - begin) * (1.0 - turned));
        AddScaled(sum, lights[segment->last], (finish - begin) * turned);
    }
    for (const auto& flash : flashes) {
        const double common = std::min(to, flash.to) - std::max(from, flash.from);
        if (common > 0.0)
            AddScaled(sum, flash.light, common);
    }
    for (auto& rate : sum)
        rate /= to - from;
    return sum;
}

Scene::Scene()
    : curves{{"sample", Flat(0.5F)},   {"tile", BuiltTile()},    {"emission", Flat(0.05F)},
             {"ambient", Flat(0.05F)}, {"backing", Flat(0.85F)}, {"transmission", Flat(1.0F)}}
{
}

Curve Scene::BuiltTile()
{
    struct Knot {
        double wavelength;
        double reflectance;
    };
    static constexpr Knot knots[] = {{380, 0.80}, {400, 0.87}, {420, 0.905}, {450, 0.92}, {730, 0.93}};

    std::vector<float> values;
    for (std::size_t band = 0; band < bandCount; ++band) {
        const auto* right = std::ranges::find_if(
            knots + 1, std::end(knots), [&](const Knot& knot) { return knot.wavelength >= BandWavelength(band); });
        const auto* left = right - 1;
        const double share = (BandWavelength(band) - left->wavelength) / (right->wavelength - left->wavelength);
        values.push_back(static_cast<float>(left->reflectance + share * (right->reflectance - left->reflectance)));
    }
    return Curve(values, BandWavelength(0), 10.0);
}

bool Scene::IsPosition(std::string_view name)
{
    return std::ranges::find(positions, name) != std::end(positions);
}

void Scene::SetCurve(std::string_view name, const Curve& curve)
{
    curves.find(name)->second = curve;
}

void Scene::AddPatch(const Curve& reflectance, double seconds, double edgeSeconds)
{
    strip.push_back({reflectance, seconds, edgeSeconds});
}

void Scene::AddFlash(const Curve& irradiance, double start, double duration)
{
    flashes.push_back({irradiance, start, duration});
}

PixelRates Scene::LightAt(const std::string& place, const Optics& optics, bool lampIsOn) const
{
    if (place == "source")
        return optics.OfSource(CurveOf("emission"));
    if (place == "transmission")
        return optics.OfSourceThrough(CurveOf("emission"), CurveOf("transmission"));
    if (place == "diffuser")
        return ambientHead ? optics.OfAmbientLight(CurveOf("ambient")) : PixelRates{};
    if (!lampIsOn || place == "dark")
        return {};
    return optics.UnderLamp(CurveOf(place == "strip" ? "backing" : place == "tile" ? "tile" : "sample"));
}

void Scene::LayStrip(View& view, const Optics& optics, bool lampIsOn) const
{
    const bool seesStrip = position == "strip";
    std::size_t before = 0; // the backing, or whatever else lies before the aperture
    view.Append(leadSeconds, before, before);
    for (const auto& patch : strip) {
        std::size_t light = 0;
        if (seesStrip && lampIsOn) {
            light = view.lights.size();
            view.lights.push_back(optics.UnderLamp(patch.reflectance));
        }
        view.Append(patch.edgeSeconds, before, light);
        view.Append(patch.seconds, light, light);
        before = light;
    }
    if (!strip.empty())
        view.Append(strip.back().edgeSeconds, before, 0);
    view.Append(trailSeconds, 0, 0);
}

View Scene::Look(const Optics& optics, bool lampIsOn)
{
    View view;
    view.rest = LightAt(position, optics, lampIsOn);
    view.lights.push_back(view.rest);
    LayStrip(view, optics, lampIsOn);
    for (const auto& flash : std::exchange(flashes, {}))
        if (position == "diffuser" && ambientHead)
            view.flashes.push_back(
                {flash.start, flash.start + flash.duration, optics.OfAmbientLight(flash.irradiance)});
    return view;
}

}
