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
    explicit Finder(const Strip& s) : strip(s)
    {
        for (std::size_t i = 0; strip.reference && i < strip.patches; ++i)
            reference.push_back({strip.reference[3 * i], strip.reference[3 * i + 1], strip.reference[3 * i + 2]});
    }

    std::optional<Found> Find()
    {
        if (strip.patches == 0 || strip.count < std::max<std::size_t>(strip.patches, 3))
            return std::nullopt;
        white = White();
        if (white <= 0)
            return std::nullopt;
        pool = std::max<std::size_t>(1, strip.count / strip.patches / readingsPerPatch);
        for (Choice choice = Divide();; choice = Divide()) {
            if (pool == 1 || Pitch(choice) >= readingsPerPatch / 2) {
                if (choice.flats.empty())
                    return std::nullopt;
                return Read(choice);
            }
            pool /= 2; // a strip that is short against its backing
        }
    }

private:
    /// The best choice from the pooled scan.
    Choice Divide()
    {
        linear = Pooled(pool);
        TakeNoise();
        Choice best;
        for (const float price : {60.0F, 30.0F, 18.0F}) {
            flats = WithoutRamps(JoinFlats(FindFlats(even, linear, price), 2));
            const Choice choice = ChooseFlats(flats, noise, strip.patches, reference, Labs());
            if (choice.cost < best.cost) {
                best = choice;
                chosen = flats;
            }
            if (best.cost - best.colour < 0.5F)
                break;
        }
        return best;
    }

    /// Pooled readings from one patch to the next.
    std::size_t Pitch(const Choice& choice) const
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

    /// The scan in means of so many readings.
    Rows Pooled(std::size_t size) const
    {
        constexpr std::size_t width = bands / channels;
        constexpr double furthest = 100; // of white
        const double share = 1 / (white * static_cast<double>(size * width));
        Rows rows(strip.count / size);
        for (std::size_t i = 0; i < rows.size(); ++i)
            for (std::size_t c = 0; c < channels; ++c) {
                double sum = 0;
                for (std::size_t reading = i * size; reading < (i + 1) * size; ++reading)
                    for (std::size_t band = c * width; band < (c + 1) * width; ++band)
                        sum += static_cast<double>(strip.readings[bands * reading + band]);
                rows[i][c] = static_cast<float>(std::clamp(sum * share, -furthest, furthest));
            }
        return rows;
    }

    /// The noise that neighbours show, then twice that within the flats found with it.
    void TakeNoise()
    {
        noise = Noise::OfNeighbours(linear);
        for (int round = 0; round < 3; ++round) {
            even = noise.ToEven(linear);
            std::vector<Span> spans;
            for (const Flat& flat : JoinFlats(FindFlats(even, linear, 40), 2))
                if (flat.span.Length() >= 3)
                    spans.push_back(flat.span);
            if (spans.empty() || round == 2)
                break;
            noise = Noise::OfStretches(linear, spans);
        }
    }

    /// Mean of the readings that are not left out.
    std::array<float, bands> Mean(const Span& span, const std::vector<std::size_t>& without) const
    {
        std::array<double, bands> sum{};
        for (std::size_t i = span.first; i <= span.last; ++i)
            for (std::size_t band = 0; band < bands && !std::binary_search(without.begin(), without.end(), i); ++band)
                sum[band] += static_cast<double>(strip.readings[bands * i + band]);
        std::array<float, bands> mean;
        for (std::size_t band = 0; band < bands; ++band)
            mean[band] = static_cast<float>(sum[band] / static_cast<double>(span.Length() - without.size()));
        return mean;
    }

    std::vector<Lab> Labs() const
    {
        if (reference.empty() || flats.empty())
            return {};
        std::vector<float> spectra;
        for (const Flat& flat : flats) {
            std::vector<std::size_t> without;
            for (std::size_t i = flat.span.first; i <= flat.span.last; ++i)
                for (std::size_t reading = i * pool; flat.Spoiled(even[i]) && reading < (i + 1) * pool; ++reading)
                    without.push_back(reading);
            const auto mean = Mean(Readings(flat.span), without);
            spectra.insert(spectra.end(), mean.begin(), mean.end());
        }
        std::vector<Lab> labs(flats.size());
        strip.toLab(spectra.data(), flats.size(), labs[0].data());
        for (Lab& lab : labs)
            for (float& value : lab)
                value = std::isfinite(value) ? value : 1e6F; // like nothing
        return labs;
    }

    /// From pooled readings to readings.
    Span Readings(const Span& span) const { return {span.first * pool, span.last * pool + pool - 1}; }

    Found Read(const Choice& choice)
    {
        std::vector<Span> spans;
        for (Flat& flat : chosen) {
            flat.span = Readings(flat.span);
            if (flat.span.Length() >= 3)
                spans.push_back(flat.span);
        }
        if (pool > 1) {
            linear = Pooled(1);
            noise = Noise::OfStretches(linear, spans);
        }
        Found found;
        found.reversed = choice.reversed;
        for (const Extent& extent : FindExtents(linear, chosen, noise, choice.flats))
            found.patches.push_back({extent.span.first, extent.span.last, Mean(extent.span, extent.spoiled)});
        if (choice.reversed)
            std::reverse(found.patches.begin(), found.patches.end());
        return found;
    }

    const Strip& strip;
    std::vector<Lab> reference;
    double white = 1;
    std::size_t pool = 1;
    Rows linear;
    std::vector<Even> even;
    Noise noise;
    std::vector<Flat> flats, chosen;
};

}

std::optional<Found> FindPatches(const Strip& strip)
{
    return Finder(strip).Find();
}

} // namespace
