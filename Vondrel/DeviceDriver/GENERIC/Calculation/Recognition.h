#pragma once

#include "Vondrel/DeviceDriver/GENERIC/Calculation/SpectrumData.h"

#include <vector>

namespace Vondrel::DeviceDriver::Generic::Calculation {

/// What is made of a series of results before the application sees it.
class Recognition {
public:
    virtual ~Recognition() = default;

    /// Makes results of what was measured.
    /// @param recognized  receives them
    /// @return false if nothing could be done with the input
    virtual bool Execute(const std::vector<SpectrumData>& measured, std::vector<SpectrumData>& recognized) = 0;
};

}
