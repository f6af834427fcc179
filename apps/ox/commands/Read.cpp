#include "apps/ox/base/Failure.h"
#include "apps/ox/base/Terminal.h"
#include "apps/ox/commands/Commands.h"
#include "apps/ox/commands/Samples.h"

#include <limits>

namespace Ox {

namespace {

struct ReadOptions {
    InstrumentOptions instrument;
    ConditionOptions conditions;
    OutputOptions output;
    ContentOptions contents;
    std::string mode = "reflectance";
    std::size_t count = 0;
    bool onKey = false, uncalibrated = false;
};

/// A spot calibration lives in the instrument: it serves for a working day.
bool NeedsCalibration(const Instrument& instrument, const ModeRow& mode)
{
    constexpr double workingDay = 8.0 * 3600;
    if (instrument.IsColorimeter())
        return mode.word == std::string("emission");
    if (mode.mode != std::string("SingleReflectance"))
        return true;
    const double age = std::strtod(instrument.Get("LastCalibrationTime").c_str(), nullptr);
    return age < 0 || age > workingDay;
}

void Run(Session& session, const ReadOptions& options)
{
    const ModeRow& mode = ModeOf(options.mode);
    if (mode.word == std::string("scan") || mode.word == std::string("flash"))
        throw Failure(Status::Usage, "ox read measures spots; for this mode there is ox " + options.mode);
    Conditions conditions(session.GetLibrary());
    if (*mode.lightUnit != '\0')
        conditions.Set(Condition::Illuminant, "Emission");
    options.conditions.Apply(conditions);
    const Contents contents = options.contents.Choose(options.output.GetFormat(), options.conditions);

    Instrument& instrument = options.instrument.Connect(session);
    Stage& stage = options.instrument.GetStage(session);
    instrument.Set("MeasurementMode", mode.mode);
    if (!options.uncalibrated && NeedsCalibration(instrument, mode))
        CalibrateFor(mode, instrument, stage, session.quiet);
    instrument.SetConditions(conditions);

    const std::size_t count = options.count > 0 ? options.count
        : stage.IsAutomatic() && !options.onKey ? 1
                                                : std::numeric_limits<std::size_t>::max();
    SampleRows rows(instrument, mode, conditions, contents, options.output);
    for (std::size_t number = 0; number < count && !rows.IsClosed(); ++number) {
        if (!stage.ForMeasurement(mode, instrument, number, options.onKey))
            break;
        {
            const Progress progress("measuring", session.quiet);
            instrument.Measure();
        }
        rows.Add(0);
        rows.Show();
    }
    rows.End();
}

}

void AddRead(CLI::App& program, Session& session)
{
    CLI::App* const command =
        program.add_subcommand("read", "measures spots, each line as it comes, until N, q or Ctrl-C");
    const auto options = std::make_shared<ReadOptions>();
    command->add_option("--mode", options->mode, "reflectance, emission or ambient")
        ->type_name("M")
        ->capture_default_str();
    command->add_option("-n,--count", options->count, "so many spots")
        ->type_name("N")
        ->check(CLI::Range(1, 1000000000));
    command->add_flag("--on-key", options->onKey, "the instrument's key starts each measurement, Enter does not");
    command->add_flag("--no-calibrate", options->uncalibrated, "measure with the calibration that there is");
    options->contents.AddTo(*command);
    options->output.AddTo(*command);
    options->conditions.AddTo(*command);
    options->instrument.AddTo(*command);
    SetExamples(*command, "ox read --virtual --count 3",
                "ox read --virtual --mode emission --space CIExyY --format csv");
    command->callback([&session, options] { Run(session, *options); });
}

}
