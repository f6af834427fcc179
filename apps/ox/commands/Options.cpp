#include "apps/ox/commands/Options.h"

#include "apps/ox/base/Failure.h"
#include "apps/ox/base/Terminal.h"

namespace Ox {

void OutputOptions::AddTo(CLI::App& command)
{
    command.add_option("--format", format, "table, csv, tsv, json or cgats (default: as FILE ends, else table)")
        ->type_name("F");
    command.add_option("-o,--output", path, "a file instead of the standard output")->type_name("FILE");
}

Format OutputOptions::GetFormat() const
{
    if (!format.empty())
        return FormatOf(format);
    const std::string end =
        path.substr(path.find_last_of("./") == std::string::npos ? path.size() : path.find_last_of("./"));
    for (const std::string& name : formatNames)
        if (LowerCase(end) == "." + name)
            return FormatOf(name);
    return Format::Table;
}

void ConditionOptions::AddTo(CLI::App& command, std::initializer_list<Condition> conditions)
{
    for (const Condition condition : conditions) {
        const ConditionRow& row = RowOf(condition);
        const std::string preset = row.preset != nullptr ? std::string(" (default ") + row.preset + ")" : "";
        command.add_option(row.option, values[static_cast<std::size_t>(condition)], row.help + preset)
            ->type_name("T")
            ->group("Conditions");
    }
}

void ConditionOptions::AddTo(CLI::App& command)
{
    AddTo(command,
          {Condition::Illuminant, Condition::Observer, Condition::White, Condition::Space, Condition::Density,
           Condition::Filter});
}

void ConditionOptions::Apply(Conditions& conditions) const
{
    for (std::size_t i = 0; i < values.size(); ++i)
        if (!values[i].empty())
            conditions.Set(static_cast<Condition>(i), values[i]);
}

void InstrumentOptions::AddTo(CLI::App& command)
{
    command.add_option("--device", device, "Orvex, Orvex1 ..., or OrvexDisplay; see ox list")
        ->type_name("TYPE")
        ->group("Instrument");
    command.add_option("--screen", screen, "of a colorimeter: LCD or CRT")
        ->type_name("S")
        ->capture_default_str()
        ->group("Instrument");
    command.add_option("--set", settings, "an option of the instrument for this run, KEY=VALUE")
        ->type_name("K=V")
        ->group("Instrument")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    command.add_flag("-y,--yes", yes, "do not ask: everything is in its place")->group("Instrument");
}

Instrument& InstrumentOptions::Connect(Session& session) const
{
    Choose(screen, "screen", {"LCD", "CRT"});
    Instrument& instrument = session.GetInstrument();
    CatchInterrupts();
    instrument.Connect(device);
    if (instrument.IsColorimeter()) {
        instrument.Set("ScreenType", screen);
        instrument.Set("PatchIntensity", "Auto");
    }
    for (const std::string& setting : settings) {
        const auto equals = setting.find('=');
        if (equals == std::string::npos)
            throw Failure(Status::Usage, "--set takes KEY=VALUE, not \"" + setting + "\"");
        instrument.Set(setting.substr(0, equals), setting.substr(equals + 1));
    }
    return instrument;
}

void SetExamples(CLI::App& command, const std::string& first, const std::string& second)
{
    command.footer("Examples:\n  " + first + "\n  " + second);
}

void CalibrateFor(const ModeRow& mode, Instrument& instrument, Stage& stage, bool quiet)
{
    stage.ForCalibration(mode, instrument);
    const Progress progress("calibrating", quiet);
    instrument.Calibrate();
}

std::vector<Remark> RemarksOf(const Conditions& conditions, bool withDensity)
{
    std::vector<Remark> remarks = {{"ILLUMINANT", conditions.Get(Condition::Illuminant)},
                                   {"OBSERVER", conditions.Get(Condition::Observer)},
                                   {"WHITE_BASE", conditions.Get(Condition::White)}};
    if (withDensity)
        remarks.push_back({"DENSITY_STANDARD", conditions.Get(Condition::Density)});
    return remarks;
}

}
