#pragma once

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

/// One row of a data file: its columns without the blanks around them.
using Row = std::vector<std::string>;

/// The rows of a file whose columns stand between "|". Lines that are empty or start with "#" are
/// none.
inline std::vector<Row> ReadRows(const std::string& path)
{
    std::ifstream file(path);
    std::vector<Row> rows;
    for (std::string line; std::getline(file, line);) {
        if (line.empty() || line[0] == '#')
            continue;
        Row row;
        std::istringstream columns(line + " ");
        for (std::string column; std::getline(columns, column, '|');) {
            const std::size_t first = column.find_first_not_of(' ');
            row.push_back(first == std::string::npos ? ""
                                                     : column.substr(first, column.find_last_not_of(' ') + 1 - first));
        }
        rows.push_back(row);
    }
    return rows;
}

/// The numbers of a text, whatever stands between them.
inline std::vector<double> Numbers(std::string text)
{
    for (char& c : text)
        if (c == ',' || c == '/')
            c = ' ';
    std::istringstream stream(text);
    std::vector<double> numbers;
    for (std::string number; stream >> number;)
        numbers.push_back(std::stod(number));
    return numbers;
}
