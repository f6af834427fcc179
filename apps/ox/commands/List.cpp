#include "apps/ox/base/Failure.h"
#include "apps/ox/base/Terminal.h"
#include "apps/ox/commands/Commands.h"
#include "apps/ox/commands/Options.h"

namespace Ox {

namespace {

constexpr int mostSpectrophotometers = 128;

/// A device that is attached, as a row: type, serial number, place, modes.
bool AddDevice(const Instrument& instrument, const std::string& type, const std::string& place, Batch& batch)
{
    instrument.Set("DeviceType", type);
    if (!instrument.IsConnected())
        return false;
    const auto texts = batch.Texts(batch.Add());
    texts[0] = type;
    texts[1] = instrument.Get("SerialNumber");
    texts[2] = place;
    Words modes;
    for (const std::string& mode : Split(instrument.Get("AvailableMeasurementModes"), ';'))
        modes.push_back(ModeOf(mode).word);
    texts[3] = Join(modes, " ");
    return true;
}

void Run(Session& session, const OutputOptions& options)
{
    Instrument& instrument = session.GetInstrument();
    Schema schema;
    AppendText(schema, "device_type", "device");
    AppendText(schema, "serial_number", "serial number");
    AppendText(schema, "place", "place");
    AppendText(schema, "modes", "modes");
    Batch batch(schema);
    {
        const Progress progress("looking for instruments", session.quiet);
        for (int i = 0; i < mostSpectrophotometers; ++i)
            if (!AddDevice(instrument, i == 0 ? "Orvex" : "Orvex" + std::to_string(i),
                           "USB, number " + std::to_string(i + 1), batch))
                break;
        AddDevice(instrument, "OrvexDisplay", "USB or serial port", batch);
    }
    if (batch.Count() == 0)
        throw Failure(Status::NoInstrument, Instrument::Advice());
    Output output(options.path);
    const auto writer = MakeWriter(options.GetFormat(), output);
    writer->Begin(schema);
    writer->Take(batch);
    writer->End();
}

}

void AddList(CLI::App& program, Session& session)
{
    CLI::App* const command = program.add_subcommand("list", "instruments in reach: device type, serial number, place");
    const auto options = std::make_shared<OutputOptions>();
    options->AddTo(*command);
    SetExamples(*command, "ox list --virtual", "ox list --virtual --format csv");
    command->callback([&session, options] { Run(session, *options); });
}

}
