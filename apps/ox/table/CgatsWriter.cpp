#include "apps/ox/table/CgatsWriter.h"

#include "apps/ox/base/Failure.h"
#include "apps/ox/base/Numbers.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>

namespace Ox {

namespace {

constexpr std::size_t mostInMemory = 1 << 20;

std::string Quoted(const std::string& text)
{
    const bool isPlain =
        std::none_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < ' ' || c == 0x7f; });
    const bool hasDouble = text.find('"') != std::string::npos;
    if (!isPlain || (hasDouble && text.find('\'') != std::string::npos))
        throw Failure(Status::Refused,
                      "CGATS has no form for a text with control characters or both kinds of quotes: " + text);
    const char quote = hasDouble ? '\'' : '"';
    return quote + text + quote;
}

/// A number that every reader gives back as it was stands without quotes.
bool IsPlainNumber(const std::string& text)
{
    return !text.empty() && text.size() < 10 && text[0] != '0'
        && text.find_first_not_of("0123456789") == std::string::npos;
}

/// A field's name as CGATS takes it, without blanks and quotes.
std::string FieldName(const Column& column)
{
    std::string name = CgatsName(column);
    for (char& letter : name) {
        const bool fits =
            (letter >= 'A' && letter <= 'Z') || (letter >= '0' && letter <= '9') || letter == '_' || letter == '.';
        letter = fits ? letter : '_';
    }
    return name.empty() || (name[0] >= '0' && name[0] <= '9') ? "_" + name : name;
}

}

void CgatsWriter::Begin(const Schema& written)
{
    schema = written;
}

void CgatsWriter::Take(const Batch& batch)
{
    for (std::size_t row = 0; row < batch.Count(); ++row) {
        const std::string* nextText = batch.Texts(row).data();
        const float* nextNumber = batch.Numbers(row).data();
        for (const Column& column : schema.columns) {
            if (&column != schema.columns.data())
                data += '\t';
            if (!column.IsNumber())
                AppendText(*nextText++);
            else if (const float number = *nextNumber++; std::isnan(number))
                data += "\"\"";
            else
                AppendNumber(data, number);
        }
        data += '\n';
    }
    count += batch.Count();
    if (data.size() > mostInMemory)
        Spill();
}

void CgatsWriter::AppendText(const std::string& text)
{
    data += IsPlainNumber(text) ? text : Quoted(text);
}

void CgatsWriter::Spill()
{
    if (spilled == nullptr)
        spilled.reset(std::tmpfile());
    if (spilled == nullptr || std::fwrite(data.data(), 1, data.size(), spilled.get()) != data.size())
        throw Failure(Status::Refused, std::string("the temporary file cannot be written: ") + std::strerror(errno));
    data.clear();
}

void CgatsWriter::End()
{
    output.Write("CGATS.17\nORIGINATOR \"ox\"\n");
    for (const Remark& remark : schema.remarks)
        if (remark.name != "ORIGINATOR")
            output.Write("KEYWORD \"" + remark.name + "\"\n" + remark.name + " " + Quoted(remark.value) + "\n");
    output.Write("NUMBER_OF_FIELDS " + std::to_string(schema.columns.size()) + "\nBEGIN_DATA_FORMAT\n");
    for (const Column& column : schema.columns)
        output.Write((&column == schema.columns.data() ? "" : "\t") + FieldName(column));
    output.Write("\nEND_DATA_FORMAT\nNUMBER_OF_SETS " + std::to_string(count) + "\nBEGIN_DATA\n");
    if (spilled != nullptr) {
        Spill();
        std::rewind(spilled.get());
        std::string piece(mostInMemory, '\0');
        while (const std::size_t size = std::fread(piece.data(), 1, piece.size(), spilled.get())) {
            output.Write({piece.data(), size});
            output.Pass();
        }
    }
    output.Write(data);
    output.Write("END_DATA\n");
    output.Flush();
}

}
