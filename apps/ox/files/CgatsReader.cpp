#include "apps/ox/files/CgatsReader.h"

#include "apps/ox/base/Failure.h"
#include "apps/ox/base/Terminal.h"
#include "apps/ox/base/Words.h"

#include <charconv>
#include <optional>

namespace Ox {

namespace {

/// The words of a line; a quoted one without its quotes. A comment ends the line.
class Line {
public:
    explicit Line(Source& from) : source(from) { }

    /// @return false: there are no more lines
    bool Next() { return source.NextLine(rest); }

    std::optional<std::string_view> Take()
    {
        const auto first = rest.find_first_not_of(" \t\r\v\f");
        if (first == std::string_view::npos || rest[first] == '#')
            return std::nullopt;
        rest.remove_prefix(first);
        const bool quoted = rest[0] == '"' || rest[0] == '\'';
        const auto end = quoted ? rest.find(rest[0], 1) : rest.find_first_of(" \t\r\v\f#");
        if (quoted && end == std::string_view::npos)
            source.Refuse("the quotes are not closed");
        const std::string_view word = quoted ? rest.substr(1, end - 1) : rest.substr(0, end);
        rest.remove_prefix(std::min(rest.size(), quoted ? end + 1 : word.size()));
        return word;
    }

private:
    Source& source;
    std::string_view rest;
};

class Tables {
public:
    Tables(Source& from, Sink& to, bool isQuiet) : source(from), line(from), sink(to), quiet(isQuiet) { }

    void Read()
    {
        while (line.Next())
            while (const auto word = line.Take()) {
                if (*word == "BEGIN_DATA_FORMAT")
                    ReadFormat();
                else if (*word == "BEGIN_DATA")
                    ReadData();
                else
                    ReadKeyword(std::string(*word));
            }
        if (!begun)
            source.Refuse("there is no table with a field that ox knows");
    }

private:
    /// The next word, over the ends of lines.
    std::string_view Need(const char* end)
    {
        for (;;) {
            if (const auto word = line.Take())
                return *word;
            if (!line.Next())
                source.Refuse(std::string("the file ends before ") + end);
        }
    }

    void ReadKeyword(const std::string& name)
    {
        std::string value;
        while (const auto word = line.Take())
            value += (value.empty() ? "" : " ") + std::string(*word);
        if (name == "NUMBER_OF_FIELDS")
            fields = CountOf(value);
        else if (name == "NUMBER_OF_SETS")
            sets = CountOf(value);
        else if (name != "KEYWORD" && !value.empty() && !begun)
            remarks.push_back({name, value});
    }

    std::optional<std::size_t> CountOf(const std::string& value) const
    {
        std::size_t count = 0;
        const char* const end = value.data() + value.size();
        const auto [stop, error] = std::from_chars(value.data(), end, count);
        if (error != std::errc() || stop != end)
            source.Refuse("\"" + value + "\" is no number of fields or sets");
        return count;
    }

    void ReadFormat()
    {
        names.clear();
        for (auto word = Need("END_DATA_FORMAT"); word != "END_DATA_FORMAT"; word = Need("END_DATA_FORMAT"))
            names.emplace_back(word);
        if (fields && *fields != names.size())
            source.Refuse("NUMBER_OF_FIELDS says " + std::to_string(*fields) + ", the format has "
                          + std::to_string(names.size()));
    }

    /// Does this table go to the sink?
    bool Accept(const Schema& schema)
    {
        if (begun) {
            const bool isSame = names == namesOfFirst;
            if (!isSame)
                Tell(source.GetName() + ":" + std::to_string(source.GetLine())
                         + ": a table with other fields is left out",
                     quiet);
            return isSame;
        }
        if (schema.CountNumbers() == 0)
            return false;
        begun = true;
        namesOfFirst = names;
        sink.Begin(schema);
        return true;
    }

    void ReadData()
    {
        if (names.empty())
            source.Refuse("BEGIN_DATA stands before the format");
        Schema schema = SchemaOf(source, names);
        schema.remarks = remarks;
        const bool taken = Accept(schema);
        Batch batch(schema);
        std::size_t rows = 0;
        for (auto word = Need("END_DATA"); word != "END_DATA"; word = Need("END_DATA")) {
            ReadRow(schema, batch, word);
            ++rows;
            if (batch.IsFull())
                Pass(batch, taken);
        }
        Pass(batch, taken);
        if (sets && *sets != rows)
            source.Refuse("NUMBER_OF_SETS says " + std::to_string(*sets) + ", the table has " + std::to_string(rows)
                          + " rows");
        fields.reset();
        sets.reset();
    }

    void ReadRow(const Schema& schema, Batch& batch, std::string_view word)
    {
        const std::size_t place = batch.Add();
        std::string* nextText = batch.Texts(place).data();
        float* nextNumber = batch.Numbers(place).data();
        for (std::size_t i = 0; i < schema.columns.size(); ++i) {
            if (i > 0)
                word = Need("END_DATA");
            if (i > 0 && word == "END_DATA")
                source.Refuse("the last row has " + std::to_string(i) + " of " + std::to_string(schema.columns.size())
                              + " fields");
            if (schema.columns[i].IsNumber())
                *nextNumber++ = NumberOf(source, word, schema.columns[i]);
            else
                *nextText++ = word;
        }
    }

    void Pass(Batch& batch, bool taken)
    {
        if (taken)
            sink.Take(batch);
        batch.Clear();
    }

    Source& source;
    Line line;
    Sink& sink;
    bool quiet;
    bool begun = false;
    std::vector<std::string> names, namesOfFirst;
    std::vector<Remark> remarks;
    std::optional<std::size_t> fields, sets;
};

}

void ReadCgats(Source& source, Sink& sink, bool quiet)
{
    Tables(source, sink, quiet).Read();
}

}
