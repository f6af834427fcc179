#include "tests/strips/StripScene.h"

#include "Vondrel/CMetry/CMetryService.h"
#include "tests/system/DeltaE2000.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <numbers>
#include <sstream>
#include <stdexcept>
#include <string>

using namespace Vondrel::CMetry;
using Spectrum = StripScene::Spectrum;

namespace {

/// Numbers that are the same with every standard library.
class Chance {
public:
    explicit Chance(std::uint64_t seed) : state(seed * 0x9E3779B97F4A7C15U + 1) { }

    std::uint64_t Next() // splitmix64, by Steele, Lea and Flood
    {
        std::uint64_t z = state += 0x9E3779B97F4A7C15U;
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9U;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBU;
        return z ^ (z >> 31);
    }
    double Between(double low, double high)
    {
        return low + (high - low) * static_cast<double>(Next() >> 11) / 9007199254740992.0;
    }
    std::size_t Below(std::size_t count) { return Next() % count; }

    double Normal() // the sum of eight uniform numbers of 16 bits
    {
        double sum = 0;
        for (int i = 0; i < 2; ++i)
            for (std::uint64_t bits = Next(), j = 0; j < 4; ++j, bits >>= 16)
                sum += static_cast<double>(bits & 0xFFFFU) - 32767.5;
        return sum / 65536 / std::sqrt(8.0 / 12.0);
    }

private:
    std::uint64_t state;
};

const std::vector<Spectrum>& ColorChecker()
{
    static const std::vector<Spectrum> chart = [] {
        std::ifstream file(ORVEX_TEST_DATA "/colorchecker24.csv");
        std::vector<Spectrum> columns(24);
        std::string line, cell;
        std::getline(file, line);
        for (std::size_t band = 0; band < 36; ++band) {
            if (!std::getline(file, line))
                throw std::runtime_error("the spectra of the colour chart are not there");
            std::istringstream cells(line);
            std::getline(cells, cell, ',');
            for (Spectrum& column : columns)
                column[band] = (std::getline(cells, cell, ','), std::stof(cell));
        }
        return columns;
    }();
    return chart;
}

Spectrum Mix(const Spectrum& a, const Spectrum& b, double share)
{
    Spectrum mixed;
    for (std::size_t i = 0; i < mixed.size(); ++i)
        mixed[i] = static_cast<float>(a[i] + (b[i] - a[i]) * share);
    return mixed;
}

double Difference(const Spectrum& a, const Spectrum& b, bool euclidean = false)
{
    const auto p = StripLab(a.data()), q = StripLab(b.data());
    if (euclidean)
        return std::hypot(p[0] - q[0], p[1] - q[1], p[2] - q[2]);
    return DeltaE2000({p[0], p[1], p[2]}, {q[0], q[1], q[2]});
}

/// The mixture of `from` and a little of `to` that lies so far from it; `to` itself if that is nearer.
Spectrum Step(const Spectrum& from, const Spectrum& to, double distance, bool euclidean = false)
{
    double low = 0, high = 1;
    for (int i = 0; i < 20; ++i) {
        const double middle = (low + high) / 2;
        (Difference(from, Mix(from, to, middle), euclidean) < distance ? low : high) = middle;
    }
    return Mix(from, to, high);
}

/// A stretch of one colour on the way of the scan.
struct Stretch {
    Spectrum colour;
    double end; // its start is the end of the one before
    std::int32_t patch;
};

class Maker {
public:
    Maker(const StripSettings& s, std::uint32_t seed) : settings(s), chance(seed) { }

    StripScene Make(Reference reference)
    {
        ChooseColours();
        LayOut();
        Scan();
        Refer(reference);
        return std::move(scene);
    }

private:
    Spectrum AnyColour()
    {
        const Spectrum& first = ColorChecker()[chance.Below(24)];
        const Spectrum& second = ColorChecker()[chance.Below(24)];
        const double share = chance.Between(0, 1);
        return Mix(Mix(first, second, share), Spectrum{}, chance.Between(0, 0.5));
    }

    /// Far enough from the one before, from the gaps and, at the ends, from the backing.
    bool Fits(const Spectrum& colour)
    {
        const bool end = colours.empty() || colours.size() + 1 == settings.patches;
        return (colours.empty() || Difference(colours.back(), colour) >= settings.nearest)
            && (settings.gap == 0 || Difference(gap, colour) >= settings.nearest)
            && (!end || !settings.backing || Difference(backing, colour) >= settings.nearest);
    }

