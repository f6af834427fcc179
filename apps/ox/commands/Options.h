#pragma once

#include "apps/ox/Session.h"

#include <CLI/CLI.hpp>

namespace Ox {

/// --format and --output: where the rows go.
struct OutputOptions {
    std::string format; ///< "": as the file's name ends, else a table
    std::string path;

    void AddTo(CLI::App& command);
    Format GetFormat() const;
};

/// The colorimetric conditions as options.
struct ConditionOptions {
    std::array<std::string, conditionTable.size()> values; ///< "" where the person said nothing

    void AddTo(CLI::App& command, std::initializer_list<Condition> conditions);
    void AddTo(CLI::App& command);
    bool IsGiven(Condition condition) const { return !values[static_cast<std::size_t>(condition)].empty(); }
    /// @throws Failure: a value is not accepted
    void Apply(Conditions& conditions) const;
};

/// What every command with an instrument takes.
struct InstrumentOptions {
    std::string device;
    std::string screen = "LCD";
    bool yes = false;
    std::vector<std::string> settings;

    void AddTo(CLI::App& command);
    /// Chooses the device and sets its options.
    Instrument& Connect(Session& session) const;
    Stage& GetStage(Session& session) const { return session.GetStage(!yes); }
};

/// Two examples under a command's help.
void SetExamples(CLI::App& command, const std::string& first, const std::string& second);

/// Calibrates for a mode: the stage first, then the instrument.
void CalibrateFor(const ModeRow& mode, Instrument& instrument, Stage& stage, bool quiet);

/// The remarks that name the conditions.
std::vector<Remark> RemarksOf(const Conditions& conditions, bool withDensity);

}
