#include "apps/ox/base/Failure.h"
#include "apps/ox/base/Numbers.h"
#include "apps/ox/base/Terminal.h"
#include "apps/ox/commands/Commands.h"
#include "apps/ox/commands/Comparison.h"
#include "apps/ox/commands/Strip.h"

#include <limits>

namespace Ox {

namespace {

constexpr float unlimited = std::numeric_limits<float>::infinity();

struct VerifyOptions {
    std::string reference, measured;
    bool spots = false;
    float mean = unlimited, p95 = unlimited, maximum = unlimited;
    ConditionOptions conditions;
    OutputOptions output;
    InstrumentOptions instrument;
};

/// The patches of the reference one by one, as spots.
Collection MeasureSpots(Session& session, const VerifyOptions& options, const Collection& reference)
{
    Instrument& instrument = options.instrument.Connect(session);
    Stage& stage = options.instrument.GetStage(session);
    const ModeRow& mode = ModeOf("reflectance");
    instrument.Set("MeasurementMode", mode.mode);
    CalibrateFor(mode, instrument, stage, session.quiet);
    Collection measured(session.GetLibrary());
    for (std::size_t i = 0; i < reference.Count(); ++i) {
        const std::string& name = reference.GetNames()[i];
        Tell(std::to_string(i + 1) + " of " + std::to_string(reference.Count()) + ": " + name,
             session.quiet || stage.IsAutomatic());
        if (!stage.ForMeasurement(mode, instrument, i, false))
            throw Failure(Status::Failed,
                          "ended after " + std::to_string(i) + " of " + std::to_string(reference.Count()) + " patches");
        float spectrum[OXC_BANDS];
        instrument.Measure();
        instrument.ReadSpectrum(0, spectrum);
        measured.AddSpectrum(name, spectrum);
    }
    return measured;
}

Collection MeasureStrip(Session& session, const VerifyOptions& options, const Collection& reference,
                        const Conditions& conditions)
{
    Instrument& instrument = options.instrument.Connect(session);
    Stage& stage = options.instrument.GetStage(session);
    const std::vector<float> readings = ScanReadings(instrument, stage, session.quiet);
    const Strip strip = FindPatches(conditions, readings, reference.Count(), reference.GetLabs(conditions));
    Tell(strip.Describe(), session.quiet);
    Collection measured(session.GetLibrary());
    for (std::size_t i = 0; i < reference.Count(); ++i)
        measured.AddSpectrum(reference.GetNames()[i], &strip.spectra[i * OXC_BANDS]);
    return measured;
}

void Run(Session& session, const VerifyOptions& options)
{
    if (options.mean == unlimited && options.p95 == unlimited && options.maximum == unlimited)
        throw Failure(Status::Usage, "which tolerance? Give --mean, --p95 or --max");
    const Library& library = session.GetLibrary();
    Conditions conditions(library);
    options.conditions.Apply(conditions);
    const Collection reference = ReadCollection(library, options.reference, session.quiet);
    ApplyRemarks(conditions, reference.GetSchema(), options.conditions.IsGiven(Condition::Illuminant),
                 options.conditions.IsGiven(Condition::Observer));
    const Collection measured = !options.measured.empty() ? ReadCollection(library, options.measured, session.quiet)
        : options.spots                                   ? MeasureSpots(session, options, reference)
                                                          : MeasureStrip(session, options, reference, conditions);
    const Comparison comparison(reference, measured, conditions, {});
    comparison.Write(options.output);
    const Figures figures = comparison.GetFigures();
    Tell(comparison.Summarise(), session.quiet);
    Words misses;
    const auto check = [&misses](const char* what, float value, float limit) {
        if (!(value <= limit))
            misses.push_back(std::string(what) + " " + FixedNumber(value, 2) + " is above " + FixedNumber(limit, 2));
    };
    check("the mean", figures.mean, options.mean);
    check("the 95th percentile", figures.p95, options.p95);
    check("the maximum", figures.maximum, options.maximum);
    if (figures.lacking > 0)
        misses.push_back("there are patches without a result");
    if (!misses.empty())
        throw Failure(Status::Failed, "fail: " + Join(misses));
    Tell("pass", session.quiet);
}

}

void AddVerify(CLI::App& program, Session& session)
{
    CLI::App* const command =
        program.add_subcommand("verify", "compares a measurement with a reference: pass or fail as exit status");
    const auto options = std::make_shared<VerifyOptions>();
    command->add_option("REFERENCE", options->reference, "a file of spectra or colours")->required();
    command->add_option("MEASURED", options->measured, "a file; without it the strip is scanned now");
    command->add_flag("--spots", options->spots, "measure the patches as spots, not by a scan");
    for (const auto& [name, value, help] :
         {std::tuple("--mean", &options->mean, "the mean delta E must not exceed this"),
          std::tuple("--p95", &options->p95, "nor its 95th percentile this"),
          std::tuple("--max", &options->maximum, "nor its maximum this")})
        command->add_option(name, *value, help)->type_name("DE")->check(CLI::NonNegativeNumber);
    options->output.AddTo(*command);
    options->conditions.AddTo(*command, {Condition::Illuminant, Condition::Observer, Condition::DeltaE});
    options->instrument.AddTo(*command);
    SetExamples(*command, "ox verify tests/data/colorchecker24.csv --virtual chart --max 0.5",
                "ox verify tests/data/colorchecker24.csv tests/data/colorchecker24.csv --mean 1 --p95 2");
    command->callback([&session, options] { Run(session, *options); });
}

}