    Spectrum NextColour()
    {
        const bool end = colours.empty() || colours.size() + 1 == settings.patches;
        const Spectrum colour = AnyColour();
        if (settings.ends > 0 && end)
            return Step(backing, colour, settings.ends);
        if (settings.furthest > 0 && !colours.empty())
            return Step(colours.back(), colour, chance.Between(settings.nearest, settings.furthest));
        return colour;
    }

    void ChooseColours()
    {
        const auto& chart = ColorChecker();
        paper = AnyColour();
        paper = Mix(chart[18], paper, chance.Between(0, 0.04));
        backing = paper;
        if (settings.backingLevel > 0)
            backing.fill(static_cast<float>(settings.backingLevel));
        gap = settings.blackGap ? Mix(chart[23], Spectrum{}, chance.Between(0, 0.3)) : paper;
        if (settings.ramp > 0)
            return Ramp();
        while (colours.size() < settings.patches) {
            const Spectrum colour = NextColour();
            if (Fits(colour))
                colours.push_back(colour);
        }
        for (std::size_t i = 0; i < settings.equal; ++i) {
            const std::size_t place = 1 + chance.Below(settings.patches - 1);
            colours[place] = colours[place - 1];
        }
        for (std::size_t i = 0; i < settings.paper; ++i) // not beside one another, nor at the ends
            colours[(i + 1) * settings.patches / (settings.paper + 1)] = paper;
    }

    void Ramp()
    {
        Spectrum colour = Mix(ColorChecker()[23], ColorChecker()[18], chance.Between(0.02, 0.06));
        for (; colours.size() < settings.patches; colour = Step(colour, ColorChecker()[18], settings.ramp, true))
            colours.push_back(colour);
        if (chance.Below(2) == 1)
            std::reverse(colours.begin(), colours.end());
    }

    void Add(const Spectrum& colour, double length, std::int32_t patch = -1)
    {
        way.push_back({colour, (way.empty() ? 0 : way.back().end) + length, patch});
    }

    void LayOut()
    {
        if (settings.backing)
            Add(backing, settings.backingLength * chance.Between(0.5, 1.5) + settings.aperture);
        if (settings.bar > 0) {
            Add(Mix(ColorChecker()[23], Spectrum{}, 0.3), settings.bar);
            if (settings.barGap > 0)
                Add(backing, settings.barGap);
        }
        for (std::size_t i = 0; i < colours.size(); ++i) {
            if (i > 0 && settings.gap > 0)
                Add(gap, settings.gap);
            Add(colours[i], 1 + settings.widths * chance.Between(-1, 1), static_cast<std::int32_t>(i));
        }
        if (settings.backing)
            Add(backing, settings.backingLength * chance.Between(0.5, 1.5) + settings.aperture);
    }

    /// The share of the aperture's light that falls before x, from -1 to 1 across it.
    double Before(double x) const
    {
        x = std::clamp(x, -1.0, 1.0);
        if (settings.soft) // smooth, and still of no more than the aperture's width
            return (1 + x) * (1 + x) * (2 - x) / 4;
        return round ? 0.5 + (x * std::sqrt(1 - x * x) + std::asin(x)) / std::numbers::pi : (x + 1) / 2;
    }

    /// Adds what the aperture sees at a place.
    void See(double place, double share, std::vector<double>& shares) const
    {
        const double radius = std::max(settings.aperture, 1e-6) / 2;
        auto stretch = std::upper_bound(way.begin(), way.end(), place - radius,
                                        [](double x, const Stretch& s) { return x < s.end; });
        double before = 0;
        for (; stretch != way.end() && before < 1; ++stretch) {
            const double upTo = stretch + 1 == way.end() ? 1 : Before((stretch->end - place) / radius);
            shares[static_cast<std::size_t>(stretch - way.begin())] += share * (upTo - before);
            before = upTo;
        }
    }

    /// One reading while the aperture goes from one place to another.
    void Read(double from, double to)
    {
        std::vector<double> shares(way.size());
        const int askew = settings.slant > 0 ? 5 : 1;
        for (int moment = 0; moment < 3; ++moment)
            for (int line = 0; line < askew; ++line)
                See(from + (to - from) * (moment + 0.5) / 3 + settings.slant * ((line + 0.5) / askew - 0.5),
                    1.0 / (3 * askew), shares);
        std::array<double, 36> seen{};
        std::int32_t on = -1;
        for (std::size_t i = 0; i < way.size(); ++i) {
            if (shares[i] <= 0)
                continue;
            for (std::size_t band = 0; band < 36; ++band)
                seen[band] += shares[i] * way[i].colour[band];
            if (shares[i] > 0.9999)
                on = way[i].patch;
        }
        scene.on.push_back(on);
        for (double value : seen)
            scene.readings.push_back(static_cast<float>(value));
    }

