#pragma once

#include "apps/ox/commands/Options.h"

namespace Ox {

/// What is written of a sample.
struct Contents {
    bool color = true, spectrum = false, density = false;
    bool filtered = false; ///< of the densities the one by the filter
};

/// --columns: which of them, "" for what the format is best for.
struct ContentOptions {
    std::string columns;

    void AddTo(CLI::App& command);
    /// Without a word from the person: a table has colours, and densities where a density standard was given; the other
    /// formats have the spectra besides.
    /// @throws Failure: a word is none
    Contents Choose(Format format, const ConditionOptions& conditions) const;
};

/// Writes the instrument's samples, one row each, as they come.
class SampleRows {
public:
    /// @param conditions  set in the instrument, for the mode that is current
    SampleRows(const Instrument& measured, const ModeRow& mode, const Conditions& conditions, Contents wanted,
               const OutputOptions& options);

    /// @param name  "" for none
    void Add(std::size_t sample, const std::string& name = "");
    /// Adds a spectrum that did not come as a sample of its own.
    void AddSpectrum(const float* spectrum, const std::string& name = "");
    void Show() { Pass(), writer->Show(); }
    void End() { Pass(), writer->End(); }
    bool IsClosed() const { return output.IsClosed(); }

private:
    std::span<float> AddRow(const std::string& name);
    void Pass();

    const Instrument& instrument;
    const Conditions& colors;
    Contents contents;
    Output output;
    bool swatches;
    std::unique_ptr<Sink> writer;
    Batch batch;
    std::size_t number = 0;
};

}
