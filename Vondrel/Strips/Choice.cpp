#include "Vondrel/Strips/Choice.h"

#include <algorithm>
#include <cmath>

namespace Vondrel::Strips {

namespace {

constexpr std::size_t widest = ChoiceTables::widest;
constexpr float never = std::numeric_limits<float>::infinity();

class Chooser {
public:
    Chooser(const std::vector<Flat>& f, const Noise& n, std::size_t k, const std::vector<Lab>& r,
            const std::vector<Lab>& l, ChoiceTables& t)
        : flats(f), noise(n), patches(k), reference(r), labs(l), tables(t)
    {
        Measure();
        FindViews();
        FindBlends();
    }

    void Choose()
    {
        const std::size_t common = Commonest();
        Try(none);
        Try(0);
        if (common != none && !Same(common, 0))
            Try(common);
    }

private:
    static constexpr std::size_t none = static_cast<std::size_t>(-1);

    /// Takes the choice of the least cost under a colour of the gaps, if it is better than the best so far.
    void Try(std::size_t gap)
    {
        Weigh(gap);
        for (const bool reversed : {false, true}) {
            if (reversed && reference.empty())
                break;
            Align(reversed);
            tables.trial.cost += gap == none ? 0 : 0.5F;
            if (tables.trial.cost < tables.best.cost)
                std::swap(tables.trial, tables.best);
        }
    }

    void Measure()
    {
        tables.lights.clear();
        tables.lengths.clear();
        tables.weight.clear();
        for (const Flat& flat : flats) {
            Row light;
            std::transform(flat.linear.begin(), flat.linear.end(), light.begin(),
                           [](float level) { return std::cbrt(level); });
            tables.lights.push_back(light);
            tables.lengths.push_back(flat.count);
        }
        auto& lengths = tables.lengths;
        const std::size_t middle = std::min(patches / 2, lengths.size() - 1);
        std::nth_element(lengths.begin(), lengths.begin() + static_cast<std::ptrdiff_t>(middle), lengths.end(),
                         std::greater<>());
        usual = lengths[middle];
        for (const Flat& flat : flats)
            tables.weight.push_back(std::min(1.0F, flat.count / usual));
        hasBacking = flats.size() > 1 && Same(0, flats.size() - 1);
        pitch = static_cast<float>(flats.back().span.last - flats.front().span.first + 1) / static_cast<float>(patches);
    }

    /// About the CIELAB difference of two flats whatever their light.
    float Contrast(std::size_t a, std::size_t b) const
    {
        const Row step = Minus(tables.lights[a], tables.lights[b]);
        return 116 * std::sqrt(Dot(step, step) / channels);
    }

    bool Same(std::size_t a, std::size_t b) const { return Contrast(a, b) < 1.5F; }

    /// Pieces of one patch, not two patches.
    bool Twins(std::size_t a, std::size_t b) const { return Contrast(a, b) < 0.15F; }

    /// Flat k on the even scale at the colour of flat j, where mixtures lie on straight lines.
    const Row& View(std::size_t j, std::size_t k) const { return tables.views[j * 2 * widest + widest + k - j]; }

    void FindViews()
    {
        tables.views.resize(flats.size() * 2 * widest);
        for (std::size_t j = 0; j < flats.size(); ++j)
            for (std::size_t k = j - std::min(j, widest - 1); k < std::min(flats.size(), j + widest); ++k)
                tables.views[j * 2 * widest + widest + k - j] = noise.EvenStep(flats[j].linear, flats[k].linear);
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
        tables.blend.assign(flats.size() * widest * widest, 0);
        for (std::size_t a = 0; a < flats.size(); ++a)
            for (std::size_t step = 2; step < widest && a + step < flats.size(); ++step)
                for (std::size_t j = 1; j < step; ++j)
                    tables.blend[(a * widest + step) * widest + j] = BlendMisfit(a + j, a, a + step);
    }

    /// The flat whose colour comes most often.
    std::size_t Commonest() const
    {
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
        return most;
    }