    void Move()
    {
        round = chance.Below(2) == 1;
        const double margin = settings.aperture / 2 + settings.slant / 2 + 0.02;
        const double end = way.back().end - margin;
        double slow = chance.Between(0.2, 1.2), quick = chance.Between(1, 3), turn = chance.Between(0, 6.3);
        std::vector<double> rests;
        for (std::size_t i = 0; i < settings.stops; ++i)
            rests.push_back(chance.Between(margin, end));
        std::sort(rests.rbegin(), rests.rend());
        for (double place = margin; place < end;) {
            const double sway = 0.7 * std::sin(slow * place + turn) + 0.3 * std::sin(quick * place + 2 * turn);
            const double next = place + (1 + settings.speed * sway) / settings.readings;
            Read(place, std::min(next, end + margin));
            place = next;
            for (; !rests.empty() && rests.back() <= place; rests.pop_back())
                for (double n = settings.readings * chance.Between(0.5, 1.5); n > 0; --n)
                    Read(place, place);
        }
    }

    void Disturb()
    {
        const std::size_t count = scene.Count();
        const double period = std::exp(chance.Between(std::log(4.0), std::log(40.0))) / (2 * std::numbers::pi);
        const double phase = chance.Between(0, 6.3);
        for (std::size_t i = 0; i < count; ++i) {
            const double wave = settings.waves * std::sqrt(2.0) * std::sin(phase + static_cast<double>(i) / period);
            const double factor = (1 + settings.common * chance.Normal() + wave) * Drift(i);
            for (std::size_t band = 0; band < 36; ++band) {
                float& value = scene.readings[36 * i + band];
                const double read = value * factor * (1 + settings.proportional * chance.Normal());
                value = static_cast<float>(read + settings.additive * chance.Normal());
            }
        }
        for (std::size_t i = 0; i < settings.dust; ++i) {
            float* reading = &scene.readings[36 * chance.Below(count)];
            const double dust = chance.Between(0.4, 0.95), glint = chance.Between(0, 1) < 0.3 ? 0.2 : 0;
            std::transform(reading, reading + 36, reading,
                           [&](float value) { return static_cast<float>(value * dust + glint); });
        }
    }

    double Drift(std::size_t reading) const
    {
        return 1 + settings.drift * static_cast<double>(reading) / static_cast<double>(scene.Count());
    }

    void Scan()
    {
        Move();
        std::vector<double> drifts(colours.size()), clean(colours.size());
        for (std::size_t i = 0; i < scene.Count(); ++i)
            if (scene.on[i] >= 0) {
                drifts[static_cast<std::size_t>(scene.on[i])] += Drift(i);
                clean[static_cast<std::size_t>(scene.on[i])] += 1;
            }
        for (std::size_t i = 0; i < colours.size(); ++i)
            scene.patches.push_back(Mix(Spectrum{}, colours[i], clean[i] > 0 ? drifts[i] / clean[i] : 1));
        Disturb();
    }

    void Refer(Reference reference)
    {
        if (reference == Reference::None)
            return;
        const double rough = reference == Reference::Rough ? 4 / std::sqrt(3.0) : 0;
        for (const Spectrum& colour : colours) {
            scene.reference.push_back(StripLab(colour.data()));
            for (float& value : scene.reference.back())
                value += static_cast<float>(rough * chance.Normal());
        }
        scene.reversed = chance.Below(2) == 1;
        if (scene.reversed)
            std::reverse(scene.reference.begin(), scene.reference.end());
    }

    const StripSettings& settings;
    Chance chance;
    Spectrum paper, backing, gap;
    std::vector<Spectrum> colours;
    std::vector<Stretch> way;
    bool round = false;
    StripScene scene;
};

}

StripScene StripScene::Make(const StripSettings& settings, Reference reference, std::uint32_t seed)
{
    return Maker(settings, seed).Make(reference);
}

StripScene::Lab StripLab(const float* spectrum)
{
    static const VDMeasureConditions conditions = [] {
        VDMeasureConditions d50;
        d50.SetColorSpace(ColorSpace::CIELab);
        d50.SetIllumination(VDIllumination(IlluminationTYPE::D50));
        d50.SetObserver(Observer::TwoDegree);
        d50.SetWhiteBase(WhiteBase::Absolute);
        return d50;
    }();
    const VDColorVector lab = CMetryService::GetVector(VDSpectrum(spectrum, conditions), conditions);
    return {lab[0], lab[1], lab[2]};
}
