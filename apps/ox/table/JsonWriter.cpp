#include "apps/ox/table/JsonWriter.h"

#include "apps/ox/base/Numbers.h"
#include "apps/ox/base/Words.h"

#include <cmath>
#include <nlohmann/json.hpp>

namespace Ox {

namespace {

/// In quotes; bytes that are no UTF-8 become the replacement character.
std::string Quoted(const std::string& text)
{
    return nlohmann::json(text).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

}

void JsonWriter::Begin(const Schema& written)
{
    columns = written.columns;
    for (const Column& column : columns)
        keys.push_back(Quoted(column.name) + ": ");
    output.Write("{\n");
    for (const Remark& remark : written.remarks)
        output.Write("  " + Quoted(LowerCase(remark.name)) + ": " + Quoted(remark.value) + ",\n");
    output.Write("  \"samples\": [");
}

void JsonWriter::Take(const Batch& batch)
{
    std::string& text = output.GetText();
    for (std::size_t row = 0; row < batch.Count(); ++row) {
        text += first ? "\n    {" : ",\n    {";
        first = false;
        const std::string* nextText = batch.Texts(row).data();
        const float* nextNumber = batch.Numbers(row).data();
        for (std::size_t i = 0; i < columns.size(); ++i) {
            text += i > 0 ? ", " : "";
            text += keys[i];
            if (!columns[i].IsNumber())
                text += Quoted(*nextText++);
            else if (const float number = *nextNumber++; std::isnan(number))
                text += "null";
            else
                AppendNumber(text, number);
        }
        text += '}';
    }
    output.Pass();
}

void JsonWriter::End()
{
    output.Write(first ? "]\n}\n" : "\n  ]\n}\n");
    output.Flush();
}

}
