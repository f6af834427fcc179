#include "Vondrel/Strips/FindPatches.h"

#include "Vondrel/Strips/Choice.h"
#include "Vondrel/Strips/Extent.h"

#include <algorithm>
#include <cmath>

namespace Vondrel::Strips {

namespace {

constexpr std::size_t readingsPerPatch = 24; // that a scan is pooled to

class Finder {
public:
    explicit Finder(const Strip& s)
        : strip(s),
          pool(std::max<std::size_t>(1, s.count / s.patches / readingsPerPatch)),
          noiseTables(s.count),
          choiceTables(MaxFlats(), s.patches)
    {
        linear.reserve(strip.count);
        even.reserve(strip.count);
        best.reserve(strip.count + 1);
        flats.reserve(MaxFlats());
        chosen.reserve(MaxFlats());
        spans.reserve(MaxFlats());
        choice.flats.reserve(strip.patches);
        reference.reserve(strip.reference ? strip.patches : 0);
        spectra.reserve(strip.reference ? MaxFlats() * bands : 0);
        labs.reserve(strip.reference ? MaxFlats() : 0);
        for (std::size_t i = 0; strip.reference && i < strip.patches; ++i)
            reference.push_back({strip.reference[3 * i], strip.reference[3 * i + 1], strip.reference[3 * i + 2]});
    }

    std::optional<Found> Find()
    {
        white = White();
        if (white <= 0)
            return std::nullopt;
        for (;; pool /= 2) { // halved for a strip that is short against its backing
            Divide();
            if (pool > 1 && Pitch() < readingsPerPatch / 2)
                continue;
            if (choice.flats.empty())
                return std::nullopt;
            return Read();
        }
    }

private:
    /// In the scan as it is pooled first: each has two readings or more. Finer pooling hardly finds more of them.
    std::size_t MaxFlats() const { return strip.count / pool / 2; }

    /// Takes the best choice from the pooled scan.
    void Divide()
    {
        Pool(pool);
        TakeNoise();
        choice.Clear();
        for (const float price : {60.0F, 30.0F, 18.0F}) {
            FindJoined(price);
            DropRamps(flats);
            TakeLabs();
            const Choice& found = ChooseFlats(flats, noise, strip.patches, reference, labs, choiceTables);
            if (found.cost < choice.cost) {
                choice = found;
                chosen = flats;
            }
            if (choice.cost - choice.colour < 0.5F)
                break;
        }
    }

    /// Takes the flats, each colour in one.
    void FindJoined(float price)
    {
        FindFlats(even, linear, price, best, flats);
        JoinFlats(flats, 2);
    }

    /// Pooled readings from one patch to the next.
    std::size_t Pitch() const
    {
        if (choice.flats.empty())
            return 0;
        return (chosen[choice.flats.back()].span.last - chosen[choice.flats.front()].span.first + 1) / strip.patches;
    }

    /// The level that nearly all readings stay below: white, where there is some.
    double White() const
    {
        std::vector<float> brightest(strip.count);
        for (std::size_t i = 0; i < strip.count; ++i)
            brightest[i] = *std::max_element(strip.readings + bands * i, strip.readings + bands * (i + 1));
        const auto place = brightest.begin() + static_cast<std::ptrdiff_t>(strip.count - 1 - strip.count / 50);
        std::nth_element(brightest.begin(), place, brightest.end());
        return static_cast<double>(*place);
    }

    /// Takes the scan in means of so many readings.
    void Pool(std::size_t size)
    {
        constexpr std::size_t width = bands / channels;
        constexpr double furthest = 100; // of white
        const double share = 1 / (white * static_cast<double>(size * width));
        linear.resize(strip.count / size);
        for (std::size_t i = 0; i < linear.size(); ++i)
            for (std::size_t c = 0; c < channels; ++c) {
                double sum = 0;
                for (std::size_t reading = i * size; reading < (i + 1) * size; ++reading)
                    for (std::size_t band = c * width; band < (c + 1) * width; ++band)
                        sum += static_cast<double>(strip.readings[bands * reading + band]);
                linear[i][c] = static_cast<float>(std::clamp(sum * share, -furthest, furthest));
            }
    }

