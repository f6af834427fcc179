#include "apps/ox/base/Failure.h"
#include "apps/ox/base/Terminal.h"
#include "apps/ox/commands/Commands.h"
#include "apps/ox/commands/Samples.h"
#include "apps/ox/files/Content.h"
#include "apps/ox/files/Reader.h"

#include <algorithm>
#include <cmath>

namespace Ox {

namespace {

struct ConvertOptions {
    std::vector<std::string> files;
    ConditionOptions conditions;
    OutputOptions output;
    ContentOptions contents;
};

/// Stands between the reader and the writer, and computes what is wanted of each batch. Without a wish it hands the
/// rows on as they are.
class Converter : public Sink {
public:
    Converter(const Conditions& defaults, const ConvertOptions& given, Format format, Sink& next)
        : preset(defaults), options(given), conditions(defaults), writer(next)
    {
        const auto isGiven = [this](Condition condition) { return options.conditions.IsGiven(condition); };
        const bool density = isGiven(Condition::Density) || isGiven(Condition::Filter);
        const bool color = isGiven(Condition::Space) || isGiven(Condition::Illuminant) || isGiven(Condition::Observer)
            || isGiven(Condition::White);
        if (!options.contents.columns.empty())
            contents = options.contents.Choose(format, options.conditions);
        else
            contents = {color || (format == Format::Table && !density), false, density, isGiven(Condition::Filter)};
        computes = contents.color || contents.spectrum || contents.density;
    }

    void Begin(const Schema& read) override
    {
        content = ContentOf(read);
        // Where there are colours only, a table shows them as they are.
        if (!content.HasSpectra() && options.contents.columns.empty() && !options.conditions.IsGiven(Condition::Space)
            && contents.color && !contents.density)
            computes =
                options.conditions.IsGiven(Condition::Illuminant) || options.conditions.IsGiven(Condition::Observer);
        if ((contents.spectrum || contents.density) && !content.HasSpectra())
            throw Failure(Status::Refused, "there are no spectra to compute from");
        SetConditions(read);
        Schema schema = read;
        if (computes) {
            schema.columns.clear();
            for (const Column& column : read.columns)
                if (!column.IsNumber())
                    schema.columns.push_back(column);
            Extend(schema);
            Replace(schema.remarks);
        }
        if (begun && !IsSame(schema))
            throw Failure(Status::Refused, "the files have different fields");
        if (!begun)
            writer.Begin(schema);
        begun = true;
        columns = schema.columns;
        batch = Batch(schema);
    }

    void Take(const Batch& read) override
    {
        if (!computes)
            return writer.Take(read);
        batch.Clear();
        for (std::size_t row = 0; row < read.Count(); ++row) {
            const auto texts = read.Texts(row);
            std::copy(texts.begin(), texts.end(), batch.Texts(batch.Add()).begin());
        }
        Compute(read);
        writer.Take(batch);
        rows += read.Count();
    }

    void End() override { writer.End(); }

    /// Rows that have no result, for a missing value.
    std::size_t CountLacking() const { return lacking; }
    std::size_t CountRows() const { return rows; }

private:
    void SetConditions(const Schema& read)
    {
        conditions.emplace(preset);
        const bool lightGiven = options.conditions.IsGiven(Condition::Illuminant),
                   observerGiven = options.conditions.IsGiven(Condition::Observer);
        ApplyRemarks(*conditions, read, lightGiven, observerGiven);
        const std::string illuminant = read.GetRemark("ILLUMINANT"), observer = read.GetRemark("OBSERVER");
        options.conditions.Apply(*conditions);
        const bool changes = (!illuminant.empty() && illuminant != conditions->Get(Condition::Illuminant))
            || (!observer.empty() && observer != conditions->Get(Condition::Observer));
        if (computes && !content.HasSpectra() && changes)
            throw Failure(Status::Refused,
                          "colours under " + illuminant + ", " + observer + " do not tell those under "
                              + conditions->Get(Condition::Illuminant) + ", " + conditions->Get(Condition::Observer)
                              + ": that takes spectra");
    }

