#pragma once

#include <string>
#include <vector>

namespace Ox {

/// A point of a picture, with its colour as CSS has it and the text that appears over it.
struct Mark {
    double x = 0, y = 0;
    std::string color, title;
};

/// A line of a picture.
struct Stroke {
    std::vector<std::pair<double, double>> points;
    std::string color;
    std::string title;
    bool closed = false;
};

/// A picture with two axes, as SVG that stands in a page.
class Drawing {
public:
    /// @param square  both axes have the same scale
    Drawing(std::string nameOfX, std::string nameOfY, bool square)
        : xName(std::move(nameOfX)), yName(std::move(nameOfY)), equalScales(square)
    {
    }

    void Add(Mark mark) { marks.push_back(std::move(mark)); }
    void Add(Stroke stroke) { strokes.push_back(std::move(stroke)); }
    std::string GetSvg(const std::string& title) const;

private:
    struct Range {
        double least, most, step;
        double Place(double value, double size) const { return (value - least) / (most - least) * size; }
    };
    void AppendAxes(std::string& svg, const Range& x, const Range& y) const;
    std::pair<Range, Range> FindRanges() const;

    std::string xName, yName;
    bool equalScales;
    std::vector<Mark> marks;
    std::vector<Stroke> strokes;
};

/// A text as it stands in HTML.
std::string Escaped(const std::string& text);

}
