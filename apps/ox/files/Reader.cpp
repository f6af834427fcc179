#include "apps/ox/files/Reader.h"

#include "apps/ox/base/Failure.h"
#include "apps/ox/base/Numbers.h"
#include "apps/ox/files/CgatsReader.h"
#include "apps/ox/files/JsonReader.h"
#include "apps/ox/files/SeparatedReader.h"

#include <algorithm>
#include <limits>
#include <set>

namespace Ox {

namespace {

constexpr std::string_view blanks = " \t\r\n";

bool IsCgats(std::string_view text)
{
    for (auto at = text.find("BEGIN_DATA"); at != std::string_view::npos; at = text.find("BEGIN_DATA", at + 1))
        if (text.substr(0, at).find_last_not_of(" \t") == std::string_view::npos || at == 0
            || text[text.substr(0, at).find_last_not_of(" \t")] == '\n')
            return true;
    return text.starts_with("CGATS") || text.starts_with("IT8");
}

}

void ReadFile(const std::string& path, Sink& sink, bool quiet)
{
    Source source(path);
    const std::string_view text = source.Peek();
    const auto first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos)
        throw Failure(Status::Refused, source.GetName() + ": the file is empty");
    if (text[first] == '{' || text[first] == '[')
        ReadJson(source, sink);
    else if (IsCgats(text))
        ReadCgats(source, sink, quiet);
    else
        ReadSeparated(source, sink);
}

float NumberOf(const Source& source, std::string_view text, const Column& column)
{
    if (text.empty())
        return std::numeric_limits<float>::quiet_NaN();
    if (const auto number = ParseNumber(text))
        return *number;
    source.Refuse("\"" + std::string(text.substr(0, 40)) + "\" in " + column.name + " is no number"
                  + (text.find(',') == std::string_view::npos ? "" : "; numbers have a point"));
}

Schema SchemaOf(const Source& source, const std::vector<std::string>& names)
{
    Schema schema;
    std::set<std::string> known;
    for (const std::string& name : names) {
        schema.columns.push_back(ColumnOf(name));
        if (!known.insert(schema.columns.back().name).second)
            source.Refuse("two fields are called " + name);
    }
    return schema;
}

}
