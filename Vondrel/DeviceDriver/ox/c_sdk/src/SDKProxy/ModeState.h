#pragma once

#include "Vondrel/DeviceDriver/GENERIC/Calculation/Recognition.h"
#include "Vondrel/DeviceDriver/ox/c_sdk/src/SDKProxy/ColorMetryProvider.h"
#include "Vondrel/DeviceDriver/ox/c_sdk/src/SDKProxy/DummyRecognition.h"
#include "Vondrel/DeviceDriver/ox/c_sdk/src/SDKProxy/SampleCache.h"
#include "Vondrel/DeviceDriver/ox/c_sdk/src/SDKProxy/Vocabulary.h"
#include "Vondrel/Utilities/Tools/SmartPointer.h"

#include <map>
#include <string>

namespace OrvexSDK {

/// What the library remembers for one measure mode: samples, conditions, the recognition of samples, plain options.
struct ModeState {
    using Recognition = Vondrel::DeviceDriver::Generic::Calculation::Recognition;
    using Options = std::map<std::string, std::string>;

    SampleCache cache;
    ColorMetryProvider provider;
    Vondrel::Utilities::Tools::SmartPointer<Recognition> recognition{new DummyRecognition};
    Options options = InitialOptions();

    static Options InitialOptions()
    {
        Options initial;
        for (const OptionRow& row : optionTable)
            if (row.initial != nullptr)
                initial.emplace(row.key, row.initial);
        return initial;
    }
};

}
