#pragma once

#include "apps/ox/library/Conditions.h"
#include "apps/ox/table/Batch.h"

namespace Ox {

/// Which of a file's numbers are spectra and colours.
struct Content {
    std::vector<std::size_t> bands; ///< places among the numbers, from the shortest wavelength on
    double firstNm = 0, stepNm = 0;
    const SpaceRow* space = nullptr;    ///< of the colours; null: there are none
    std::array<std::size_t, 3> color{}; ///< places among the numbers

    bool HasSpectra() const { return !bands.empty(); }
    /// Are the numbers just the library's 36 bands in a row?
    bool IsPlain(std::size_t numbers) const;
};

/// @throws Failure: the wavelengths have no even step
Content ContentOf(const Schema& schema);

/// Is this a file of lights, by its remark of the measurement mode?
bool IsOfLight(const Schema& schema);

/// Takes the conditions that a file names where the person has not said otherwise.
void ApplyRemarks(Conditions& conditions, const Schema& schema, bool illuminantGiven, bool observerGiven);

/// The spectra of a batch on the library's 36 bands, count x 36; a row with a missing value is NaN.
/// @param spectra  kept from batch to batch
/// @return the rows, in `spectra` or in the batch itself
const float* SpectraOf(const Library& library, const Content& content, const Batch& batch, std::vector<float>& spectra);

/// The colours of a batch in the space of the conditions, from its spectra or else from its colours: count x 3.
/// @throws Failure: the library does not convert so
void ColorsOf(const Conditions& conditions, const Content& content, const Batch& batch, const float* spectra,
              float* colors);

/// Leaves out what the library says of single rows: those have become NaN.
/// @throws Failure: the call as a whole was refused
void CheckRows(const Conditions& conditions, int32_t result);

}
