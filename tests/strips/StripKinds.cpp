#include "tests/strips/StripKinds.h"

#include "tests/system/DeltaE2000.h"

#include <algorithm>

const std::vector<StripKind>& StripKinds()
{
    constexpr std::array all{100, 100, 100}, hard{96, 100, 96}, harder{90, 100, 96}, hardest{80, 96, 80};
    static const std::vector<StripKind> kinds = {
        {"plain", all, {}},
        {"4 readings a patch", all, {.readings = 4}},
        {"6 readings a patch", all, {.readings = 6}},
        {"12 readings a patch", all, {.readings = 12}},
        {"60 readings a patch", all, {.readings = 60}},
        {"120 readings a patch", all, {.readings = 120}},
        {"aperture 0.03", all, {.aperture = 0.03}},
        {"aperture 0.40", all, {.aperture = 0.40}},
        {"aperture 0.55", all, {.aperture = 0.55}},
        {"aperture 0.70", all, {.aperture = 0.70}},
        {"speed 45 %", all, {.speed = 0.45}},
        {"widths 60 %", all, {.widths = 0.6}},
        {"neighbours dE 3 to 4.5", all, {.nearest = 3, .furthest = 4.5}},
        {"neighbours dE 0.8 to 1.5", {100, 100, 90}, {.nearest = 0.8, .furthest = 1.5}},
        {"neighbours from dE 0.8", all, {.nearest = 0.8, .furthest = 30}},
        {"noise 1 %", all, {.proportional = 0.01}},
        {"flicker 1 %", all, {.common = 0.01}},
        {"white gaps 0.05", all, {.gap = 0.05}},
        {"white gaps 0.15", all, {.gap = 0.15}},
        {"white gaps 0.3", all, {.gap = 0.3}},
        {"white gaps 0.6", all, {.gap = 0.6}},
        {"white gaps 1", all, {.gap = 1}},
        {"black gaps 0.05", all, {.gap = 0.05, .blackGap = true}},
        {"black gaps 0.15", all, {.gap = 0.15, .blackGap = true}},
        {"black gaps 0.3", all, {.gap = 0.3, .blackGap = true}},
        {"black gaps 0.6", all, {.gap = 0.6, .blackGap = true}},
        {"black gaps 1", all, {.gap = 1, .blackGap = true}},
        {"slanted 0.3", all, {.slant = 0.3}},
        {"3 patches", all, {.patches = 3}},
        {"10 patches", all, {.patches = 10}},
        {"96 patches", all, {.patches = 96}},
        {"ends near the backing", all, {.nearest = 1.5, .ends = 2}},
        {"lamp drifts 3 %", all, {.drift = 0.03}},
        {"no backing", all, {.backing = false}},
        {"black bar before", all, {.bar = 0.7}},
        {"bare paper among them", all, {.paper = 2}},
        {"grey backing", all, {.backingLevel = 0.3}},
        {"long backing", all, {.backingLength = 12}},
        {"equal neighbours", {0, 100, 100}, {.equal = 2}},
        {"flicker in waves 0.5 %", {85, 100, 100}, {.waves = 0.005}},
        {"flicker in waves 1 %", {70, 100, 96}, {.waves = 0.01}},
        {"soft aperture 0.5", all, {.aperture = 0.5, .soft = true}},
        {"additive 0.2 %", hard, {.additive = 0.002}},
        {"flicker 2 %", hard, {.common = 0.02}},
        {"dust on 6", hard, {.dust = 6}},
        {"3 stops", hard, {.stops = 3}},
        {"grey ramp dE 2", {96, 100, 90}, {.ramp = 2}},
        {"12 readings, aperture 0.5", hard, {.readings = 12, .aperture = 0.5}},
        {"gaps and flicker", hard, {.gap = 0.3, .common = 0.01}},
        {"20 dust, aperture 0.5", harder, {.aperture = 0.5, .dust = 20}},
        {"6 stops, aperture 0.6", hardest, {.aperture = 0.6, .stops = 6}},
        {"mixed, easy",
         hard,
         {.aperture = 0.25,
          .speed = 0.2,
          .widths = 0.1,
          .slant = 0.05,
          .proportional = 0.003,
          .common = 0.003,
          .dust = 1}},
        {"mixed, middle",
         hard,
         {.aperture = 0.35,
          .speed = 0.3,
          .widths = 0.1,
          .slant = 0.1,
          .nearest = 3,
          .proportional = 0.004,
          .common = 0.005,
          .dust = 3,
          .stops = 1}},
        {"mixed, hard",
         {70, 96, 90},
         {.readings = 45,
          .aperture = 0.5,
          .speed = 0.3,
          .gap = 0.1,
          .slant = 0.15,
          .nearest = 3,
          .additive = 0.001,
          .proportional = 0.005,
          .common = 0.01,
          .dust = 6,
          .stops = 2,
          .drift = 0.01}},
    };
    return kinds;
}

bool StripScore::Add(const StripScene& scene, const std::vector<float>& spectra,
                     const std::vector<std::int32_t>& places, std::int32_t reversed)
{
    ++scenes;
    clean += static_cast<std::size_t>(std::count_if(scene.on.begin(), scene.on.end(), [](auto on) { return on >= 0; }));
    const std::size_t patches = scene.patches.size();
    if (spectra.size() != patches * 36)
        return false;
    bool good = (reversed != 0) == scene.reversed;
    for (std::size_t i = 0; i < patches; ++i) {
        const std::size_t row = scene.reversed ? patches - 1 - i : i;
        const auto found = StripLab(&spectra[row * 36]), truth = StripLab(scene.patches[i].data());
        good = good && DeltaE2000({found[0], found[1], found[2]}, {truth[0], truth[1], truth[2]}) <= 0.5;
        if (places.empty())
            continue;
        std::size_t own = 0;
        for (std::int32_t at = places[2 * row]; at <= places[2 * row + 1]; ++at)
            own += scene.on[static_cast<std::size_t>(at)] == static_cast<std::int32_t>(i);
        const auto length = static_cast<std::size_t>(places[2 * row + 1] - places[2 * row] + 1);
        good = good && own > 0;
        cleanUsed += own;
        used += length;
        usedOver += length - own;
    }
    perfect += good;
    return good;
}

StripScore& StripScore::operator+=(const StripScore& other)
{
    scenes += other.scenes;
    perfect += other.perfect;
    clean += other.clean;
    cleanUsed += other.cleanUsed;
    used += other.used;
    usedOver += other.usedOver;
    return *this;
}
