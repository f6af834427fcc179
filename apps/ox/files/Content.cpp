#include "apps/ox/files/Content.h"

#include "apps/ox/base/Failure.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace Ox {

namespace {

constexpr double firstBand = 380, stepOfBands = 10;
constexpr float missing = std::numeric_limits<float>::quiet_NaN();

void FindBands(const Schema& schema, Content& content)
{
    std::vector<std::pair<double, std::size_t>> found;
    std::size_t place = 0;
    for (const Column& column : schema.columns) {
        if (!column.IsNumber())
            continue;
        if (const auto nm = WavelengthOf(column.name))
            found.emplace_back(*nm, place);
        ++place;
    }
    if (found.empty())
        return;
    std::sort(found.begin(), found.end());
    content.firstNm = found.front().first;
    content.stepNm =
        found.size() > 1 ? (found.back().first - content.firstNm) / static_cast<double>(found.size() - 1) : 0;
    for (std::size_t i = 0; i < found.size(); ++i) {
        if (std::abs(found[i].first - content.firstNm - static_cast<double>(i) * content.stepNm) > 0.01)
            throw Failure(Status::Refused,
                          "the wavelengths have no even step: look at " + std::to_string(std::lround(found[i].first))
                              + " nm");
        content.bands.push_back(found[i].second);
    }
}

void FindColor(const Schema& schema, Content& content)
{
    for (const SpaceRow& row : spaceTable) {
        std::size_t place = 0, seen = 0;
        for (const Column& column : schema.columns) {
            for (std::size_t i = 0; i < 3; ++i)
                if (column.name == row.names[i]) {
                    content.color[i] = place;
                    ++seen;
                }
            place += column.IsNumber() ? 1 : 0;
        }
        if (seen == 3) {
            content.space = &row;
            return;
        }
    }
}

bool IsFinite(const float* values, std::size_t count)
{
    return std::all_of(values, values + count, [](float value) { return std::isfinite(value); });
}

}

bool Content::IsPlain(std::size_t numbers) const
{
    return bands.size() == OXC_BANDS && numbers == OXC_BANDS && firstNm == firstBand && stepNm == stepOfBands
        && std::is_sorted(bands.begin(), bands.end());
}

Content ContentOf(const Schema& schema)
{
    Content content;
    FindBands(schema, content);
    FindColor(schema, content);
    return content;
}

bool IsOfLight(const Schema& schema)
{
    const std::string mode = schema.GetRemark("MEASUREMENT_MODE");
    return mode.find("Emission") != std::string::npos || mode.find("Ambient") != std::string::npos;
}

void ApplyRemarks(Conditions& conditions, const Schema& schema, bool illuminantGiven, bool observerGiven)
{
    const std::string illuminant = schema.GetRemark("ILLUMINANT"), observer = schema.GetRemark("OBSERVER");
    if (!illuminantGiven && !illuminant.empty())
        conditions.Set(Condition::Illuminant, illuminant);
    else if (!illuminantGiven && IsOfLight(schema))
        conditions.Set(Condition::Illuminant, "Emission");
    if (!observerGiven && !observer.empty())
        conditions.Set(Condition::Observer, observer);
}

const float* SpectraOf(const Library& library, const Content& content, const Batch& batch, std::vector<float>& spectra)
{
    const std::size_t count = batch.Count(), points = content.bands.size();
    if (count == 0)
        return nullptr;
    if (content.IsPlain(batch.CountNumbers()))
        return batch.Numbers(0).data();
    std::vector<float> values(count * points);
    for (std::size_t row = 0; row < count; ++row)
        for (std::size_t i = 0; i < points; ++i)
            values[row * points + i] = batch.Numbers(row)[content.bands[i]];
    spectra.resize(count * OXC_BANDS);
    std::vector<bool> lacks(count);
    for (std::size_t row = 0; row < count; ++row)
        if (float* const begin = &values[row * points]; !IsFinite(begin, points)) {
            lacks[row] = true;
            std::fill_n(begin, points, 0.0F);
        }
    if (library.oxc_resample(values.data(), points, content.firstNm, content.stepNm, count, spectra.data())
        != OX_NoError)
        throw Failure(Status::Refused, library.oxc_error());
    for (std::size_t row = 0; row < count; ++row)
        if (lacks[row])
            std::fill_n(&spectra[row * OXC_BANDS], OXC_BANDS, missing);
    return spectra.data();
}

void ColorsOf(const Conditions& conditions, const Content& content, const Batch& batch, const float* spectra,
              float* colors)
{
    const Library& library = conditions.GetLibrary();
    const std::size_t count = batch.Count();
    if (content.HasSpectra())
        return CheckRows(conditions, library.oxc_colors(conditions.Handle(), spectra, count, colors));
    if (content.space == nullptr)
        throw Failure(Status::Refused, "there are neither spectra nor colours to compute from");
    for (std::size_t row = 0; row < count; ++row)
        for (std::size_t i = 0; i < 3; ++i)
            colors[3 * row + i] = batch.Numbers(row)[content.color[i]];
    const std::string space = conditions.Get(Condition::Space);
    const int32_t result =
        library.oxc_convert(conditions.Handle(), content.space->space, colors, count, space.c_str(), colors);
    if (result == OX_NotSupported)
        throw Failure(Status::Refused,
                      std::string("there is no way from ") + content.space->space + " to " + space
                          + " without spectra");
    CheckRows(conditions, result);
}

void CheckRows(const Conditions& conditions, int32_t result)
{
    if (result == OX_NoError)
        return;
    const std::string text = conditions.GetLibrary().oxc_error();
    if (text.starts_with("row "))
        return; // names a row
    conditions.Check(result);
}

}
