#include "apps/ox/commands/Comparison.h"

#include "apps/ox/base/Failure.h"
#include "apps/ox/base/Numbers.h"

#include <algorithm>
#include <cmath>

namespace Ox {

namespace {

std::vector<float> Ordered(const std::vector<float>& rows, const std::vector<std::size_t>& order, std::size_t width)
{
    std::vector<float> ordered;
    for (const std::size_t row : order)
        ordered.insert(ordered.end(), rows.begin() + static_cast<std::ptrdiff_t>(row * width),
                       rows.begin() + static_cast<std::ptrdiff_t>((row + 1) * width));
    return ordered;
}

}

Comparison::Comparison(const Collection& expected, const Collection& measured, const Conditions& under,
                       const Words& testLights)
    : reference(expected), conditions(under), referenceLabs(expected.GetLabs(under))
{
    const auto order = Match(reference, measured);
    measuredLabs = Ordered(measured.GetLabs(conditions), order, 3);
    if (reference.HasSpectra() && measured.HasSpectra()) {
        referenceSpectra = reference.GetSpectra();
        measuredSpectra = Ordered(measured.GetSpectra(), order, OXC_BANDS);
    }
    ComputeDifferences();
    ComputeMetamerism(testLights);
}

void Comparison::ComputeDifferences()
{
    const Library& library = conditions.GetLibrary();
    differences.resize(reference.Count());
    int32_t result = library.oxc_differences(conditions.Handle(), referenceLabs.data(), measuredLabs.data(),
                                             reference.Count(), 0, 0, 0, differences.data());
    if (result == OX_NotSupported && !referenceSpectra.empty())
        result = library.oxc_spectral_differences(conditions.Handle(), referenceSpectra.data(), measuredSpectra.data(),
                                                  reference.Count(), 0, 0, 0, differences.data());
    if (result == OX_NotSupported)
        throw Failure(Status::Refused,
                      "the formula " + conditions.Get(Condition::DeltaE) + " needs spectra in both files");
    CheckRows(conditions, result);
}

void Comparison::ComputeMetamerism(const Words& testLights)
{
    if (!testLights.empty() && referenceSpectra.empty())
        throw Failure(Status::Refused, "metamerism needs spectra in both files");
    for (const std::string& light : testLights) {
        Conditions test(conditions);
        test.Set(Condition::Illuminant, light);
        lights.push_back(light);
        indices.emplace_back(reference.Count());
        CheckRows(conditions,
                  conditions.GetLibrary().oxc_metamerism(conditions.Handle(), test.Handle(), referenceSpectra.data(),
                                                         measuredSpectra.data(), reference.Count(),
                                                         indices.back().data()));
    }
}

void Comparison::Write(const OutputOptions& options) const
{
    Schema schema;
    schema.remarks = RemarksOf(conditions, false);
    schema.remarks.push_back({"DELTA_E_FORMULA", conditions.Get(Condition::DeltaE)});
    AppendText(schema, "sample_name", "name");
    const std::pair<const char*, const char*> sides[] = {{"reference", "ref."}, {"measured", "meas."}};
    for (const auto& [field, head] : sides)
        for (const auto& [axis, letter] : {std::pair("l", "L*"), std::pair("a", "a*"), std::pair("b", "b*")})
            AppendNumberColumn(schema, std::string(field) + "_" + axis, std::string(head) + " " + letter, 2);
    AppendNumberColumn(schema, "delta_e", "ΔE", 2);
    for (const std::string& light : lights)
        AppendNumberColumn(schema, "metamerism_" + light, "M " + light, 2);
    Batch batch(schema);
    for (std::size_t i = 0; i < reference.Count(); ++i) {
        const std::size_t row = batch.Add();
        batch.Texts(row)[0] = reference.GetNames()[i];
        const auto numbers = batch.Numbers(row);
        std::copy_n(&referenceLabs[3 * i], 3, numbers.begin());
        std::copy_n(&measuredLabs[3 * i], 3, numbers.begin() + 3);
        numbers[6] = differences[i];
        for (std::size_t light = 0; light < lights.size(); ++light)
            numbers[7 + light] = indices[light][i];
    }
    Output output(options.path);
    const auto writer = MakeWriter(options.GetFormat(), output);
    writer->Begin(schema);
    writer->Take(batch);
    writer->End();
}

Figures Comparison::GetFigures() const
{
    Figures figures;
    std::vector<float> sorted;
    double sum = 0;
    for (std::size_t i = 0; i < differences.size(); ++i) {
        if (std::isnan(differences[i])) {
            ++figures.lacking;
            continue;
        }
        sorted.push_back(differences[i]);
        sum += static_cast<double>(differences[i]);
        if (differences[i] > figures.maximum || sorted.size() == 1)
            figures.maximum = differences[i], figures.worst = i;
    }
    if (sorted.empty())
        return figures;
    std::sort(sorted.begin(), sorted.end());
    figures.mean = static_cast<float>(sum / static_cast<double>(sorted.size()));
    // The nearest rank: the smallest difference that 95 of 100 patches do not exceed.
    figures.p95 = sorted[(sorted.size() * 95 + 99) / 100 - 1];
    return figures;
}

std::string Comparison::Summarise() const
{
    const Figures figures = GetFigures();
    std::string text = std::to_string(differences.size()) + " patches, delta E " + conditions.Get(Condition::DeltaE)
        + ": mean " + FixedNumber(figures.mean, 2) + ", 95th percentile " + FixedNumber(figures.p95, 2) + ", maximum "
        + FixedNumber(figures.maximum, 2) + " (" + reference.GetNames()[figures.worst] + ")";
    if (figures.lacking > 0)
        text += "; " + std::to_string(figures.lacking) + " without a result";
    return text;
}

}
