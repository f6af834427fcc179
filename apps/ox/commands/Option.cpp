#include "apps/ox/base/Failure.h"
#include "apps/ox/commands/Commands.h"
#include "apps/ox/commands/Options.h"

namespace Ox {

namespace {

struct KeyRow {
    const char* key;
    const char* settable;
    const char* values;
};

constexpr KeyRow keyTable[] = {
    {"DeviceType", "yes", "Orvex, Orvex1 to Orvex127, OrvexDisplay"},
    {"Reset", "yes", "All, a device type, a mode; cannot be asked for"},
    {"Version", "no", "text"},
    {"Connection", "no", "yes, no"},
    {"MeasurementMode", "yes",
     "SingleReflectance, ScanningReflectance, SingleEmission, SingleAmbientLight, ScanningAmbientLight"},
    {"Beep", "yes", "yes, no (spectrophotometer)"},
    {"AdaptiveMode", "yes", "yes, no (spectrophotometer)"},
    {"Recognition", "yes", "yes, no (spectrophotometer, scans)"},
    {"ScreenType", "yes", "LCD, CRT (colorimeter)"},
    {"PatchIntensity", "yes", "Bleak, Bright, Auto (colorimeter)"},
    {"SerialNumber", "no", "decimal"},
    {"PhysicalFilter", "no", "1, 2 (2: with a UV filter)"},
    {"AvailableMeasurementModes", "no", "modes, with semicolons"},
    {"AvailableSamples", "no", "decimal"},
    {"IsKeyPressed", "no", "yes, no"},
    {"LastCalibrationTime", "no", "seconds since then"},
    {"LastCalibrationCounter", "no", "measurements since then"},
    {"LastAutoDensityFilter", "no", "a filter, not set"},
    {"NUMBER", "yes", "a property of the spectrophotometer, for service"},
};

/// The accepted values of a condition, from the library.
std::string ValuesOf(const Library& library, const ConditionRow& row)
{
    Words values;
    for (std::size_t i = 0; const char* const text = library.oxc_value(row.key, i); ++i)
        values.emplace_back(text);
    return Join(values);
}

void List(Session& session, const OutputOptions& options)
{
    const Library& library = session.GetLibrary();
    Schema schema;
    AppendText(schema, "option", "option");
    AppendText(schema, "set", "set");
    AppendText(schema, "values", "values");
    Batch batch(schema);
    const auto add = [&batch](const std::string& key, const std::string& settable, const std::string& values) {
        const auto texts = batch.Texts(batch.Add());
        texts[0] = key;
        texts[1] = settable;
        texts[2] = values;
    };
    for (const KeyRow& row : keyTable)
        add(row.key, row.settable, row.values);
    for (const ConditionRow& row : conditionTable)
        add(row.key, "yes", ValuesOf(library, row));
    Output output(options.path);
    const auto writer = MakeWriter(options.GetFormat(), output);
    writer->Begin(schema);
    writer->Take(batch);
    writer->End();
}

void Print(const Instrument& instrument, const std::string& key)
{
    Output output;
    output.Write(instrument.Get(key) + "\n");
    output.Flush();
}

struct Values {
    std::string mode, key, value;
};

/// @throws Failure: there is no such key; tells the nearest
void CheckKey(const std::string& key)
{
    Words accepted;
    for (const KeyRow& row : keyTable)
        accepted.emplace_back(row.key);
    for (const ConditionRow& row : conditionTable)
        accepted.emplace_back(row.key);
    if (key.empty() || key.find_first_not_of("0123456789") != std::string::npos)
        Choose(key, "option", accepted);
}

const Instrument& Connect(Session& session, const InstrumentOptions& options, const Values& values)
{
    CheckKey(values.key);
    const Instrument& instrument = options.Connect(session);
    if (!values.mode.empty())
        instrument.Set("MeasurementMode", ModeOf(values.mode).mode);
    return instrument;
}

}

void AddOption(CLI::App& program, Session& session)
{
    CLI::App* const command = program.add_subcommand("option", "the library's options: list, get, set");
    command->require_subcommand(1);
    SetExamples(*command, "ox option list", "ox option get --virtual SerialNumber");

    const auto output = std::make_shared<OutputOptions>();
    CLI::App* const list = command->add_subcommand("list", "keys and the values that they take");
    output->AddTo(*list);
    SetExamples(*list, "ox option list", "ox option list --format json");
    list->callback([&session, output] { List(session, *output); });

    const auto options = std::make_shared<InstrumentOptions>();
    const auto values = std::make_shared<Values>();
    CLI::App* const get = command->add_subcommand("get", "asks the instrument for an option");
    CLI::App* const set =
        command->add_subcommand("set",
                                "sets an option and reads it back. All but the service properties count "
                                "until ox ends: other commands take them by --set KEY=VALUE");
    for (CLI::App* const child : {get, set}) {
        child->add_option("KEY", values->key, "see ox option list")->required();
        child->add_option("--mode", values->mode, "of which mode: reflectance, emission, ambient, scan, flash")
            ->type_name("M");
        options->AddTo(*child);
    }
    set->add_option("VALUE", values->value)->required();
    SetExamples(*get, "ox option get --virtual SerialNumber", "ox option get --virtual Recognition --mode scan");
    SetExamples(*set, "ox option set --virtual Beep no", "ox option set --virtual Recognition yes --mode scan");
    get->callback([&session, options, values] { Print(Connect(session, *options, *values), values->key); });
    set->callback([&session, options, values] {
        const Instrument& instrument = Connect(session, *options, *values);
        for (const KeyRow& row : keyTable)
            if (values->key == row.key && row.settable == std::string("no"))
                throw Failure(Status::Refused, values->key + " cannot be set");
        instrument.Set(values->key, values->value);
        if (values->key != "Reset")
            Print(instrument, values->key);
    });
}

}
