#include "apps/ox/files/SeparatedReader.h"

#include "apps/ox/base/Numbers.h"
#include "apps/ox/base/Words.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>

namespace Ox {

namespace {

char SeparatorOf(std::string_view header)
{
    const std::string_view candidates = "\t;,";
    return *std::max_element(candidates.begin(), candidates.end(), [header](char a, char b) {
        return std::count(header.begin(), header.end(), a) < std::count(header.begin(), header.end(), b);
    });
}

std::string_view WithoutBlanks(std::string_view text)
{
    const auto first = text.find_first_not_of(' ');
    return first == std::string_view::npos ? "" : text.substr(first, text.find_last_not_of(' ') - first + 1);
}

/// The fields of one row, one after the other. A field in quotes may hold separators, doubled quotes and ends of lines.
class Row {
public:
    Row(Source& from, char between) : source(from), separator(between) { }

    /// @return false: there are no more rows. Empty lines are no rows.
    bool Next()
    {
        do
            if (!source.NextLine(rest))
                return false;
        while (rest.empty());
        hasMore = true;
        return true;
    }

    /// Is there another field in the row?
    bool HasMore() const { return hasMore; }

    /// Takes a field; it lives until the next one or the next row.
    std::string_view Take()
    {
        if (rest.starts_with('"'))
            return TakeQuoted();
        const void* const found = std::memchr(rest.data(), separator, rest.size());
        const std::size_t size =
            found == nullptr ? rest.size() : static_cast<std::size_t>(static_cast<const char*>(found) - rest.data());
        const std::string_view plain = rest.substr(0, size);
        Step(size);
        return plain;
    }

    /// Takes a number where one stands as it should, the quick way.
    bool TakeNumber(float& number)
    {
        const char* const end = rest.data() + rest.size();
        const auto [stop, error] = std::from_chars(rest.data(), end, number);
        if (error != std::errc() || (stop != end && *stop != separator) || !std::isfinite(number))
            return false;
        Step(static_cast<std::size_t>(stop - rest.data()));
        return true;
    }

private:
    void Step(std::size_t size)
    {
        hasMore = size < rest.size();
        rest.remove_prefix(hasMore ? size + 1 : size);
    }

    std::string_view TakeQuoted()
    {
        const std::size_t begin = source.GetLine();
        field.clear();
        rest.remove_prefix(1);
        for (;;) {
            const std::size_t quote = rest.find('"');
            field += rest.substr(0, quote);
            if (quote == std::string_view::npos) {
                field += '\n';
                if (field.size() > Source::longestLine || !source.NextLine(rest))
                    source.Refuse("the quotes that line " + std::to_string(begin) + " opens are not closed");
                continue;
            }
            rest.remove_prefix(quote + 1);
            if (!rest.starts_with('"'))
                break;
            field += '"';
            rest.remove_prefix(1);
        }
        if (!rest.empty() && rest[0] != separator)
            source.Refuse("behind the closing quotes stands no separator");
        Step(0);
        return field;
    }

    Source& source;
    char separator;
    std::string_view rest;
    std::string field;
    bool hasMore = false;
};

void ReadRow(const Source& source, Row& row, const Schema& schema, Batch& batch)
{
    const std::size_t place = batch.Add();
    std::string* nextText = batch.Texts(place).data();
    float* nextNumber = batch.Numbers(place).data();
    for (const Column& column : schema.columns) {
        if (!row.HasMore())
            source.Refuse("the row ends before " + column.name);
        if (!column.IsNumber())
            *nextText++ = row.Take();
        else if (float& number = *nextNumber++; !row.TakeNumber(number))
            number = NumberOf(source, WithoutBlanks(row.Take()), column);
    }
    if (row.HasMore())
        source.Refuse("the row has more fields than the header, which has " + std::to_string(schema.columns.size()));
}

/// A spectrum in each column: the file is turned, and therefore kept.
void ReadTurned(Source& source, Row& row, const std::vector<std::string>& names, Sink& sink)
{
    constexpr std::size_t mostWavelengths = 10000;
    std::vector<std::string> header = {"sample_id", "sample_name"};
    std::vector<std::vector<float>> lines;
    while (row.Next()) {
        const std::string wavelength(WithoutBlanks(row.Take()));
        if (!WavelengthOf(wavelength) || lines.size() == mostWavelengths)
            source.Refuse("\"" + wavelength + "\" is no wavelength in nm");
        header.push_back(wavelength);
        lines.emplace_back();
        for (std::size_t i = 1; i < names.size(); ++i) {
            if (!row.HasMore())
                source.Refuse("the row ends before " + names[i]);
            lines.back().push_back(NumberOf(source, WithoutBlanks(row.Take()), {names[i], ""}));
        }
        if (row.HasMore())
            source.Refuse("the row has more fields than the header, which has " + std::to_string(names.size()));
    }
    const Schema schema = SchemaOf(source, header);
    sink.Begin(schema);
    Batch batch(schema);
    for (std::size_t sample = 1; sample < names.size(); ++sample) {
        const std::size_t place = batch.Add();
        batch.Texts(place)[0] = std::to_string(sample);
        batch.Texts(place)[1] = names[sample];
        for (std::size_t i = 0; i < lines.size(); ++i)
            batch.Numbers(place)[i] = lines[i][sample - 1];
    }
    sink.Take(batch);
}

}

void ReadSeparated(Source& source, Sink& sink)
{
    const std::string_view text = source.Peek();
    const auto start = text.find_first_not_of("\r\n");
    Row row(source, SeparatorOf(text.substr(start, text.find('\n', start) - start)));
    std::vector<std::string> names;
    for (row.Next(); row.HasMore();)
        names.emplace_back(WithoutBlanks(row.Take()));
    if (LowerCase(names[0]) == "wavelength" || LowerCase(names[0]) == "nm")
        return ReadTurned(source, row, names, sink);
    const Schema schema = SchemaOf(source, names);
    if (schema.CountNumbers() == 0)
        source.Refuse("the header names no field that ox knows; see docs/ox.md");
    sink.Begin(schema);
    Batch batch(schema);
    while (row.Next()) {
        ReadRow(source, row, schema, batch);
        if (batch.IsFull()) {
            sink.Take(batch);
            batch.Clear();
        }
    }
    sink.Take(batch);
}

}
