#include "Vondrel/DeviceDriver/ox/LowLevel/RawTransform.h"

#include "Vondrel/DeviceDriver/GENERIC/Configuration/EndianConversion.h"
#include "Vondrel/Utilities/Exceptions/DeviceDriverException.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"

namespace Vondrel::DeviceDriver::ox {

namespace {

constexpr std::size_t wordCount = 127;
constexpr std::int32_t wordRange = 65536;

std::int32_t WordAt(std::span<const std::uint8_t> block, std::size_t word)
{
    const auto value = Generic::Configuration::EndianConversion::ByteArrayToShort(block.data() + 2 * word);
    return static_cast<std::uint16_t>(value);
}

std::int32_t MeanOffset(std::span<const std::uint8_t> blocks, std::size_t count)
{
    std::uint64_t sum = 0;
    for (std::size_t i = 0; i < count; ++i)
        sum += static_cast<std::uint64_t>(WordAt(blocks.subspan(i * measurementBlockSize), wordCount));
    return static_cast<std::int32_t>(sum / count);
}

RawSpectrum TransformBlock(std::span<const std::uint8_t> block, std::int32_t offset, std::int32_t overflowThreshold)
{
    RawSpectrum spectrum(rawSpectrumSize);
    for (std::size_t word = 0; word < wordCount; ++word) {
        const auto value = WordAt(block, word) - offset;
        spectrum[word] = value > overflowThreshold ? value - wordRange : value;
    }
    spectrum[127] = spectrum[126];
    spectrum[0] = spectrum[1];
    return spectrum;
}

}

void TransformRawSpectra(std::span<const std::uint8_t> blocks, bool withOffsets, std::int32_t overflowThreshold,
                         std::vector<RawSpectrum>& result)
try {
    const auto count = blocks.size() / measurementBlockSize;
    if (count == 0)
        throw DataException("No measurement block", THROW_LOCATION("", "TransformRawSpectra"));
    const auto offset = withOffsets ? MeanOffset(blocks, count) : 0;
    for (std::size_t i = 0; i < count; ++i)
        result.push_back(TransformBlock(blocks.subspan(i * measurementBlockSize), offset, overflowThreshold));
}
TRACE_GUARD("", "TransformRawSpectra")

}
