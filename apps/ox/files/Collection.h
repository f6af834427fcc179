#pragma once

#include "apps/ox/files/Content.h"

namespace Ox {

/// The rows of a file, all at once: their names, and their spectra or colours.
class Collection : public Sink {
public:
    explicit Collection(const Library& calls) : library(calls) { }

    void Begin(const Schema& read) override;
    void Take(const Batch& batch) override;

    /// Adds a row that was measured.
    void AddSpectrum(const std::string& name, const float* spectrum);

    std::size_t Count() const { return names.size(); }
    bool HasSpectra() const { return content.HasSpectra(); }
    const Schema& GetSchema() const { return schema; }
    /// Of each row its "sample_name", or its "sample_id" where it has none.
    const std::vector<std::string>& GetNames() const { return names; }
    /// Count() x 36; empty without spectra.
    const std::vector<float>& GetSpectra() const { return spectra; }
    /// Count() x 3 in CIELab under the conditions.
    /// @throws Failure: there is no way to them
    std::vector<float> GetLabs(const Conditions& conditions) const;

private:
    const Library& library;
    Schema schema;
    Content content;
    std::vector<std::string> names;
    std::vector<float> spectra, colors;
    std::size_t namePlace = 0, idPlace = 0; ///< among the texts; their count where there is none
};

/// Reads a file.
/// @throws Failure: it cannot be read, is broken, or has no rows
Collection ReadCollection(const Library& library, const std::string& path, bool quiet);

/// For each row of `reference` the row of `measured` that belongs to it: by their names where these are complete and
/// unique, else by their order.
/// @throws Failure: neither will do
std::vector<std::size_t> Match(const Collection& reference, const Collection& measured);

}
