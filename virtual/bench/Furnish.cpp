#include "virtual/bench/Furnish.h"

#include "virtual/bench/Bench.h"
#include "virtual/instrument/Refusal.h"

#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace Virtual {

namespace {

void AttachOne(Bench& bench, std::string_view item)
{
    const auto at = item.find('@');
    const bool placed = at != std::string_view::npos;
    try {
        bench.Attach(item.substr(0, at), placed ? item.substr(at + 1) : "usb");
    } catch (const Refusal& refusal) {
        std::fprintf(stderr, "ORVEX_BENCH: %s\n", refusal.what());
    }
}

}

void FurnishFromEnvironment(Bench& bench)
{
    const char* const variable = std::getenv("ORVEX_BENCH");
    std::string_view rest = variable == nullptr ? "" : variable;
    while (!rest.empty()) {
        const auto comma = rest.find(',');
        AttachOne(bench, rest.substr(0, comma));
        rest = comma == std::string_view::npos ? "" : rest.substr(comma + 1);
    }
}

}
