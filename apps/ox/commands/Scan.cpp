#include "apps/ox/base/Failure.h"
#include "apps/ox/base/Terminal.h"
#include "apps/ox/commands/Commands.h"
#include "apps/ox/commands/Samples.h"
#include "apps/ox/commands/Strip.h"
#include "apps/ox/files/Collection.h"

namespace Ox {

namespace {

struct ScanOptions {
    InstrumentOptions instrument;
    ConditionOptions conditions;
    OutputOptions output;
    ContentOptions contents;
    std::string reference;
    std::size_t patches = 0;
    bool raw = false;
};

/// By the instrument's own recognition.
void ScanByRecognition(Instrument& instrument, Stage& stage, SampleRows& rows, bool quiet)
{
    const ModeRow& mode = ModeOf("scan");
    CalibrateFor(mode, instrument, stage, quiet);
    instrument.Set("Recognition", "yes");
    if (!stage.ForMeasurement(mode, instrument, 0, false))
        throw Failure(Status::Failed, "ended before the scan");
    std::size_t count = 0;
    {
        const Progress progress("scanning", quiet);
        count = instrument.Measure();
    }
    for (std::size_t i = 0; i < count; ++i)
        rows.Add(i);
    rows.End();
    Tell(std::to_string(count) + " patches recognised by the instrument", quiet);
}

/// By the number of patches, and their reference.
void ScanByNumber(const ScanOptions& options, const Conditions& conditions, const Collection* reference,
                  SampleRows& rows, Instrument& instrument, Stage& stage, bool quiet)
{
    const std::vector<float> readings = ScanReadings(instrument, stage, quiet);
    const std::size_t count = readings.size() / OXC_BANDS;
    if (options.raw) {
        for (std::size_t i = 0; i < count; ++i)
            rows.AddSpectrum(&readings[i * OXC_BANDS]);
        rows.End();
        return Tell(std::to_string(count) + " readings", quiet);
    }
    const std::size_t patches = reference != nullptr ? reference->Count() : options.patches;
    const Strip strip = FindPatches(conditions, readings, patches,
                                    reference != nullptr ? reference->GetLabs(conditions) : std::vector<float>());
    for (std::size_t i = 0; i < patches; ++i)
        rows.AddSpectrum(&strip.spectra[i * OXC_BANDS], reference != nullptr ? reference->GetNames()[i] : "");
    rows.End();
    Tell(strip.Describe(), quiet);
}

void Run(Session& session, const ScanOptions& options)
{
    Conditions conditions(session.GetLibrary());
    options.conditions.Apply(conditions);
    std::optional<Collection> reference;
    if (!options.reference.empty())
        reference.emplace(ReadCollection(session.GetLibrary(), options.reference, session.quiet));
    if (reference && options.patches > 0 && options.patches != reference->Count())
        throw Failure(Status::Refused,
                      "the reference has " + std::to_string(reference->Count()) + " patches, not "
                          + std::to_string(options.patches));

    Instrument& instrument = options.instrument.Connect(session);
    Stage& stage = options.instrument.GetStage(session);
    const ModeRow& mode = ModeOf("scan");
    instrument.Set("MeasurementMode", mode.mode);
    instrument.SetConditions(conditions);
    SampleRows rows(instrument, mode, conditions,
                    options.contents.Choose(options.output.GetFormat(), options.conditions), options.output);
    if (reference || options.patches > 0 || options.raw)
        ScanByNumber(options, conditions, reference ? &*reference : nullptr, rows, instrument, stage, session.quiet);
    else
        ScanByRecognition(instrument, stage, rows, session.quiet);
}

}

void AddScan(CLI::App& program, Session& session)
{
    CLI::App* const command =
        program.add_subcommand("scan", "measures a strip: its patches, or with --raw its readings");
    const auto options = std::make_shared<ScanOptions>();
    command->add_option("--patches", options->patches, "find so many patches in the readings")
        ->type_name("N")
        ->check(CLI::Range(1, 10000));
    command
        ->add_option("--reference", options->reference, "find the patches of this file, from either end of the strip")
        ->type_name("FILE");
    command->add_flag("--raw", options->raw, "all readings, as they came");
    options->contents.AddTo(*command);
    options->output.AddTo(*command);
    options->conditions.AddTo(*command);
    options->instrument.AddTo(*command);
    SetExamples(*command, "ox scan --virtual chart", "ox scan --virtual chart --patches 24 -o /tmp/strip.csv");
    command->callback([&session, options] { Run(session, *options); });
}

}
