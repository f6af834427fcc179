#pragma once

#include "Vondrel/Utilities/Exceptions/DeviceDriverException.h"
#include "Vondrel/Utilities/Exceptions/ResourceException.h"
#include "Vondrel/Utilities/Exceptions/TypeName.h"

#include <string>

/// Class and text of what an action throws: "IOException: read data failed", or "nothing".
template<typename Action>
std::string Thrown(Action&& action)
{
    try {
        action();
    } catch (const std::exception& e) {
        const std::string type = Vondrel::Utilities::Exceptions::TypeName(typeid(e));
        return type.substr(type.rfind(':') + 1) + ": " + e.what();
    }
    return "nothing";
}
