#pragma once

#include "Vondrel/DeviceDriver/GENERIC/Calculation/Recognition.h"

namespace OrvexSDK {

/// Takes every reading for a sample.
class DummyRecognition : public Vondrel::DeviceDriver::Generic::Calculation::Recognition {
public:
    using SpectrumData = Vondrel::DeviceDriver::Generic::Calculation::SpectrumData;

    bool Execute(const std::vector<SpectrumData>& measured, std::vector<SpectrumData>& recognized) override
    {
        recognized = measured;
        return true;
    }
};

}
