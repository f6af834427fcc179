#include "Vondrel/Strips/Choice.h"

#include <algorithm>
#include <cmath>

namespace Vondrel::Strips {

namespace {

constexpr std::size_t widest = 12; // flats from one patch to the next, at most
constexpr float never = std::numeric_limits<float>::infinity();

class Chooser {
public:
    Chooser(const std::vector<Flat>& f, const Noise& n, std::size_t k, const std::vector<Lab>& r,
            const std::vector<Lab>& l)
        : flats(f), noise(n), patches(k), reference(r), labs(l)
    {
        Measure();
        FindViews();
        FindBlends();
    }

    Choice Choose()
    {
        Choice best;
        for (const std::size_t gap : GapColours()) {
            Weigh(gap);
            for (const bool reversed : {false, true}) {
                if (reversed && reference.empty())
                    break;
                Choice choice = Align(reversed);
                choice.cost += gap == none ? 0 : 0.5F;
                if (choice.cost < best.cost)
                    best = choice;
            }
        }
        return best;
    }

private:
    static constexpr std::size_t none = static_cast<std::size_t>(-1);

    void Measure()
    {
        std::vector<float> lengths;
        for (const Flat& flat : flats) {
            Row light;
            std::transform(flat.linear.begin(), flat.linear.end(), light.begin(),
                           [](float level) { return std::cbrt(level); });
            lights.push_back(light);
        }
        for (const Flat& flat : flats) {
            lengths.push_back(flat.count);
        }
        const std::size_t middle = std::min(patches / 2, lengths.size() - 1);
        std::nth_element(lengths.begin(), lengths.begin() + static_cast<std::ptrdiff_t>(middle), lengths.end(),
                         std::greater<>());
        usual = lengths[middle];
        for (const Flat& flat : flats)
            weight.push_back(std::min(1.0F, flat.count / usual));
        hasBacking = flats.size() > 1 && Same(0, flats.size() - 1);
        pitch = static_cast<float>(flats.back().span.last - flats.front().span.first + 1) / static_cast<float>(patches);
    }

    /// About the CIELAB difference of two flats whatever their light.
    float Contrast(std::size_t a, std::size_t b) const
    {
        const Row step = Minus(lights[a], lights[b]);
        return 116 * std::sqrt(Dot(step, step) / channels);
    }

    bool Same(std::size_t a, std::size_t b) const { return Contrast(a, b) < 1.5F; }

    /// Pieces of one patch, not two patches.
    bool Twins(std::size_t a, std::size_t b) const { return Contrast(a, b) < 0.15F; }

    /// Flat k on the even scale at the colour of flat j, where mixtures lie on straight lines.
    const Row& View(std::size_t j, std::size_t k) const { return views[j * 2 * widest + widest + k - j]; }

    void FindViews()
    {
        views.resize(flats.size() * 2 * widest);
        for (std::size_t j = 0; j < flats.size(); ++j)
            for (std::size_t k = j - std::min(j, widest - 1); k < std::min(flats.size(), j + widest); ++k)
                views[j * 2 * widest + widest + k - j] = noise.EvenStep(flats[j].linear, flats[k].linear);
    }

    /// How far flat j is from being a mixture of a and b, 0 (it is one) to 1.
    float BlendMisfit(std::size_t j, std::size_t a, std::size_t b) const
    {
        const Even& even = flats[j].even;
        const Row line = Minus(View(j, b), View(j, a)), off = Minus(View(j, j), View(j, a));
        const float length = even.Product(line, line);
        const float share = length > 0 ? even.Product(line, off) / length : 0;
        const float variance = Variance(j, a, b, share);
        if (std::min(share, 1 - share) * std::sqrt(length) < 4 * std::sqrt(variance))
            return 1;
        return Misfit(even.Product(off, off) - share * share * length, length, variance);
    }

    /// The same for a mixture with the colour of the gaps.
    float BlendMisfit(std::size_t j, std::size_t a, std::size_t b, const Row& gap) const
    {
        const Even& even = flats[j].even;
        const Row first = Minus(View(j, b), View(j, a)), second = Minus(gap, View(j, a));
        const Row off = Minus(View(j, j), View(j, a));
        const float p = even.Product(first, first), q = even.Product(first, second), r = even.Product(second, second);
        const float u = even.Product(first, off), v = even.Product(second, off);
        const float area = p * r - q * q;
        if (area < 1e-4F * p * r)
            return 1;
        const float share = (u * r - v * q) / area, third = (v * p - u * q) / area;
        if (share < -0.01F || third < 0.01F || share + third > 1.01F)
            return 1;
        return Misfit(even.Product(off, off) - share * u - third * v, p + r, Variance(j, a, b, share));
    }

    /// Of the colour of a flat and of a mixture, on the even scale.
    float Variance(std::size_t j, std::size_t a, std::size_t b, float share) const
    {
        return 1 / flats[j].count + (1 - share) * (1 - share) / flats[a].count + share * share / flats[b].count + 0.02F;
    }

