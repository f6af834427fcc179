#include "apps/ox/table/TableWriter.h"

#include "apps/ox/base/Numbers.h"

#include <algorithm>

namespace Ox {

namespace {

constexpr std::size_t screenful = 200;
constexpr std::size_t widthOfNumber = 7;
constexpr std::size_t widthOfSwatch = 3;

/// How many places a text takes: its characters, each one place wide.
std::size_t Width(const std::string& text)
{
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xC0) != 0x80; }));
}

/// Without what would move the terminal's cursor.
std::string Harmless(std::string text)
{
    for (char& letter : text)
        if (static_cast<unsigned char>(letter) < ' ' || letter == 0x7f)
            letter = '?';
    return text;
}

}

void TableWriter::Begin(const Schema& written)
{
    columns = written.columns;
    for (const Column& column : columns)
        widths.push_back(std::max(Width(column.head), column.IsNumber() ? widthOfNumber : 0));
}

void TableWriter::Take(const Batch& batch)
{
    for (std::size_t row = 0; row < batch.Count(); ++row) {
        const std::string* nextText = batch.Texts(row).data();
        const float* nextNumber = batch.Numbers(row).data();
        std::vector<std::string> cells;
        for (const Column& column : columns)
            cells.push_back(column.IsNumber() ? FixedNumber(*nextNumber++, column.decimals) : Harmless(*nextText++));
        waiting.push_back(std::move(cells));
        if (swatches && row < batch.swatches.size())
            waitingSwatches.push_back(batch.swatches[row]);
    }
    if (waiting.size() >= screenful)
        Show();
}

void TableWriter::Show()
{
    if (!begun) {
        for (const auto& cells : waiting)
            for (std::size_t i = 0; i < cells.size(); ++i)
                widths[i] = std::max(widths[i], Width(cells[i]));
        std::vector<std::string> heads;
        for (const Column& column : columns)
            heads.push_back(column.head);
        AppendLine(heads, nullptr);
        begun = true;
    }
    for (std::size_t row = 0; row < waiting.size(); ++row)
        AppendLine(waiting[row], row < waitingSwatches.size() ? &waitingSwatches[row] : nullptr);
    waiting.clear();
    waitingSwatches.clear();
    output.Flush();
}

void TableWriter::AppendLine(const std::vector<std::string>& cells, const Swatch* swatch)
{
    std::string line;
    for (std::size_t i = 0; i < cells.size(); ++i) {
        const std::size_t width = Width(cells[i]);
        const std::string blanks(widths[i] - std::min(width, widths[i]), ' ');
        line += i > 0 ? "  " : "";
        line += columns[i].IsNumber() ? blanks + cells[i] : cells[i] + blanks;
    }
    line.erase(line.find_last_not_of(' ') + 1);
    std::string& text = output.GetText();
    if (swatch != nullptr) {
        text += "\x1b[48;2;" + std::to_string((*swatch)[0]) + ";" + std::to_string((*swatch)[1]) + ";"
            + std::to_string((*swatch)[2]);
        text += "m" + std::string(widthOfSwatch, ' ') + "\x1b[0m ";
    } else if (swatches)
        text += std::string(widthOfSwatch + 1, ' ');
    text += line + "\n";
}

}
