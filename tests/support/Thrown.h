#pragma once

#include "Vondrel/Utilities/Exceptions/DeviceDriverException.h"
#include "Vondrel/Utilities/Exceptions/ResourceException.h"
#include "Vondrel/Utilities/Exceptions/TypeName.h"

#include <gtest/gtest.h>

#include <string>

/// Each line of a trace reads "Class::Method(): folder/File.cpp:1": what is named like the file is no method of another
/// class.
inline void ExpectPlaces(const Vondrel::Utilities::Exceptions::TraceableException& failure)
{
    for (const std::string& line : failure.Trace()) {
        const auto method = line.find("::"), file = line.rfind('/');
        if (method == 0 || method == std::string::npos || file == std::string::npos)
            continue;
        const std::string name = line.substr(file + 1, line.rfind('.') - file - 1);
        EXPECT_TRUE(line.substr(method + 2).rfind(name + "(", 0) != 0 || line.rfind(name + "::", 0) == 0) << line;
    }
}

/// Class and text of what an action throws: "IOException: read data failed", or "nothing".
template<typename Action>
std::string Thrown(Action&& action)
{
    try {
        action();
    } catch (const std::exception& e) {
        if (const auto* traced = dynamic_cast<const Vondrel::Utilities::Exceptions::TraceableException*>(&e))
            ExpectPlaces(*traced);
        const std::string type = Vondrel::Utilities::Exceptions::TypeName(typeid(e));
        return type.substr(type.rfind(':') + 1) + ": " + e.what();
    }
    return "nothing";
}