    static float Misfit(float rest, float length, float variance)
    {
        const float chance = rest / (60 * variance + 1e-5F * length); // 11 variances are usual
        const float least = 0.02F + 0.1F * std::exp(-length * variance / 100);
        return std::min(1.0F, least + chance * chance);
    }

    /// What the flats between two patches cost, unless they are gaps.
    void FindBlends()
    {
        blend.resize(flats.size() * widest * widest, 0);
        for (std::size_t a = 0; a < flats.size(); ++a)
            for (std::size_t step = 2; step < widest && a + step < flats.size(); ++step)
                for (std::size_t j = 1; j < step; ++j)
                    blend[(a * widest + step) * widest + j] = BlendMisfit(a + j, a, a + step);
    }

    /// Flats whose colour may be that of the gaps: none, the backing, the one that comes most often.
    std::vector<std::size_t> GapColours() const
    {
        std::vector<std::size_t> colours{none};
        std::size_t most = none, mostCount = 1;
        for (std::size_t i = 0; i < flats.size(); ++i) {
            std::size_t count = 0;
            for (std::size_t j = i + 1; j < flats.size(); ++j)
                count += Same(i, j);
            if (count > mostCount) {
                most = i;
                mostCount = count;
            }
        }
        colours.push_back(0);
        if (most != none && !Same(most, 0))
            colours.push_back(most);
        return colours;
    }

    /// Flats of the gaps' colour, if they come again and again.
    std::vector<bool> FindGaps(std::size_t gap) const
    {
        std::vector<bool> isGap(flats.size());
        std::size_t times = 0;
        for (std::size_t i = 0; i < flats.size(); ++i) {
            isGap[i] = gap != none && Same(i, gap);
            times += isGap[i] && i > 0 && i + 1 < flats.size();
        }
        return 3 * times < patches ? std::vector<bool>(flats.size()) : isGap;
    }

    /// What the flats between two patches cost.
    void WeighInside(std::size_t gap, const std::vector<bool>& isGap)
    {
        const std::size_t count = flats.size();
        Rows gapViews(count);
        for (std::size_t j = 0; j < count && gap != none; ++j)
            gapViews[j] = noise.EvenStep(flats[j].linear, flats[gap].linear);
        inside.assign(count * widest, 0);
        for (std::size_t a = 0; a < count; ++a)
            for (std::size_t step = 2; step < widest && a + step < count; ++step)
                for (std::size_t j = a + 1; j < a + step; ++j) {
                    float cost = blend[(a * widest + step) * widest + j - a];
                    if (isGap[j])
                        cost = 0.02F;
                    else if (Twins(j, a) || Twins(j, a + step))
                        cost = std::min(cost, 0.3F);
                    else if (cost > 0.5F && gap != none && step < 5)
                        cost = std::min(cost, BlendMisfit(j, a, a + step, gapViews[j]));
                    inside[a * widest + step] += 3 * std::min(1.0F, 2 * weight[j]) * cost;
                }
    }

    /// What it costs to leave flats out and to take them, under a colour of the gaps.
    void Weigh(std::size_t gap)
    {
        const std::size_t count = flats.size();
        const std::vector<bool> isGap = FindGaps(gap);
        WeighInside(gap, isGap);
        before.assign(count + 1, 0);
        behind.assign(count + 1, 0);
        for (std::size_t i = 0; i < count; ++i)
            before[i + 1] = before[i] + std::min(1.0F, 2 * weight[i]) * OutsideCost(i, 0);
        for (std::size_t i = count; i > 0; --i)
            behind[i - 1] = behind[i] + std::min(1.0F, 2 * weight[i - 1]) * OutsideCost(i - 1, count - 1);
        take.assign(count, 0);
        for (std::size_t i = 0; i < count; ++i)
            take[i] = (isGap[i] ? 0.5F : 0) + 0.25F * std::log(weight[i]) * std::log(weight[i]);
        if (hasBacking) {
            take.front() += 1.5F;
            take.back() += 1.5F;
        }
    }

    float OutsideCost(std::size_t flat, std::size_t outermost) const
    {
        if (Same(flat, outermost))
            return hasBacking ? 0.02F : 0.2F;
        const bool between = flat > 0 && flat + 1 < flats.size();
        const float mixed = between ? blend[((flat - 1) * widest + 2) * widest + 1] : 1;
        if (mixed < 1)
            return mixed;
        const Row& row = flats[flat].linear;
        const bool black = *std::max_element(row.begin(), row.end()) < 0.08F;
        return black ? 1.0F : 1.5F;
    }

    float Centre(std::size_t flat) const
    {
        return static_cast<float>(flats[flat].span.first + flats[flat].span.last) / 2;
    }

    float PairCost(std::size_t a, std::size_t b) const
    {
        const float off = std::log((Centre(b) - Centre(a)) / pitch) / 0.7F;
        return 0.1F * std::min(2.0F, off * off) + (b == a + 1 && reference.empty() && Twins(a, b) ? 1.0F : 0.0F);
    }

    /// Of one flat that is the next patch too: equal neighbours, which only a reference tells.
    float StayCost(std::size_t flat) const
    {
        return reference.empty() || flats[flat].count < 1.6F * usual ? never : 1.0F;
    }

