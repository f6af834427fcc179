#include "Vondrel/Strips/Flats.h"

#include <algorithm>

namespace Vondrel::Strips {

namespace {

constexpr float earning = 26; // of a reading; 99 % of the squared deviations in 12 directions are smaller
constexpr std::size_t longest = 96;

/// Mean and squared deviations of a growing flat.
struct Growing {
    Even mean;
    float count = 0;
    float deviations = 0;

    /// What the deviations grow by if the reading is taken in.
    float Misfit(const Row& reading) const { return mean.SquaredDistance(reading) * count / (count + 1); }
    void Take(const Row& reading, float misfit)
    {
        deviations += misfit;
        ++count;
        for (std::size_t c = 0; c < channels; ++c)
            mean.at[c] += (reading[c] - mean.at[c]) / count;
    }
};

Flat MakeFlat(const std::vector<Even>& even, const Rows& linear, std::size_t first, std::size_t last)
{
    Growing growing;
    growing.mean = even[first];
    Flat flat;
    flat.span = {first, last};
    std::array<Row, 2> halves{};
    std::array<float, 2> counts{};
    for (std::size_t i = first; i <= last; ++i) {
        const float misfit = growing.Misfit(even[i].at);
        if (misfit > Flat::spoiled && i != first)
            continue;
        growing.Take(even[i].at, misfit);
        const std::size_t half = 2 * i > first + last ? 1 : 0;
        ++counts[half];
        for (std::size_t c = 0; c < channels; ++c) {
            flat.linear[c] += (linear[i][c] - flat.linear[c]) / growing.count;
            halves[half][c] += (even[i].at[c] - halves[half][c]) / counts[half];
        }
    }
    flat.count = growing.count;
    flat.even = growing.mean;
    if (counts[1] > 0)
        flat.drift = Minus(halves[1], halves[0]);
    return flat;
}

}

void FindFlats(const std::vector<Even>& even, const Rows& linear, float price, std::vector<FlatStep>& best,
               std::vector<Flat>& flats)
{
    constexpr std::size_t none = FlatStep::none;
    best.assign(even.size() + 1, {}); // for so many readings from the start
    for (std::size_t first = 0; first < even.size(); ++first) {
        if (first > 0 && best[first - 1].gain > best[first].gain)
            best[first] = {best[first - 1].gain, none};
        Growing growing;
        growing.mean = even[first];
        float lost = 0;
        int strangers = 0;
        const std::size_t end = std::min(even.size(), first + longest);
        for (std::size_t i = first; i < end; ++i) {
            const float misfit = growing.Misfit(even[i].at);
            if (misfit > Flat::spoiled) {
                lost += earning;
                if (++strangers == 2)
                    break;
                continue;
            }
            strangers = 0;
            growing.Take(even[i].at, misfit);
            const float gain = best[first].gain + earning * growing.count - growing.deviations - lost - price;
            if (growing.count > 1 && gain > best[i + 1].gain)
                best[i + 1] = {gain, first};
        }
    }
    flats.clear();
    if (!even.empty() && best[even.size() - 1].gain > best[even.size()].gain)
        best[even.size()] = {best[even.size() - 1].gain, none};
    for (std::size_t end = even.size(); end > 0;) {
        if (best[end].first == none) {
            --end;
            continue;
        }
        flats.push_back(MakeFlat(even, linear, best[end].first, end - 1));
        end = best[end].first;
    }
    std::reverse(flats.begin(), flats.end());
}

void JoinFlats(std::vector<Flat>& flats, std::size_t furthest)
{
    std::size_t joined = 0;
    for (const Flat& flat : flats) {
        Flat* before = joined == 0 ? nullptr : &flats[joined - 1];
        const float both = before ? before->count + flat.count : 1;
        if (!before || flat.span.first - before->span.last > furthest + 1
            || before->even.SquaredDistance(flat.even.at) * std::min(before->count * flat.count / both, 20.0F) > 40) {
            flats[joined++] = flat;
            continue;
        }
        before->drift = Minus(flat.even.at, before->even.at);
        for (std::size_t c = 0; c < channels; ++c) {
            before->even.at[c] += (flat.even.at[c] - before->even.at[c]) * flat.count / both;
            before->linear[c] += (flat.linear[c] - before->linear[c]) * flat.count / both;
        }
        before->count = both;
        before->span.last = flat.span.last;
    }
    flats.resize(joined);
}

void DropRamps(std::vector<Flat>& flats)
{
    std::size_t steady = 0; // flats that stay; the one before is still in its place
    for (std::size_t i = 0; i < flats.size(); ++i) {
        const Flat& flat = flats[i];
        const Flat& before = flats[i > 0 ? i - 1 : i];
        const Flat& behind = flats[i + 1 < flats.size() ? i + 1 : i];
        const Row around = Minus(behind.even.at, before.even.at);
        const float length = flat.even.Product(around, around);
        const float drift = flat.even.Product(flat.drift, around);
        const bool between =
            flat.even.SquaredDistance(before.even.at) <= length && flat.even.SquaredDistance(behind.even.at) <= length;
        if (!between || drift * drift * flat.count < 16 * length || drift < 0.15F * length)
            flats[steady++] = flat;
    }
    flats.resize(steady);
}

}