    /// Flats of the gaps' colour, if they come again and again.
    void FindGaps(std::size_t gap)
    {
        tables.isGap.assign(flats.size(), false);
        std::size_t times = 0;
        for (std::size_t i = 0; gap != none && i < flats.size(); ++i) {
            tables.isGap[i] = Same(i, gap);
            times += tables.isGap[i] && i > 0 && i + 1 < flats.size();
        }
        if (3 * times < patches)
            tables.isGap.assign(flats.size(), false);
    }

    /// What the flats between two patches cost.
    void WeighInside(std::size_t gap)
    {
        const std::size_t count = flats.size();
        Rows& gapViews = tables.gapViews;
        std::vector<float>& inside = tables.inside;
        gapViews.resize(count);
        for (std::size_t j = 0; j < count && gap != none; ++j)
            gapViews[j] = noise.EvenStep(flats[j].linear, flats[gap].linear);
        inside.assign(count * widest, 0);
        for (std::size_t a = 0; a < count; ++a)
            for (std::size_t step = 2; step < widest && a + step < count; ++step)
                for (std::size_t j = a + 1; j < a + step; ++j) {
                    float cost = tables.blend[(a * widest + step) * widest + j - a];
                    if (tables.isGap[j])
                        cost = 0.02F;
                    else if (Twins(j, a) || Twins(j, a + step))
                        cost = std::min(cost, 0.3F);
                    else if (cost > 0.5F && gap != none && step < 5)
                        cost = std::min(cost, BlendMisfit(j, a, a + step, gapViews[j]));
                    inside[a * widest + step] += 3 * std::min(1.0F, 2 * tables.weight[j]) * cost;
                }
    }

