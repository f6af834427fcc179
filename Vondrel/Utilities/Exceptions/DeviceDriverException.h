#pragma once

#include "Vondrel/Utilities/Exceptions/ExceptionAdapter.h"

/// Base of all failures of the driver.
struct DeviceDriverException : Vondrel::Utilities::Exceptions::RuntimeException {
    using RuntimeException::RuntimeException;
};

/// Transport or device failed. The only one that an exported call reports as "device not connected".
struct IOException : DeviceDriverException {
    using DeviceDriverException::DeviceDriverException;
};

/// The device did not answer in time.
struct TimeoutException : DeviceDriverException {
    using DeviceDriverException::DeviceDriverException;
};

/// The data from or for the device are invalid.
struct DataException : DeviceDriverException {
    using DeviceDriverException::DeviceDriverException;
};

/// The driver's calculation failed.
struct CalculationException : DeviceDriverException {
    using DeviceDriverException::DeviceDriverException;
};
