#pragma once

#include "Vondrel/DeviceDriver/GENERIC/Calculation/Recognition.h"
#include "Vondrel/DeviceDriver/ox/c_sdk/src/SDKProxy/ColorMetryProvider.h"
#include "Vondrel/DeviceDriver/ox/c_sdk/src/SDKProxy/DummyRecognition.h"
#include "Vondrel/DeviceDriver/ox/c_sdk/src/SDKProxy/SampleCache.h"
#include "Vondrel/DeviceDriver/ox/c_sdk/src/SDKProxy/Vocabulary.h"
#include "Vondrel/Utilities/Tools/SmartPointer.h"

#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace OrvexSDK {

/// Plain options by key; an unknown one is empty. A look at a known one takes nothing from the heap.
class PlainOptions {
public:
    std::string& operator[](std::string_view key)
    {
        const auto found = values.find(key);
        return found != values.end() ? found->second : values.emplace(key, "").first->second;
    }

    /// Null for an unknown key.
    const std::string* Find(std::string_view key) const
    {
        const auto found = values.find(key);
        return found != values.end() ? &found->second : nullptr;
    }

private:
    std::map<std::string, std::string, std::less<>> values;
};

/// What the library remembers for one measure mode: samples, conditions, the recognition of samples, plain options.
struct ModeState {
    using Recognition = Vondrel::DeviceDriver::Generic::Calculation::Recognition;
    using Options = PlainOptions;

    SampleCache cache;
    ColorMetryProvider provider;
    Vondrel::Utilities::Tools::SmartPointer<Recognition> recognition{new DummyRecognition};
    Options options = InitialOptions();

    static Options InitialOptions()
    {
        Options initial;
        for (const OptionRow& row : optionTable)
            if (row.initial != nullptr)
                initial[row.key] = row.initial;
        return initial;
    }
};

}
