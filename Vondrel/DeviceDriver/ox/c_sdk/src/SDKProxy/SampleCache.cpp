#include "Vondrel/DeviceDriver/ox/c_sdk/src/SDKProxy/SampleCache.h"

#include "Vondrel/Utilities/Exceptions/SDKError.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"
#include "Vondrel/Utilities/Tools/LexicalCast.h"
#include "orvex/ox.h"

#include <string>

namespace OrvexSDK {

SampleCache& SampleCache::operator=(const std::vector<SpectrumData>& results)
try {
    std::vector<std::vector<float>> replacement;
    replacement.reserve(results.size());
    for (const SpectrumData& result : results)
        replacement.emplace_back(result.LoadData());
    samples.swap(replacement);
    return *this;
}
TRACE_GUARD("SampleCache", "operator=")

SampleCache& SampleCache::operator=(const std::vector<float>& sample)
try {
    samples.assign(1, sample);
    return *this;
}
TRACE_GUARD("SampleCache", "operator=(vector<float>")

const std::vector<float>& SampleCache::operator[](std::uint32_t index) const
try {
    if (index == 0xFFFFFFFF)
        index = 0;
    if (index >= samples.size()) {
        const auto number = Vondrel::Utilities::Tools::lexical_cast<std::string>(index);
        throw SDKError(OX_IndexOutOfRange, "index " + number + " out of range",
                       THROW_LOCATION("SampleCache", "operator[]"));
    }
    return samples[index];
}
TRACE_GUARD("SampleCache", "operator[]")

}
