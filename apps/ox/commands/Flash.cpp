#include "apps/ox/base/Failure.h"
#include "apps/ox/base/Terminal.h"
#include "apps/ox/commands/Commands.h"
#include "apps/ox/commands/Samples.h"

namespace Ox {

namespace {

struct FlashOptions {
    InstrumentOptions instrument;
    ConditionOptions conditions;
    OutputOptions output;
    ContentOptions contents;
};

void Run(Session& session, const FlashOptions& options)
{
    const ModeRow& mode = ModeOf("flash");
    Conditions conditions(session.GetLibrary());
    conditions.Set(Condition::Illuminant, "Emission");
    conditions.Set(Condition::Space, "CIExyY");
    options.conditions.Apply(conditions);
    Instrument& instrument = options.instrument.Connect(session);
    Stage& stage = options.instrument.GetStage(session);
    instrument.Set("MeasurementMode", mode.mode);
    CalibrateFor(mode, instrument, stage, session.quiet);
    instrument.SetConditions(conditions);
    instrument.Set("Recognition", "yes");
    if (!stage.ForMeasurement(mode, instrument, 0, false))
        throw Failure(Status::Failed, "ended before the flashes");
    std::size_t count = 0;
    {
        const Progress progress("waiting for flashes", session.quiet);
        count = instrument.Measure();
    }
    SampleRows rows(instrument, mode, conditions,
                    options.contents.Choose(options.output.GetFormat(), options.conditions), options.output);
    for (std::size_t i = 0; i < count; ++i)
        rows.Add(i);
    rows.End();
    Tell(std::to_string(count) + (count == 1 ? " flash" : " flashes"), session.quiet);
}

}

void AddFlash(CLI::App& program, Session& session)
{
    CLI::App* const command =
        program.add_subcommand("flash", "flashes in the room: their number, and the light of each");
    const auto options = std::make_shared<FlashOptions>();
    options->contents.AddTo(*command);
    options->output.AddTo(*command);
    options->conditions.AddTo(*command, {Condition::Illuminant, Condition::Observer, Condition::Space});
    options->instrument.AddTo(*command);
    SetExamples(*command, "ox flash --virtual lamps", "ox flash --virtual lamps --format json");
    command->callback([&session, options] { Run(session, *options); });
}

}