    /// What it costs to leave flats out and to take them, under a colour of the gaps.
    void Weigh(std::size_t gap)
    {
        const std::size_t count = flats.size();
        FindGaps(gap);
        WeighInside(gap);
        auto& before = tables.before;
        auto& behind = tables.behind;
        auto& take = tables.take;
        const auto& weight = tables.weight;
        before.assign(count + 1, 0);
        behind.assign(count + 1, 0);
        for (std::size_t i = 0; i < count; ++i)
            before[i + 1] = before[i] + std::min(1.0F, 2 * weight[i]) * OutsideCost(i, 0);
        for (std::size_t i = count; i > 0; --i)
            behind[i - 1] = behind[i] + std::min(1.0F, 2 * weight[i - 1]) * OutsideCost(i - 1, count - 1);
        take.assign(count, 0);
        for (std::size_t i = 0; i < count; ++i)
            take[i] = (tables.isGap[i] ? 0.5F : 0) + 0.25F * std::log(weight[i]) * std::log(weight[i]);
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
        const float mixed = between ? tables.blend[((flat - 1) * widest + 2) * widest + 1] : 1;
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

    /// Makes the trial the best choice in a direction.
    void Align(bool reversed)
    {
        shifts = {0, 0, 0};
        tolerance = 6;
        FindLeast(reversed);
        const auto& places = tables.trial.flats;
        for (int round = 0; round < 2 && !places.empty(); ++round) {
            const float span = Centre(places.back()) - Centre(places.front());
            if (patches > 1)
                pitch = std::max(1.0F, span / static_cast<float>(patches - 1));
            if (!reference.empty())
                Adapt(reversed);
            FindLeast(reversed);
        }
    }

    /// Common shift and tolerance from the alignment so far.
    void Adapt(bool reversed)
    {
        const auto& places = tables.trial.flats;
        auto& off = tables.off;
        off.resize(patches);
        for (std::size_t i = 0; i < 3; ++i) {
            for (std::size_t k = 0; k < patches; ++k)
                off[k] = Expected(k, reversed)[i] - labs[places[k]][i];
            std::nth_element(off.begin(), off.begin() + static_cast<std::ptrdiff_t>(patches / 2), off.end());
            shifts[i] = patches >= 5 ? off[patches / 2] : 0;
        }
        tolerance = 1;
        for (std::size_t k = 0; k < patches; ++k)
            off[k] = ColourCost(places[k], k, reversed);
        std::nth_element(off.begin(), off.begin() + static_cast<std::ptrdiff_t>(patches / 2), off.end());
        tolerance = std::clamp(std::sqrt(2 * off[patches / 2]) * 0.8F, 1.0F, 6.0F);
    }

    /// Makes the trial the choice of the least cost.
    void FindLeast(bool reversed)
    {
        const std::size_t count = flats.size();
        tables.steps.resize(count * widest);
        for (std::size_t j = 0; j < count; ++j)
            for (std::size_t step = 1; step < widest && step <= j; ++step)
                tables.steps[j * widest + step] = tables.inside[(j - step) * widest + step] + PairCost(j - step, j);
        tables.cost.assign(count, never);
        tables.next.resize(count);
        if (tables.from.size() < patches * count)
            tables.from.resize(patches * count);
        for (std::size_t patch = 0; patch < patches; ++patch) {
            for (std::size_t j = 0; j < count; ++j)
                tables.next[j] = Step(patch, j, tables.from[patch * count + j]) + ColourCost(j, patch, reversed);
            std::swap(tables.cost, tables.next);
        }
        Trace(reversed);
    }

    /// The least cost of taking a flat for a patch, and how many flats before it the patch before is.
    float Step(std::size_t patch, std::size_t flat, std::uint8_t& from) const
    {
        if (patch == 0)
            return tables.before[flat] + tables.take[flat];
        float least = never;
        from = 0;
        for (std::size_t step = 1; step < widest && step <= flat; ++step) {
            const float total = tables.cost[flat - step] + tables.steps[flat * widest + step];
            if (total < least) {
                least = total;
                from = static_cast<std::uint8_t>(step);
            }
        }
        least += tables.take[flat];
        const float stay = tables.cost[flat] + StayCost(flat);
        if (stay < least)
            from = 0;
        return std::min(least, stay);
    }

    /// Follows the steps back from the least cost.
    void Trace(bool reversed)
    {
        Choice& choice = tables.trial;
        choice.Clear(reversed);
        std::size_t last = none;
        for (std::size_t j = 0; j < flats.size(); ++j)
            if (tables.cost[j] + tables.behind[j + 1] < choice.cost) {
                choice.cost = tables.cost[j] + tables.behind[j + 1];
                last = j;
            }
        if (last == none)
            return;
        choice.flats.resize(patches);
        for (std::size_t patch = patches; patch-- > 0;
             last -= patch > 0 ? tables.from[patch * flats.size() + last] : 0) {
            choice.flats[patch] = last;
            choice.colour += ColourCost(last, patch, reversed);
            const std::size_t behind = patch + flats[last].span.Length();
            if (behind < patches && choice.flats[behind] == last)
                return choice.Clear(); // more patches than readings
        }
    }

    const std::vector<Flat>& flats;
    const Noise& noise;
    const std::size_t patches;
    const std::vector<Lab>& reference;
    const std::vector<Lab>& labs;
    float usual = 1, pitch = 1, tolerance = 6;
    bool hasBacking = false; // the same at both ends
    std::array<float, 3> shifts{};
    ChoiceTables& tables;
};

}

ChoiceTables::ChoiceTables(std::size_t maxFlats, std::size_t patches)
{
    for (Rows* rows : {&lights, &gapViews})
        rows->reserve(maxFlats);
    for (std::vector<float>* values : {&lengths, &weight, &take, &cost, &next})
        values->reserve(maxFlats);
    before.reserve(maxFlats + 1);
    behind.reserve(maxFlats + 1);
    isGap.reserve(maxFlats);
    views.reserve(maxFlats * 2 * widest);
    blend.reserve(maxFlats * widest * widest);
    inside.reserve(maxFlats * widest);
    steps.reserve(maxFlats * widest);
    off.reserve(patches);
    trial.flats.reserve(patches);
    best.flats.reserve(patches);
}

const Choice& ChooseFlats(const std::vector<Flat>& flats, const Noise& noise, std::size_t patches,
                          const std::vector<Lab>& reference, const std::vector<Lab>& labs, ChoiceTables& tables)
{
    tables.best.Clear();
    if (!flats.empty() && (flats.size() >= patches || !reference.empty()))
        Chooser(flats, noise, patches, reference, labs, tables).Choose();
    return tables.best;
}

}
