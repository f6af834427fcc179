#include "Vondrel/Strips/Extent.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace Vondrel::Strips {

namespace {

constexpr float leaning = 2; // deviations towards the neighbour's colour that end a patch

class Finder {
public:
    Finder(const Rows& r, const std::vector<Even>& e, const std::vector<Flat>& f, const Noise& n,
           const std::vector<std::size_t>& c)
        : readings(r), even(e), flats(f), noise(n), chosen(c)
    {
        values.reserve(readings.size());
    }

    std::vector<Extent> Find()
    {
        std::vector<Span> spans;
        spans.reserve(chosen.size());
        for (const std::size_t flat : chosen)
            spans.push_back(Bounds(flat));
        Separate(spans);
        const std::size_t edge = Edge(spans);
        Part(spans, edge);
        Share(spans, edge);
        std::vector<Extent> extents;
        extents.reserve(chosen.size());
        for (std::size_t i = 0; i < chosen.size(); ++i)
            extents.push_back(Clean(chosen[i], spans[i]));
        return extents;
    }

private:
    /// Median of the flat's readings, channel by channel.
    Even Middle(const Span& span)
    {
        Row middle;
        values.resize(span.Length());
        for (std::size_t c = 0; c < channels; ++c) {
            for (std::size_t i = 0; i < values.size(); ++i)
                values[i] = readings[span.first + i][c];
            const auto half = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
            std::nth_element(values.begin(), half, values.end());
            middle[c] = *half;
        }
        return noise.ToEven(middle);
    }

    Row Towards(std::size_t flat, std::size_t neighbour) const
    {
        return noise.EvenStep(flats[flat].linear, Minus(flats[neighbour].linear, flats[flat].linear));
    }

    /// Goes from a reading in one direction as long as the readings belong to the flat.
    std::size_t Walk(const Even& middle, const Row& towards, std::size_t from, std::size_t to) const
    {
        const float length = std::sqrt(std::max(middle.Product(towards, towards), 1e-6F));
        std::size_t last = from;
        const bool up = to > from;
        int strangers = 0;
        for (std::size_t i = from; i != to && strangers < 2;) {
            i = up ? i + 1 : i - 1;
            const Row off = Minus(even[i].at, middle.at);
            if (middle.Product(off, towards) / length > leaning || middle.Product(off, off) > Flat::spoiled)
                ++strangers;
            else {
                strangers = 0;
                last = i;
            }
        }
        return last;
    }

    Span Bounds(std::size_t flat)
    {
        const Span& span = flats[flat].span;
        const Even middle = Middle(span);
        std::size_t centre = (span.first + span.last) / 2;
        for (std::size_t i = span.first; i <= span.last; ++i) // the reading nearest to the middle of its mid third
            if (3 * i >= 2 * span.first + span.last && 3 * i <= span.first + 2 * span.last
                && middle.SquaredDistance(even[i].at) < middle.SquaredDistance(even[centre].at))
                centre = i;
        Span bounds{centre, centre};
        const std::size_t low = flat == 0 ? 0 : flats[flat - 1].span.last + 1;
        const std::size_t high = flat + 1 == flats.size() ? readings.size() - 1 : flats[flat + 1].span.first - 1;
        bounds.first = Walk(middle, flat == 0 ? Row{} : Towards(flat, flat - 1), centre, std::min(low, centre));
        bounds.last =
            Walk(middle, flat + 1 == flats.size() ? Row{} : Towards(flat, flat + 1), centre, std::max(high, centre));
        return bounds;
    }

    /// Gives readings that two neighbours would take to the nearer one.
    void Separate(std::vector<Span>& spans) const
    {
        for (std::size_t i = 1; i < spans.size(); ++i) {
            Span &left = spans[i - 1], &right = spans[i];
            if (chosen[i] == chosen[i - 1] || right.first > left.last)
                continue;
            left.last = (left.last + right.first) / 2;
            right.first = left.last + 1;
        }
    }

    /// The usual number of readings over an edge.
    std::size_t Edge(const std::vector<Span>& spans) const
    {
        std::vector<std::size_t> edges;
        edges.reserve(spans.size());
        edges.push_back(0);
        for (std::size_t i = 1; i < spans.size(); ++i)
            if (chosen[i] == chosen[i - 1] + 1)
                edges.push_back(spans[i].first - spans[i - 1].last - 1);
        const auto half = edges.begin() + static_cast<std::ptrdiff_t>(edges.size() / 2);
        std::nth_element(edges.begin(), half, edges.end());
        return *half;
    }

    /// Parts neighbours that noise lets come too near.
    void Part(std::vector<Span>& spans, std::size_t edge) const
    {
        for (std::size_t i = 1; i < spans.size(); ++i) {
            Span &left = spans[i - 1], &right = spans[i];
            for (bool turn = true; chosen[i] == chosen[i - 1] + 1 && right.first - left.last - 1 < edge; turn = !turn) {
                if (left.Length() < 3 || right.Length() < 3)
                    break;
                turn ? --left.last : ++right.first;
            }
        }
    }

    /// Shares a flat among the equal patches that it is.
    void Share(std::vector<Span>& spans, std::size_t edge) const
    {
        for (std::size_t i = 0, end = 0; i < spans.size(); i = end) {
            while (end < spans.size() && chosen[end] == chosen[i])
                ++end;
            const std::size_t parts = end - i;
            Span whole{spans[i].first, spans[end - 1].last};
            if (whole.last + 1 < whole.first + parts)
                whole = flats[chosen[i]].span;
            const std::size_t margin = whole.Length() / parts > 2 * edge ? (edge + 1) / 2 : 0;
            for (std::size_t part = 0; part < parts; ++part)
                spans[i + part] = {whole.first + whole.Length() * part / parts + (part > 0 ? margin : 0),
                                   whole.first + whole.Length() * (part + 1) / parts - 1
                                       - (part + 1 < parts ? margin : 0)};
        }
    }

    Extent Clean(std::size_t flat, const Span& span)
    {
        Extent extent{span, Middle(flats[flat].span)};
        std::size_t spoiled = 0;
        for (std::size_t i = span.first; i <= span.last; ++i)
            spoiled += extent.Spoiled(even[i]);
        if (spoiled == span.Length())
            extent.furthest = std::numeric_limits<float>::infinity();
        return extent;
    }

    const Rows& readings;
    const std::vector<Even>& even;
    const std::vector<Flat>& flats;
    const Noise& noise;
    const std::vector<std::size_t>& chosen;
    std::vector<float> values; // of one channel
};

}

std::vector<Extent> FindExtents(const Rows& readings, const std::vector<Even>& even, const std::vector<Flat>& flats,
                                const Noise& noise, const std::vector<std::size_t>& chosen)
{
    return Finder(readings, even, flats, noise, chosen).Find();
}

}
