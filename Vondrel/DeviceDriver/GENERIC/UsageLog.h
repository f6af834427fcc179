#pragma once

#include "Vondrel/DeviceDriver/GENERIC/Configuration/Property.h"

#include <cstdint>

namespace Vondrel::DeviceDriver::Generic {

/// What an instrument remembers of its own use: counters, and its last calibration. By the ids from 10000 on.
class UsageLog {
public:
    virtual ~UsageLog() = default;

    /// @throws ResourceException "id ... doesn't exist"
    virtual const Configuration::Property& GetItem(std::uint16_t id) const = 0;
    virtual void SetItem(std::uint16_t id, const Configuration::Property& value) = 0;

protected:
    UsageLog() = default;
    UsageLog(const UsageLog&) = default;
    UsageLog& operator=(const UsageLog&) = default;
};

}
