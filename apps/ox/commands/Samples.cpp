#include "apps/ox/commands/Samples.h"

#include "apps/ox/base/Failure.h"
#include "apps/ox/base/Terminal.h"
#include "apps/ox/library/Swatch.h"

#include <algorithm>

namespace Ox {

void ContentOptions::AddTo(CLI::App& command)
{
    command.add_option("--columns", columns, "color, spectrum, density, with commas between them")->type_name("LIST");
}

Contents ContentOptions::Choose(Format format, const ConditionOptions& conditions) const
{
    const bool filtered = conditions.IsGiven(Condition::Filter);
    if (columns.empty())
        return {true, format != Format::Table, filtered || conditions.IsGiven(Condition::Density), filtered};
    Contents contents{false, false, false, filtered};
    for (const std::string& word : Split(columns, ',')) {
        bool* const members[] = {&contents.color, &contents.spectrum, &contents.density};
        *members[Ox::Choose(word, "column", {"color", "spectrum", "density"})] = true;
    }
    return contents;
}

SampleRows::SampleRows(const Instrument& measured, const ModeRow& mode, const Conditions& conditions, Contents wanted,
                       const OutputOptions& options)
    : instrument(measured),
      colors(conditions),
      contents(wanted),
      output(options.path),
      swatches(options.path.empty() && options.GetFormat() == Format::Table && *mode.lightUnit == '\0'
               && ShowsTrueColor()),
      writer(MakeWriter(options.GetFormat(), output, swatches))
{
    const bool isLight = *mode.lightUnit != '\0';
    contents.spectrum = contents.spectrum && !measured.IsColorimeter();
    Schema schema;
    schema.remarks = RemarksOf(conditions, contents.density);
    schema.remarks.push_back({"MEASUREMENT_MODE", mode.mode});
    schema.remarks.push_back({"SERIAL_NUMBER", measured.Get("SerialNumber")});
    AppendText(schema, "sample_id", "sample");
    AppendText(schema, "sample_name", "name");
    if (contents.color)
        AppendColor(schema, conditions.Get(Condition::Space), isLight ? mode.lightUnit : "");
    if (contents.density)
        AppendDensities(schema, contents.filtered);
    if (contents.spectrum)
        AppendSpectrum(schema);
    batch = Batch(schema);
    writer->Begin(schema);
}

std::span<float> SampleRows::AddRow(const std::string& name)
{
    if (batch.IsFull())
        Pass();
    const std::size_t row = batch.Add();
    ++number;
    batch.Texts(row)[0] = std::to_string(number);
    batch.Texts(row)[1] = name;
    return batch.Numbers(row);
}

void SampleRows::Pass()
{
    writer->Take(batch);
    batch.Clear();
}

void SampleRows::Add(std::size_t sample, const std::string& name)
{
    const auto numbers = AddRow(name);
    float* next = numbers.data();
    if (contents.color)
        instrument.ReadColor(sample, next), next += 3;
    if (contents.density && contents.filtered)
        instrument.ReadDensity(sample, next), next += 1;
    else if (contents.density)
        instrument.ReadDensities(sample, next), next += 4;
    if (contents.spectrum)
        instrument.ReadSpectrum(sample, next);
    if (swatches) {
        float spectrum[OXC_BANDS];
        instrument.ReadSpectrum(sample, spectrum);
        batch.swatches.push_back(SwatchOf(colors.GetLibrary(), spectrum));
    }
}

void SampleRows::AddSpectrum(const float* spectrum, const std::string& name)
{
    const auto numbers = AddRow(name);
    const Library& library = colors.GetLibrary();
    float* next = numbers.data();
    if (contents.color)
        colors.Check(library.oxc_colors(colors.Handle(), spectrum, 1, next)), next += 3;
    if (contents.density && contents.filtered)
        colors.Check(library.oxc_density(colors.Handle(), spectrum, 1, next, nullptr)), next += 1;
    else if (contents.density)
        colors.Check(library.oxc_densities(colors.Handle(), spectrum, 1, next)), next += 4;
    if (contents.spectrum)
        std::copy_n(spectrum, OXC_BANDS, next);
    if (swatches)
        batch.swatches.push_back(SwatchOf(colors.GetLibrary(), spectrum));
}

}
