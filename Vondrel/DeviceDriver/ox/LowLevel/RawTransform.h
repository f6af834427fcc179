#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace Vondrel::DeviceDriver::ox {

/// Bytes in which the instrument delivers one spectrum: 127 sensor words and an offset word, each most significant byte
/// first.
inline constexpr std::size_t measurementBlockSize = 256;

/// Counts in a raw spectrum.
inline constexpr std::size_t rawSpectrumSize = 128;
using RawSpectrum = std::vector<std::int32_t>;

/// Turns measurement blocks into raw spectra. The offset words, if there are any, are averaged over all blocks and
/// subtracted; what is above the threshold then is negative. The outermost two counts copy their neighbours.
/// @param blocks  at least one; bytes behind the last whole block are ignored
/// @param result  gets the spectra appended
/// @throws DataException  no block
void TransformRawSpectra(std::span<const std::uint8_t> blocks, bool withOffsets, std::int32_t overflowThreshold,
                         std::vector<RawSpectrum>& result);

}
