#include "apps/ox/report/Drawing.h"

#include "apps/ox/base/Numbers.h"

#include <algorithm>
#include <cmath>

namespace Ox {

namespace {

constexpr double width = 520, height = 400, left = 56, bottom = 44, top = 12, right = 12;
constexpr double plotWidth = width - left - right, plotHeight = height - top - bottom;

std::string Text(double value, int decimals = 1)
{
    return FixedNumber(static_cast<float>(value), decimals);
}

/// 1, 2 or 5 times a power of ten: about six steps over the span.
double StepOf(double span)
{
    const double power = std::pow(10.0, std::floor(std::log10(span / 6)));
    for (const double factor : {1.0, 2.0, 5.0})
        if (span / (factor * power) <= 7)
            return factor * power;
    return 10 * power;
}

int DecimalsOf(double step)
{
    return std::max(0, static_cast<int>(std::ceil(-std::log10(step) - 1e-9)));
}

}

std::string Escaped(const std::string& text)
{
    std::string escaped;
    for (const char letter : text)
        switch (letter) {
        case '&':
            escaped += "&amp;";
            break;
        case '<':
            escaped += "&lt;";
            break;
        case '>':
            escaped += "&gt;";
            break;
        case '"':
            escaped += "&quot;";
            break;
        default:
            escaped += letter;
        }
    return escaped;
}

std::pair<Drawing::Range, Drawing::Range> Drawing::FindRanges() const
{
    double ends[4] = {1e30, -1e30, 1e30, -1e30};
    const auto look = [&ends](double x, double y) {
        ends[0] = std::min(ends[0], x), ends[1] = std::max(ends[1], x);
        ends[2] = std::min(ends[2], y), ends[3] = std::max(ends[3], y);
    };
    for (const Mark& mark : marks)
        look(mark.x, mark.y);
    for (const Stroke& stroke : strokes)
        for (const auto& [x, y] : stroke.points)
            look(x, y);
    if (ends[0] > ends[1])
        return {{0, 1, 0.2}, {0, 1, 0.2}};
    double spans[2] = {std::max(ends[1] - ends[0], 1e-6) * 1.08, std::max(ends[3] - ends[2], 1e-6) * 1.08};
    if (equalScales) {
        const double scale = std::max(spans[0] / plotWidth, spans[1] / plotHeight);
        spans[0] = scale * plotWidth, spans[1] = scale * plotHeight;
    }
    const double middles[2] = {(ends[0] + ends[1]) / 2, (ends[2] + ends[3]) / 2};
    const double step = StepOf(std::max(spans[0], spans[1]));
    return {{middles[0] - spans[0] / 2, middles[0] + spans[0] / 2, equalScales ? step : StepOf(spans[0])},
            {middles[1] - spans[1] / 2, middles[1] + spans[1] / 2, equalScales ? step : StepOf(spans[1])}};
}

void Drawing::AppendAxes(std::string& svg, const Range& x, const Range& y) const
{
    for (double value = std::ceil(x.least / x.step) * x.step; value <= x.most; value += x.step) {
        const std::string place = Text(left + x.Place(value, plotWidth));
        svg += "<path class=\"grid\" d=\"M" + place + " " + Text(top) + "V" + Text(height - bottom) + "\"/><text x=\""
            + place + "\" y=\"" + Text(height - bottom + 16) + "\" text-anchor=\"middle\">"
            + Text(value, DecimalsOf(x.step)) + "</text>";
    }
    for (double value = std::ceil(y.least / y.step) * y.step; value <= y.most; value += y.step) {
        const double place = height - bottom - y.Place(value, plotHeight);
        svg += "<path class=\"grid\" d=\"M" + Text(left) + " " + Text(place) + "H" + Text(width - right)
            + "\"/><text x=\"" + Text(left - 6) + "\" y=\"" + Text(place + 4) + "\" text-anchor=\"end\">"
            + Text(value, DecimalsOf(y.step)) + "</text>";
    }
    svg += "<text x=\"" + Text(left + plotWidth / 2) + "\" y=\"" + Text(height - 6) + "\" text-anchor=\"middle\">"
        + Escaped(xName) + "</text>";
    svg += "<text transform=\"translate(14 " + Text(top + plotHeight / 2) + ") rotate(-90)\" text-anchor=\"middle\">"
        + Escaped(yName) + "</text>\n";
}

std::string Drawing::GetSvg(const std::string& title) const
{
    const auto [x, y] = FindRanges();
    const auto place = [&x = x, &y = y](double px, double py) {
        return Text(left + x.Place(px, plotWidth)) + " " + Text(height - bottom - y.Place(py, plotHeight));
    };
    std::string svg = "<figure><svg viewBox=\"0 0 " + Text(width, 0) + " " + Text(height, 0)
        + "\" role=\"img\" aria-label=\"" + Escaped(title) + "\">\n";
    AppendAxes(svg, x, y);
    for (const Stroke& stroke : strokes) {
        svg += "<path class=\"stroke\" stroke=\"" + stroke.color + "\" d=\"";
        for (const auto& [px, py] : stroke.points)
            svg += (&stroke.points.front().first == &px ? "M" : "L") + place(px, py);
        svg += std::string(stroke.closed ? "Z" : "") + "\"><title>" + Escaped(stroke.title) + "</title></path>\n";
    }
    for (const Mark& mark : marks) {
        const std::string at = place(mark.x, mark.y);
        svg += "<circle cx=\"" + at.substr(0, at.find(' ')) + "\" cy=\"" + at.substr(at.find(' ') + 1)
            + "\" r=\"5\" fill=\"" + mark.color + "\"><title>" + Escaped(mark.title) + "</title></circle>\n";
    }
    return svg + "</svg><figcaption>" + Escaped(title) + "</figcaption></figure>\n";
}

}
