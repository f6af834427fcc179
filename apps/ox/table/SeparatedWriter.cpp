#include "apps/ox/table/SeparatedWriter.h"

#include "apps/ox/base/Numbers.h"

namespace Ox {

void SeparatedWriter::AppendText(const std::string& field)
{
    std::string& text = output.GetText();
    const bool quoted =
        field.find_first_of("\"\r\n") != std::string::npos || field.find(separator) != std::string::npos;
    if (!quoted) {
        text += field;
        return;
    }
    text += '"';
    for (const char letter : field)
        text.append(letter == '"' ? 2 : 1, letter);
    text += '"';
}

void SeparatedWriter::Begin(const Schema& written)
{
    columns = written.columns;
    for (const Column& column : columns) {
        if (&column != columns.data())
            output.GetText() += separator;
        AppendText(column.name);
    }
    output.GetText() += '\n';
}

void SeparatedWriter::Take(const Batch& batch)
{
    std::string& text = output.GetText();
    for (std::size_t row = 0; row < batch.Count(); ++row) {
        const std::string* nextText = batch.Texts(row).data();
        const float* nextNumber = batch.Numbers(row).data();
        for (std::size_t i = 0; i < columns.size(); ++i) {
            if (i > 0)
                text += separator;
            if (columns[i].IsNumber())
                AppendNumber(text, *nextNumber++);
            else
                AppendText(*nextText++);
        }
        text += '\n';
    }
    output.Pass();
}

}
