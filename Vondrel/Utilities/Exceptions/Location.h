#pragma once

#include <string>

namespace Vondrel::Utilities::Exceptions {

/// The text of one trace entry: className "::" methodName "(): " file ":" line.
/// @param className  empty in a free function
std::string MakeLocation(const char* className, const char* methodName, const char* file, int line);

}

/// The location of a throw site, the last argument of every exception's constructor.
#define THROW_LOCATION(className, methodName)                                                                          \
    ::Vondrel::Utilities::Exceptions::MakeLocation(className, methodName, __FILE__, __LINE__)
