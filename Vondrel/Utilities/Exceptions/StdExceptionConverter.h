#pragma once

#include <exception>
#include <string>
#include <utility>

namespace Vondrel::Utilities::Exceptions {

/// Turns a standard exception from outside the family into its counterpart in the family.
class StdExceptionConverter {
public:
    /// @param location_  becomes the first trace entry
    explicit StdExceptionConverter(std::string location_) : location(std::move(location_)) { }

    /// Throws the counterpart if the dynamic type of `e` is exactly one of the twelve that have one; otherwise a
    /// RuntimeException whose message is the type's name, a blank and e.what().
    [[noreturn]] void Rethrow(const std::exception& e) const;

private:
    std::string location;
};

}
