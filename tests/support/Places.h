#pragma once

#include <string>

/// Whether a line of a trace reads as one should, "Class::Method(): folder/File.cpp:1": what is named like the file is
/// no method of another class.
inline bool IsPlace(const std::string& line)
{
    const auto method = line.find("::"), file = line.rfind('/');
    if (method == 0 || method == std::string::npos || file == std::string::npos)
        return true; // a free function, or no place at all
    const std::string name = line.substr(file + 1, line.rfind('.') - file - 1);
    return !line.substr(method + 2).starts_with(name + "(") || line.starts_with(name + "::");
}
