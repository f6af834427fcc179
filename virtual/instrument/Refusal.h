#pragma once

#include "virtual/orvex-virtual.h"

#include <cstdint>
#include <stdexcept>
#include <string>

namespace Virtual {

/// A call on the bench that is turned down. It carries one of the negative OXV_ codes, and the words that
/// oxv_last_error() gives. Whoever throws it has changed nothing.
class Refusal : public std::runtime_error {
public:
    Refusal(std::int32_t oxvCode, const std::string& words) : std::runtime_error(words), code(oxvCode) { }

    std::int32_t Code() const noexcept { return code; }

private:
    std::int32_t code;
};

}
