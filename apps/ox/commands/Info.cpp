#include "apps/ox/commands/Commands.h"
#include "apps/ox/commands/Options.h"

#include <cstdlib>

namespace Ox {

namespace {

/// What a device says of itself, in this order; what it does not have is left out.
constexpr const char* keys[] = {"Version",        "DeviceType", "SerialNumber", "AvailableMeasurementModes",
                                "PhysicalFilter", "Beep",       "ScreenType",   "PatchIntensity"};
constexpr const char* keysOfMode[] = {"AdaptiveMode", "Recognition", "LastCalibrationTime", "LastCalibrationCounter"};

void AddRow(Batch& batch, const std::string& mode, const std::string& key, const std::string& value)
{
    const auto texts = batch.Texts(batch.Add());
    texts[0] = mode;
    texts[1] = key;
    texts[2] = value;
}

/// "3 hours ago" from seconds since then.
std::string Age(const std::string& text)
{
    constexpr double never = 20.0 * 365 * 86400; // no record: the clock's whole age
    const double seconds = std::strtod(text.c_str(), nullptr);
    if (seconds < 0 || seconds > never)
        return "never";
    const std::pair<double, const char*> units[] = {{86400, " days ago"}, {3600, " hours ago"}, {60, " minutes ago"}};
    for (const auto& [length, name] : units)
        if (seconds >= 2 * length)
            return std::to_string(static_cast<long>(seconds / length)) + name;
    return text + " seconds ago";
}

void Run(Session& session, const InstrumentOptions& instrumentOptions, const OutputOptions& options)
{
    const Instrument& instrument = instrumentOptions.Connect(session);
    const bool forPeople = options.GetFormat() == Format::Table;
    Schema schema;
    AppendText(schema, "mode", "mode");
    AppendText(schema, "option", "option");
    AppendText(schema, "value", "value");
    Batch batch(schema);
    for (const char* const key : keys)
        if (const auto value = instrument.Find(key))
            AddRow(batch, "", key, *value);
    for (const std::string& mode : Split(instrument.Get("AvailableMeasurementModes"), ';')) {
        instrument.Set("MeasurementMode", mode);
        for (const char* const key : keysOfMode)
            if (const auto value = instrument.Find(key))
                AddRow(batch, ModeOf(mode).word, key,
                       forPeople && key == std::string("LastCalibrationTime") ? Age(*value) : *value);
    }
    Output output(options.path);
    const auto writer = MakeWriter(options.GetFormat(), output);
    writer->Begin(schema);
    writer->Take(batch);
    writer->End();
}

}

void AddInfo(CLI::App& program, Session& session)
{
    CLI::App* const command =
        program.add_subcommand("info", "what a device says of itself: options, modes, calibrations");
    const auto instrument = std::make_shared<InstrumentOptions>();
    const auto options = std::make_shared<OutputOptions>();
    options->AddTo(*command);
    instrument->AddTo(*command);
    SetExamples(*command, "ox info --virtual", "ox info --virtual --format json");
    command->callback([&session, instrument, options] { Run(session, *instrument, *options); });
}

}
