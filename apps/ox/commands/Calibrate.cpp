#include "apps/ox/base/Terminal.h"
#include "apps/ox/commands/Commands.h"
#include "apps/ox/commands/Options.h"

namespace Ox {

namespace {

void Run(Session& session, const InstrumentOptions& options, const std::string& word)
{
    const ModeRow& mode = ModeOf(word);
    Instrument& instrument = options.Connect(session);
    instrument.Set("MeasurementMode", mode.mode);
    CalibrateFor(mode, instrument, options.GetStage(session), session.quiet);
    Tell(std::string("calibrated for ") + mode.word + ", serial number " + instrument.Get("SerialNumber"),
         session.quiet);
}

}

void AddCalibrate(CLI::App& program, Session& session)
{
    CLI::App* const command =
        program.add_subcommand("calibrate", "calibrates a mode on the tile, in darkness or on the screen");
    const auto options = std::make_shared<InstrumentOptions>();
    const auto mode = std::make_shared<std::string>("reflectance");
    command->add_option("--mode", *mode, "reflectance, emission, ambient, scan or flash")
        ->type_name("M")
        ->capture_default_str();
    options->AddTo(*command);
    SetExamples(*command, "ox calibrate --virtual", "ox calibrate --virtual --mode emission --yes");
    command->callback([&session, options, mode] { Run(session, *options, *mode); });
}

}