    void Extend(Schema& schema) const
    {
        if (contents.color)
            AppendColor(schema, conditions->Get(Condition::Space));
        if (contents.density)
            AppendDensities(schema, contents.filtered);
        if (contents.spectrum)
            AppendSpectrum(schema);
    }

    void Replace(std::vector<Remark>& remarks) const
    {
        for (const Remark& own : RemarksOf(*conditions, contents.density)) {
            std::erase_if(remarks, [&own](const Remark& remark) { return remark.name == own.name; });
            remarks.push_back(own);
        }
    }

    bool IsSame(const Schema& schema) const
    {
        return std::equal(columns.begin(), columns.end(), schema.columns.begin(), schema.columns.end(),
                          [](const Column& a, const Column& b) { return a.name == b.name; });
    }

    void Compute(const Batch& read)
    {
        const Library& library = conditions->GetLibrary();
        const std::size_t count = read.Count();
        const float* const spectra = content.HasSpectra() ? SpectraOf(library, content, read, buffer) : nullptr;
        std::size_t place = 0;
        if (contents.color)
            Put(count, 3, place, [&](float* values) { ColorsOf(*conditions, content, read, spectra, values); });
        if (contents.density && contents.filtered)
            Put(count, 1, place, [&](float* values) {
                CheckRows(*conditions, library.oxc_density(conditions->Handle(), spectra, count, values, nullptr));
            });
        else if (contents.density)
            Put(count, 4, place, [&](float* values) {
                CheckRows(*conditions, library.oxc_densities(conditions->Handle(), spectra, count, values));
            });
        if (contents.spectrum)
            Put(count, OXC_BANDS, place, [&](float* values) { std::copy_n(spectra, count * OXC_BANDS, values); });
        for (std::size_t row = 0; row < count; ++row)
            lacking += std::isnan(batch.Numbers(row)[0]) ? 1 : 0;
    }

    /// Computes count x width values and puts them into the rows.
    template<typename Computation>
    void Put(std::size_t count, std::size_t width, std::size_t& place, const Computation& compute)
    {
        results.resize(count * width);
        compute(results.data());
        for (std::size_t row = 0; row < count; ++row)
            std::copy_n(&results[row * width], width, &batch.Numbers(row)[place]);
        place += width;
    }

    const Conditions& preset;
    const ConvertOptions& options;
    std::optional<Conditions> conditions;
    Sink& writer;
    Contents contents;
    Content content;
    std::vector<Column> columns;
    Batch batch;
    std::vector<float> buffer, results;
    std::size_t lacking = 0, rows = 0;
    bool computes = false, begun = false;
};

void Run(Session& session, const ConvertOptions& options)
{
    const Conditions defaults(session.GetLibrary());
    Conditions check(defaults);
    options.conditions.Apply(check);
    const Format format = options.output.GetFormat();
    Output output(options.output.path);
    const auto writer = MakeWriter(format, output);
    Converter converter(defaults, options, format, *writer);
    for (const std::string& file : options.files)
        ReadFile(file, converter, session.quiet);
    converter.End();
    if (converter.CountLacking() > 0)
        Tell(std::to_string(converter.CountLacking()) + " of " + std::to_string(converter.CountRows())
                 + " rows have no result: a value is missing",
             session.quiet);
}

}

void AddConvert(CLI::App& program, Session& session)
{
    CLI::App* const command =
        program.add_subcommand("convert", "spectra or colours from files to colours, densities, another format");
    const auto options = std::make_shared<ConvertOptions>();
    command->add_option("FILE", options->files, "CGATS, CSV, TSV or JSON; - for the standard input")->required();
    options->contents.AddTo(*command);
    options->output.AddTo(*command);
    options->conditions.AddTo(*command);
    SetExamples(*command, "ox convert tests/data/colorchecker24.csv --illuminant A --space CIELCh",
                "ox convert tests/data/colorchecker24.csv -o /tmp/chart.cgats");
    command->callback([&session, options] { Run(session, *options); });
}

}
