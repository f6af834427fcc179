#include "Vondrel/DeviceDriver/GENERIC/Calculation/RecognitionCallbacks.h"

namespace Vondrel::DeviceDriver::Generic::Calculation {

namespace {

FloatCallback floatCallback = nullptr;
LongCallback longCallback = nullptr;

}

void SetRecognitionCallbacks(FloatCallback floats, LongCallback longs)
{
    floatCallback = floats;
    longCallback = longs;
}

bool RecognitionIsReported()
{
    return floatCallback != nullptr && longCallback != nullptr;
}

void Report(RecognitionChannel channel, const std::vector<float>& values)
{
    if (RecognitionIsReported())
        floatCallback(static_cast<std::uint32_t>(channel), values.data(), static_cast<std::uint32_t>(values.size()));
}

void Report(RecognitionChannel channel, const std::vector<std::int32_t>& values)
{
    if (RecognitionIsReported())
        longCallback(static_cast<std::uint32_t>(channel), values.data(), static_cast<std::uint32_t>(values.size()));
}

}
