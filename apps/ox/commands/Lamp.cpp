#include "apps/ox/base/Failure.h"
#include "apps/ox/commands/Commands.h"
#include "apps/ox/commands/Options.h"
#include "apps/ox/files/Collection.h"

#include <limits>

namespace Ox {

namespace {

void Run(Session& session, const std::string& file, const OutputOptions& options)
{
    const Library& library = session.GetLibrary();
    const Collection lights = ReadCollection(library, file, session.quiet);
    if (!lights.HasSpectra())
        throw Failure(Status::Refused, file + ": there are no spectra");
    const std::size_t count = lights.Count();
    Conditions conditions(library);
    conditions.Set(Condition::Illuminant, "Emission");
    conditions.Set(Condition::Space, "CIExyY");
    std::vector<float> colors(3 * count), kelvin(count), indices(count);
    std::vector<int32_t> valid(count);
    const float* const spectra = lights.GetSpectra().data();
    CheckRows(conditions, library.oxc_colors(conditions.Handle(), spectra, count, colors.data()));
    CheckRows(conditions, library.oxc_temperatures(spectra, count, kelvin.data()));
    CheckRows(conditions, library.oxc_rendering_indices(spectra, count, indices.data(), valid.data()));

    Schema schema;
    schema.remarks = {{"OBSERVER", "TwoDegree"}};
    AppendText(schema, "sample_name", "light");
    AppendNumberColumn(schema, "xyy_x", "x", 4);
    AppendNumberColumn(schema, "xyy_y", "y", 4);
    AppendNumberColumn(schema, "cct", "CCT K", 0);
    AppendNumberColumn(schema, "ra", "Ra", 0);
    AppendText(schema, "ra_valid", "Ra means something");
    Batch batch(schema);
    constexpr float none = std::numeric_limits<float>::quiet_NaN();
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t row = batch.Add();
        batch.Texts(row)[0] = lights.GetNames()[i];
        batch.Texts(row)[1] = valid[i] == 1 ? "yes" : "no";
        const float numbers[] = {colors[3 * i], colors[3 * i + 1], kelvin[i] < 0 ? none : kelvin[i],
                                 valid[i] < 0 ? none : indices[i]};
        std::copy(std::begin(numbers), std::end(numbers), batch.Numbers(row).begin());
    }
    Output output(options.path);
    const auto writer = MakeWriter(options.GetFormat(), output);
    writer->Begin(schema);
    writer->Take(batch);
    writer->End();
}

}

void AddLamp(CLI::App& program, Session& session)
{
    CLI::App* const command =
        program.add_subcommand("lamp", "colour temperature and rendering index of lights from a file");
    const auto file = std::make_shared<std::string>();
    const auto options = std::make_shared<OutputOptions>();
    command->add_option("FILE", *file, "spectra of lights")->required();
    options->AddTo(*command);
    SetExamples(*command, "ox lamp tests/data/sources.csv", "ox lamp tests/data/sources.csv --format json");
    command->callback([&session, file, options] { Run(session, *file, *options); });
}

}
