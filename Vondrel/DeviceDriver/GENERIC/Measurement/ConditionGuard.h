#pragma once

#include "Vondrel/DeviceDriver/GENERIC/HighLevelDriver.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace Vondrel::DeviceDriver::Generic::Measurement {

/// Remembers conditions of a handle and writes them back when it goes.
template<std::size_t count>
class ConditionGuard {
public:
    /// Writes back in the order of `ids`.
    ConditionGuard(HighLevelDriver& handle_, const std::array<std::uint16_t, count>& ids) : handle(handle_)
    {
        for (std::size_t i = 0; i < count; ++i)
            remembered[i] = {ids[i], handle.GetPhysicalCondition(ids[i])};
    }
    ConditionGuard(const ConditionGuard&) = delete;
    ConditionGuard& operator=(const ConditionGuard&) = delete;

    ~ConditionGuard()
    {
        try {
            for (const auto& [id, value] : remembered)
                handle.SetPhysicalCondition(id, value);
        } catch (...) {
            // Only memory can be short here; the failure in flight says more.
        }
    }

private:
    HighLevelDriver& handle;
    std::array<std::pair<std::uint16_t, Configuration::Property>, count> remembered;
};

}