    const Lab& Expected(std::size_t patch, bool reversed) const
    {
        return reference[reversed ? patches - 1 - patch : patch];
    }

    float ColourCost(std::size_t flat, std::size_t patch, bool reversed) const
    {
        if (reference.empty())
            return 0;
        float sum = 0;
        for (std::size_t i = 0; i < 3; ++i) {
            const float off = labs[flat][i] + shifts[i] - Expected(patch, reversed)[i];
            sum += off * off;
        }
        return std::min(8.0F, sum / (2 * tolerance * tolerance));
    }

    Choice Align(bool reversed)
    {
        shifts = {0, 0, 0};
        tolerance = 6;
        Choice choice = Best(reversed);
        for (int round = 0; round < 2 && !choice.flats.empty(); ++round) {
            const float span = Centre(choice.flats.back()) - Centre(choice.flats.front());
            if (patches > 1)
                pitch = std::max(1.0F, span / static_cast<float>(patches - 1));
            if (!reference.empty())
                Adapt(choice, reversed);
            choice = Best(reversed);
        }
        return choice;
    }

    /// Common shift and tolerance from the alignment so far.
    void Adapt(const Choice& choice, bool reversed)
    {
        std::vector<float> off(patches);
        for (std::size_t i = 0; i < 3; ++i) {
            for (std::size_t k = 0; k < patches; ++k)
                off[k] = Expected(k, reversed)[i] - labs[choice.flats[k]][i];
            std::nth_element(off.begin(), off.begin() + static_cast<std::ptrdiff_t>(patches / 2), off.end());
            shifts[i] = patches >= 5 ? off[patches / 2] : 0;
        }
        tolerance = 1;
        for (std::size_t k = 0; k < patches; ++k)
            off[k] = ColourCost(choice.flats[k], k, reversed);
        std::nth_element(off.begin(), off.begin() + static_cast<std::ptrdiff_t>(patches / 2), off.end());
        tolerance = std::clamp(std::sqrt(2 * off[patches / 2]) * 0.8F, 1.0F, 6.0F);
    }

    /// The choice of the least cost.
    Choice Best(bool reversed) const
    {
        const std::size_t count = flats.size();
        std::vector<float> cost(patches * count, never);
        std::vector<std::uint32_t> from(patches * count, 0);
        std::vector<float> steps(count * widest);
        for (std::size_t j = 0; j < count; ++j)
            for (std::size_t step = 1; step < widest && step <= j; ++step)
                steps[j * widest + step] = inside[(j - step) * widest + step] + PairCost(j - step, j);
        for (std::size_t patch = 0; patch < patches; ++patch)
            for (std::size_t j = 0; j < count; ++j) {
                float& least = cost[patch * count + j];
                if (patch == 0)
                    least = before[j];
                for (std::size_t step = 1; patch > 0 && step < widest && step <= j; ++step) {
                    const std::size_t a = j - step;
                    const float total = cost[(patch - 1) * count + a] + steps[j * widest + step];
                    if (total < least) {
                        least = total;
                        from[patch * count + j] = static_cast<std::uint32_t>(a);
                    }
                }
                least += take[j];
                if (patch > 0 && cost[(patch - 1) * count + j] + StayCost(j) < least) {
                    least = cost[(patch - 1) * count + j] + StayCost(j);
                    from[patch * count + j] = static_cast<std::uint32_t>(j);
                }
                least += ColourCost(j, patch, reversed);
            }
        Choice choice;
        choice.reversed = reversed;
        std::size_t last = none;
        for (std::size_t j = 0; j < count; ++j)
            if (cost[(patches - 1) * count + j] + behind[j + 1] < choice.cost) {
                choice.cost = cost[(patches - 1) * count + j] + behind[j + 1];
                last = j;
            }
        if (last == none)
            return choice;
        choice.flats.resize(patches);
        for (std::size_t patch = patches; patch-- > 0; last = from[patch * count + last]) {
            choice.flats[patch] = last;
            choice.colour += ColourCost(last, patch, reversed);
            if (patch + flats[last].span.Length() < patches && choice.flats[patch + flats[last].span.Length()] == last)
                return {}; // more patches than readings
        }
        return choice;
    }

    const std::vector<Flat>& flats;
    const Noise& noise;
    const std::size_t patches;
    const std::vector<Lab>& reference;
    const std::vector<Lab>& labs;
    float usual = 1, pitch = 1, tolerance = 6;
    bool hasBacking = false; // the same at both ends
    std::array<float, 3> shifts{};
    Rows lights; // cube roots of the flats' colours
    Rows views;
    std::vector<float> weight, blend, inside, before, behind, take;
};

}

Choice ChooseFlats(const std::vector<Flat>& flats, const Noise& noise, std::size_t patches,
                   const std::vector<Lab>& reference, const std::vector<Lab>& labs)
{
    if (flats.empty() || (flats.size() < patches && reference.empty()))
        return {};
    return Chooser(flats, noise, patches, reference, labs).Choose();
}

} // namespace
