#pragma once

#include <cstdint>
#include <vector>

namespace Vondrel::DeviceDriver::Generic::Calculation {

/// What a recognition reports about itself to a host that watches it. Channels 0 to 7 carry floats, 8 to 10 integers.
enum class RecognitionChannel : std::uint32_t {
    Lightness,       ///< L* of each reading but the last
    RedGreen,        ///< a* of each reading but the last
    YellowBlue,      ///< b* of each reading but the last
    Differences,     ///< delta E of each reading and the next
    EdgeLevels,      ///< the delta E above which a difference is an edge
    PatchLightness,  ///< L* of each patch found
    PatchRedGreen,   ///< a* of each patch found
    PatchYellowBlue, ///< b* of each patch found
    PatchPositions,  ///< where each patch lies, as an index into the readings
    Irregularity,    ///< of the spacing of the patches, in readings, at most 99
    Spacing,         ///< of the patches, 0 to 99, higher when they lie closer together
};

using FloatCallback = void (*)(std::uint32_t channel, const float* values, std::uint32_t count);
using LongCallback = void (*)(std::uint32_t channel, const std::int32_t* values, std::uint32_t count);

/// Sets the two callbacks of the process, which a recognition calls on its own thread. With one of them null there are
/// no reports. Not to be called while a recognition runs.
void SetRecognitionCallbacks(FloatCallback floats, LongCallback longs);

/// True if both callbacks are set.
bool RecognitionIsReported();

// Hand values to the callback, if both are set.

void Report(RecognitionChannel channel, const std::vector<float>& values);
void Report(RecognitionChannel channel, const std::vector<std::int32_t>& values);

}
