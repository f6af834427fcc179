#include "apps/ox/base/Failure.h"
#include "apps/ox/base/Numbers.h"
#include "apps/ox/base/Terminal.h"
#include "apps/ox/commands/Commands.h"
#include "apps/ox/commands/Comparison.h"
#include "apps/ox/library/Swatch.h"
#include "apps/ox/report/Drawing.h"

#include <algorithm>
#include <cmath>

namespace Ox {

namespace {

constexpr const char* style = R"(
:root { color-scheme: light; --line: #cfd4da; --ink: #1c2126; --soft: #5d6770; }
* { box-sizing: border-box; }
body { margin: 0 auto; max-width: 70rem; padding: 1rem; font: 15px/1.45 system-ui, sans-serif; color: var(--ink); background: #fff; }
h1 { font-size: 1.5rem; margin: .2rem 0; overflow-wrap: anywhere; } h2 { font-size: 1.1rem; margin: 1.6rem 0 .6rem; }
p { margin: .3rem 0; color: var(--soft); }
.swatches { display: grid; grid-template-columns: repeat(auto-fill, minmax(7.2rem, 1fr)); gap: .5rem; }
.swatches div { border: 1px solid var(--line); border-radius: .4rem; overflow: hidden; font-size: .78rem; }
.swatches i { display: block; height: 3.2rem; print-color-adjust: exact; -webkit-print-color-adjust: exact; }
.swatches span { display: block; padding: .2rem .4rem; overflow-wrap: anywhere; }
.figures { display: grid; grid-template-columns: repeat(auto-fit, minmax(min(100%, 24rem), 1fr)); gap: 1rem; }
figure { margin: 0; border: 1px solid var(--line); border-radius: .4rem; padding: .4rem; break-inside: avoid; }
figcaption { text-align: center; color: var(--soft); font-size: .85rem; }
svg { width: 100%; height: auto; display: block; background: #eef0f2; } svg text { font-size: 12px; fill: var(--soft); }
.grid { stroke: var(--line); } .stroke { fill: none; stroke-width: 1.6; } circle { stroke: #333; stroke-width: .6; }
.table { overflow-x: auto; } table { border-collapse: collapse; width: 100%; font-variant-numeric: tabular-nums; }
th, td { text-align: right; padding: .22rem .5rem; border-bottom: 1px solid var(--line); white-space: nowrap; }
th:nth-child(2), td:nth-child(2) { text-align: left; white-space: normal; min-width: 6.5rem; overflow-wrap: break-word; }
th:nth-child(8) { text-align: left; }
td b { display: inline-block; width: 1.4rem; height: 1.1rem; border: 1px solid var(--line); print-color-adjust: exact; -webkit-print-color-adjust: exact; }
td u { display: inline-block; height: .7rem; background: #c2410c; margin-left: .4rem; print-color-adjust: exact; -webkit-print-color-adjust: exact; }
td.bar { text-align: left; min-width: 6rem; }
@media (max-width: 40rem) { .wide { display: none; } th, td { padding: .2rem .25rem; font-size: .85rem; } td.bar { min-width: 4rem; } }
@media print { body { max-width: none; padding: 0; } tr { break-inside: avoid; } }
)";

struct ReportOptions {
    std::string file, reference, path = "report.html", title;
    ConditionOptions conditions;
};

/// What the page shows of the samples.
struct Samples {
    const Collection& collection;
    std::vector<float> labs;
    std::vector<std::string> colors; ///< as CSS has them
};

std::string ColorOf(const Conditions& conditions, const Samples& samples, std::size_t row)
{
    const Library& library = conditions.GetLibrary();
    Swatch swatch{128, 128, 128};
    if (samples.collection.HasSpectra() && !IsOfLight(samples.collection.GetSchema()))
        swatch = SwatchOf(library, &samples.collection.GetSpectra()[row * OXC_BANDS]);
    else {
        float rgb[3];
        if (library.oxc_convert(conditions.Handle(), "CIELab", &samples.labs[3 * row], 1, "RGB", rgb) == OX_NoError)
            for (std::size_t i = 0; i < 3; ++i)
                swatch[i] = static_cast<std::uint8_t>(std::clamp(rgb[i], 0.0F, 255.0F));
    }
    char text[8];
    std::snprintf(text, sizeof text, "#%02x%02x%02x", swatch[0], swatch[1], swatch[2]);
    return text;
}

std::string SwatchesOf(const Samples& samples)
{
    std::string html = "<h2>Swatches</h2>\n<div class=\"swatches\">\n";
    for (std::size_t i = 0; i < samples.colors.size(); ++i)
        html += "<div><i style=\"background:" + samples.colors[i] + "\"></i><span>"
            + Escaped(samples.collection.GetNames()[i]) + "</span></div>\n";
    return html + "</div>\n";
}

std::string PictureOfSpectra(const Samples& samples)
{
    Drawing drawing("nm", IsOfLight(samples.collection.GetSchema()) ? "power" : "reflectance factor", false);
    for (std::size_t i = 0; i < samples.colors.size(); ++i) {
        Stroke stroke{{}, samples.colors[i], samples.collection.GetNames()[i]};
        for (std::size_t band = 0; band < OXC_BANDS; ++band)
            if (const float value = samples.collection.GetSpectra()[i * OXC_BANDS + band]; std::isfinite(value))
                stroke.points.emplace_back(380.0 + 10.0 * static_cast<double>(band), value);
        if (!stroke.points.empty())
            drawing.Add(stroke);
    }
    return drawing.GetSvg("Spectra");
}

std::string PictureOfLabs(const Samples& samples)
{
    Drawing drawing("a*", "b*", true);
    for (std::size_t i = 0; i < samples.colors.size(); ++i)
        if (const float* const lab = &samples.labs[3 * i]; std::isfinite(lab[0]))
            drawing.Add(Mark{lab[1], lab[2], samples.colors[i], samples.collection.GetNames()[i]});
    return drawing.GetSvg("a* and b*");
}

/// Chromaticities before the spectral locus, with the primaries of two screens.
std::string PictureOfGamut(const Conditions& conditions, const Samples& samples)
{
    const Library& library = conditions.GetLibrary();
    Drawing drawing("x", "y", true);
    Conditions light(conditions);
    light.Set(Condition::Illuminant, "Emission");
    light.Set(Condition::Space, "CIExyY");
    Stroke locus{{}, "#8a939c", "spectral locus", true};
    for (std::size_t band = 0; band <= 32; ++band) { // 700 nm: beyond, it does not move
        float spectrum[OXC_BANDS] = {}, xyy[3];
        spectrum[band] = 1;
        light.Check(library.oxc_colors(light.Handle(), spectrum, 1, xyy));
        locus.points.emplace_back(xyy[0], xyy[1]);
    }
    drawing.Add(locus);
    // IEC 61966-2-1 and SMPTE RP 431-2.
    drawing.Add(Stroke{{{0.64, 0.33}, {0.30, 0.60}, {0.15, 0.06}}, "#2563eb", "sRGB", true});
    drawing.Add(Stroke{{{0.680, 0.320}, {0.265, 0.690}, {0.150, 0.060}}, "#16a34a", "DCI-P3", true});
    std::vector<float> colors(samples.labs.size());
    CheckRows(conditions,
              library.oxc_convert(conditions.Handle(), "CIELab", samples.labs.data(), samples.colors.size(), "CIEXYZ",
                                  colors.data()));
    CheckRows(conditions,
              library.oxc_convert(conditions.Handle(), "CIEXYZ", colors.data(), samples.colors.size(), "CIExyY",
                                  colors.data()));
    for (std::size_t i = 0; i < samples.colors.size(); ++i)
        if (std::isfinite(colors[3 * i]))
            drawing.Add(Mark{colors[3 * i], colors[3 * i + 1], samples.colors[i], samples.collection.GetNames()[i]});
    return drawing.GetSvg("Chromaticities, sRGB (blue) and DCI-P3 (green)");
}

std::string TableOf(const Samples& samples, const Comparison* comparison)
{
    std::string html = "<h2>Samples</h2>\n<div "
                       "class=\"table\"><table>\n<thead><tr><th></th><th>name</th><th>L*</th><th>a*</th><th>b*</th><th "
                       "class=\"wide\">C*</th><th class=\"wide\">h °</th>";
    html += std::string(comparison != nullptr ? "<th>ΔE</th>" : "") + "</tr></thead>\n<tbody>\n";
    const float longest = comparison != nullptr ? std::max(comparison->GetFigures().maximum, 1.0F) : 1;
    for (std::size_t i = 0; i < samples.colors.size(); ++i) {
        const float* const lab = &samples.labs[3 * i];
        const float hue = std::fmod(std::atan2(lab[2], lab[1]) * 57.29578F + 360.0F, 360.0F);
        html += "<tr><td><b style=\"background:" + samples.colors[i] + "\"></b></td><td>"
            + Escaped(samples.collection.GetNames()[i]) + "</td>";
        for (std::size_t axis = 0; axis < 3; ++axis)
            html += "<td>" + FixedNumber(lab[axis], 2) + "</td>";
        html += "<td class=\"wide\">" + FixedNumber(std::hypot(lab[1], lab[2]), 2) + "</td><td class=\"wide\">"
            + FixedNumber(hue, 1) + "</td>";
        if (comparison != nullptr) {
            const float difference = comparison->GetDifferences()[i];
            html += "<td class=\"bar\">" + FixedNumber(difference, 2) + "<u style=\"width:"
                + FixedNumber(std::isnan(difference) ? 0 : 3 * difference / longest, 2) + "rem\"></u></td>";
        }
        html += "</tr>\n";
    }
    return html + "</tbody></table></div>\n";
}

std::string PageOf(const ReportOptions& options, const Conditions& conditions, const Samples& samples,
                   const Comparison* comparison)
{
    const std::string title = Escaped(options.title.empty() ? options.file : options.title);
    std::string html = "<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\"><meta name=\"viewport\" "
                       "content=\"width=device-width, initial-scale=1\"><title>"
        + title + "</title><link rel=\"icon\" href=\"data:,\"><style>" + style + "</style></head><body>\n<h1>" + title
        + "</h1>\n<p>" + std::to_string(samples.colors.size()) + " samples";
    for (const Remark& remark : RemarksOf(conditions, false))
        html += " · " + Escaped(LowerCase(remark.name)) + " " + Escaped(remark.value);
    for (const Remark& remark : samples.collection.GetSchema().remarks)
        if (remark.name == "SERIAL_NUMBER" || remark.name == "MEASUREMENT_MODE")
            html += " · " + Escaped(LowerCase(remark.name)) + " " + Escaped(remark.value);
    html += "</p>\n";
    if (comparison != nullptr)
        html += "<p>Against " + Escaped(options.reference) + ": " + Escaped(comparison->Summarise()) + "</p>\n";
    html += SwatchesOf(samples) + "<h2>Pictures</h2>\n<div class=\"figures\">\n";
    if (samples.collection.HasSpectra())
        html += PictureOfSpectra(samples);
    html += PictureOfLabs(samples) + PictureOfGamut(conditions, samples) + "</div>\n";
    return html + TableOf(samples, comparison) + "</body></html>\n";
}

void Run(Session& session, const ReportOptions& options)
{
    const Library& library = session.GetLibrary();
    Conditions conditions(library);
    options.conditions.Apply(conditions);
    const Collection collection = ReadCollection(library, options.file, session.quiet);
    ApplyRemarks(conditions, collection.GetSchema(), options.conditions.IsGiven(Condition::Illuminant),
                 options.conditions.IsGiven(Condition::Observer));
    Samples samples{collection, collection.GetLabs(conditions), {}};
    for (std::size_t i = 0; i < collection.Count(); ++i)
        samples.colors.push_back(ColorOf(conditions, samples, i));
    std::optional<Collection> reference;
    std::optional<Comparison> comparison;
    if (!options.reference.empty()) {
        reference.emplace(ReadCollection(library, options.reference, session.quiet));
        comparison.emplace(collection, *reference, conditions, Words());
    }
    Output output(options.path);
    output.Write(PageOf(options, conditions, samples, comparison ? &*comparison : nullptr));
    output.Flush();
    Tell("the report is " + options.path, session.quiet || options.path == "-");
}

}

void AddReport(CLI::App& program, Session& session)
{
    CLI::App* const command =
        program.add_subcommand("report", "one self-contained HTML page of a file: swatches, table, pictures");
    const auto options = std::make_shared<ReportOptions>();
    command->add_option("FILE", options->file, "spectra or colours")->required();
    command->add_option("--reference", options->reference, "a file to compare with: delta E of each sample")
        ->type_name("FILE");
    command->add_option("--title", options->title, "of the page")->type_name("TEXT");
    command->add_option("-o,--output", options->path, "the page")->type_name("FILE")->capture_default_str();
    options->conditions.AddTo(*command, {Condition::Illuminant, Condition::Observer, Condition::DeltaE});
    SetExamples(
        *command, "ox report tests/data/colorchecker24.csv -o /tmp/report.html",
        "ox report tests/data/colorchecker24.csv --reference tests/data/colorchecker24.csv -o /tmp/report.html");
    command->callback([&session, options] { Run(session, *options); });
}

}
