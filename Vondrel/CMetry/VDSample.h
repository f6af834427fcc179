#pragma once

#include "Vondrel/CMetry/VDSpectrum.h"

#include <cstdint>
#include <list>

namespace Vondrel::CMetry {

/// A list of spectra in the order of their addition; it speaks for itself with the first.
class VDSample {
public:
    /// Compares the first spectra; false if one of the samples is empty.
    bool operator==(const VDSample& other) const;

    /// Appends all spectra of another sample.
    /// @return how many there are now
    std::uint16_t AddSample(const VDSample& other);

    /// Appends a spectrum.
    void SetSpectrum(const VDSpectrum& spectrum);

    /// Copies the first spectrum, whatever the selector.
    /// @return false if there is none
    bool GetSpectrum(std::int32_t selector, VDSpectrum& result) const;
    /// The first spectrum in place, or null.
    const VDSpectrum* FindSpectrum() const noexcept { return spectra.empty() ? nullptr : &spectra.front(); }

private:
    std::list<VDSpectrum> spectra;
};

}