    /// The noise that neighbours show, then twice that within the flats found with it.
    void TakeNoise()
    {
        noise = Noise::OfNeighbours(linear, noiseTables);
        noise.ToEven(linear, even);
        for (int round = 0; round < 2; ++round) {
            FindJoined(40);
            TakeSpans(flats);
            if (spans.empty())
                break;
            noise = Noise::OfStretches(linear, spans, noiseTables);
            noise.ToEven(linear, even);
        }
    }

    /// The stretches that noise is taken from.
    void TakeSpans(const std::vector<Flat>& from)
    {
        spans.clear();
        for (const Flat& flat : from)
            if (flat.span.Length() >= 3)
                spans.push_back(flat.span);
    }

    /// Mean of the readings that are not spoiled.
    template<class Spoiled>
    std::array<float, bands> Mean(const Span& span, const Spoiled& spoiled) const
    {
        std::array<double, bands> sum{};
        std::size_t count = 0;
        for (std::size_t i = span.first; i <= span.last; ++i) {
            if (spoiled(i))
                continue;
            ++count;
            for (std::size_t band = 0; band < bands; ++band)
                sum[band] += static_cast<double>(strip.readings[bands * i + band]);
        }
        std::array<float, bands> mean;
        for (std::size_t band = 0; band < bands; ++band)
            mean[band] = static_cast<float>(sum[band] / static_cast<double>(count));
        return mean;
    }

    /// Takes the colours of the flats, where there is a reference.
    void TakeLabs()
    {
        if (reference.empty() || flats.empty())
            return;
        spectra.clear();
        for (const Flat& flat : flats) {
            const auto mean =
                Mean(Readings(flat.span), [&](std::size_t reading) { return flat.Spoiled(even[reading / pool]); });
            spectra.insert(spectra.end(), mean.begin(), mean.end());
        }
        labs.resize(flats.size());
        strip.toLab(spectra.data(), flats.size(), labs[0].data());
        for (Lab& lab : labs)
            for (float& value : lab)
                value = std::isfinite(value) ? value : 1e6F; // like nothing
    }

    /// From pooled readings to readings.
    Span Readings(const Span& span) const { return {span.first * pool, span.last * pool + pool - 1}; }

    Found Read()
    {
        if (pool > 1) {
            for (Flat& flat : chosen)
                flat.span = Readings(flat.span);
            TakeSpans(chosen);
            Pool(1);
            noise = Noise::OfStretches(linear, spans, noiseTables);
            noise.ToEven(linear, even);
        }
        Found found;
        found.patches.reserve(strip.patches);
        found.reversed = choice.reversed;
        for (const Extent& extent : FindExtents(linear, even, chosen, noise, choice.flats)) {
            const auto mean = Mean(extent.span, [&](std::size_t reading) { return extent.Spoiled(even[reading]); });
            found.patches.push_back({extent.span.first, extent.span.last, mean});
        }
        if (choice.reversed)
            std::reverse(found.patches.begin(), found.patches.end());
        return found;
    }

    const Strip& strip;
    std::size_t pool; // readings that make one
    std::vector<Lab> reference;
    double white = 1;
    Rows linear;
    std::vector<Even> even;
    Noise noise;
    std::vector<FlatStep> best;
    std::vector<Flat> flats, chosen;
    std::vector<Span> spans;
    std::vector<float> spectra;
    std::vector<Lab> labs;
    Choice choice;
    NoiseTables noiseTables;
    ChoiceTables choiceTables;
};

}

std::optional<Found> FindPatches(const Strip& strip)
{
    if (strip.patches == 0 || strip.count < std::max<std::size_t>(strip.patches, 3))
        return std::nullopt;
    return Finder(strip).Find();
}

}
