#include "apps/ox/table/Column.h"

#include "apps/ox/base/Numbers.h"
#include "apps/ox/base/Words.h"
#include "orvex/color.h"

#include <algorithm>

namespace Ox {

namespace {

constexpr double shortestWavelength = 100, longestWavelength = 5000;

/// Other names that files use, and ours.
constexpr std::pair<const char*, const char*> aliases[] = {
    {"id", "sample_id"},
    {"sampleid", "sample_id"},
    {"name", "sample_name"},
    {"patch", "sample_name"},
    {"l*", "lab_l"},
    {"a*", "lab_a"},
    {"b*", "lab_b"},
    {"l", "lab_l"},
    {"a", "lab_a"},
    {"b", "lab_b"},
    {"c*", "lab_c"},
    {"h", "lab_h"},
    {"x", "xyy_x"},
    {"y", "xyy_y"},
    {"xyy_cap_y", "xyy_capy"},
};

std::optional<Column> KnownColumn(const std::string& name)
{
    for (const SpaceRow& row : spaceTable)
        for (std::size_t i = 0; i < 3; ++i)
            if (name == row.names[i])
                return Column{name, row.heads[i], Column::Kind::Number, row.decimals[i]};
    for (std::size_t i = 0; i < densityNames.size(); ++i)
        if (name == densityNames[i])
            return Column{name, densityHeads[i], Column::Kind::Number, 2};
    if (const auto nm = WavelengthOf(name)) {
        std::string band = "nm";
        AppendNumber(band, static_cast<float>(*nm));
        return Column{band, band.substr(2) + " nm", Column::Kind::Number, 4};
    }
    if (name == densityName)
        return Column{name, densityHead, Column::Kind::Number, 2};
    if (name == "delta_e")
        return Column{name, "ΔE", Column::Kind::Number, 2};
    return std::nullopt;
}

}

std::size_t Schema::CountNumbers() const
{
    return static_cast<std::size_t>(
        std::count_if(columns.begin(), columns.end(), [](const Column& c) { return c.IsNumber(); }));
}

std::string Schema::GetRemark(std::string_view name) const
{
    const auto found = std::find_if(remarks.begin(), remarks.end(), [name](const Remark& r) { return r.name == name; });
    return found == remarks.end() ? "" : found->value;
}

std::optional<double> WavelengthOf(std::string_view name)
{
    std::string digits = LowerCase(name);
    for (const std::string_view prefix : {"spectral_", "spec_", "nm_", "nm", "r_"})
        if (digits.starts_with(prefix))
            digits.erase(0, prefix.size());
    while (digits.ends_with("nm") || digits.ends_with(' '))
        digits.erase(digits.size() - (digits.back() == ' ' ? 1 : 2));
    if (digits.empty() || digits[0] < '1' || digits[0] > '9')
        return std::nullopt;
    const auto nm = ParseNumber(digits);
    if (!nm || *nm < shortestWavelength || *nm > longestWavelength)
        return std::nullopt;
    return *nm;
}

Column ColumnOf(std::string_view name)
{
    std::string own = LowerCase(name);
    for (const auto& [alias, meant] : aliases)
        if (own == alias)
            own = meant;
    if (auto known = KnownColumn(own))
        return *known;
    const bool isOwn = own == "sample_id" || own == "sample_name";
    return {isOwn ? own : std::string(name),
            own == "sample_id"         ? "sample"
                : own == "sample_name" ? "name"
                                       : std::string(name)};
}

std::string CgatsName(const Column& column)
{
    const std::string name = UpperCase(column.name);
    return column.IsNumber() && name.starts_with("NM") ? "SPECTRAL_" + name : name;
}

const SpaceRow* FindSpace(std::string_view space)
{
    const auto found =
        std::find_if(spaceTable.begin(), spaceTable.end(), [space](const SpaceRow& r) { return space == r.space; });
    return found == spaceTable.end() ? nullptr : &*found;
}

void AppendText(Schema& schema, const std::string& name, const std::string& head)
{
    schema.columns.push_back({name, head, Column::Kind::Text});
}

void AppendNumberColumn(Schema& schema, const std::string& name, const std::string& head, int decimals)
{
    schema.columns.push_back({name, head, Column::Kind::Number, decimals});
}

void AppendColor(Schema& schema, const std::string& space, const std::string& lightUnit)
{
    const SpaceRow* const row = FindSpace(space);
    for (std::size_t i = 0; row != nullptr && i < 3; ++i) {
        const std::string head = row->heads[i];
        const bool hasUnit = head == "X" || head == "Y" || head == "Z";
        AppendNumberColumn(schema, row->names[i], hasUnit && !lightUnit.empty() ? head + " " + lightUnit : head,
                           row->decimals[i]);
    }
}

void AppendSpectrum(Schema& schema)
{
    for (int band = 0; band < OXC_BANDS; ++band)
        schema.columns.push_back(ColumnOf("nm" + std::to_string(380 + 10 * band)));
}

void AppendDensities(Schema& schema, bool filtered)
{
    if (filtered)
        return AppendNumberColumn(schema, densityName, densityHead, 2);
    for (std::size_t i = 0; i < densityNames.size(); ++i)
        AppendNumberColumn(schema, densityNames[i], densityHeads[i], 2);
}

}
