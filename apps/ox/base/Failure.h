#pragma once

#include <stdexcept>
#include <string>

namespace Ox {

/// The exit status of the program.
enum class Status { Good = 0, Failed = 1, Usage = 2, NoInstrument = 3, Refused = 4 };

/// What ends a command early: a sentence for the person, and the exit status.
class Failure : public std::runtime_error {
public:
    /// @param trace  the way of the failure through the library, shown by -v; may be empty
    Failure(Status endsWith, const std::string& sentence, std::string wayThroughLibrary = "")
        : std::runtime_error(sentence), status(endsWith), trace(std::move(wayThroughLibrary))
    {
    }

    Status GetStatus() const { return status; }
    const std::string& GetTrace() const { return trace; }

private:
    Status status;
    std::string trace;
};

}
