#pragma once

#include "Vondrel/Utilities/Exceptions/DeviceDriverException.h"
#include "Vondrel/Utilities/Exceptions/ResourceException.h"
#include "Vondrel/Utilities/Exceptions/TypeName.h"
#include "tests/support/Places.h"

#include <gtest/gtest.h>

#include <string>

/// Class and text of what an action throws: "IOException: read data failed", or "nothing".
template<typename Action>
std::string Thrown(Action&& action)
{
    try {
        action();
    } catch (const std::exception& e) {
        if (const auto* traced = dynamic_cast<const Vondrel::Utilities::Exceptions::TraceableException*>(&e)) {
            for (const std::string& line : traced->Trace())
                EXPECT_TRUE(IsPlace(line)) << line;
        }
        const std::string type = Vondrel::Utilities::Exceptions::TypeName(typeid(e));
        return type.substr(type.rfind(':') + 1) + ": " + e.what();
    }
    return "nothing";
}
