#include "apps/ox/files/Collection.h"

#include "apps/ox/base/Failure.h"
#include "apps/ox/files/Reader.h"

#include <map>
#include <numeric>

namespace Ox {

namespace {

std::size_t FindText(const Schema& schema, std::string_view name)
{
    std::size_t place = 0;
    for (const Column& column : schema.columns) {
        if (column.name == name)
            return place;
        place += column.IsNumber() ? 0 : 1;
    }
    return schema.CountTexts();
}

}

void Collection::Begin(const Schema& read)
{
    schema = read;
    content = ContentOf(schema);
    if (!content.HasSpectra() && content.space == nullptr)
        throw Failure(Status::Refused, "there are neither spectra nor colours");
    namePlace = FindText(schema, "sample_name");
    idPlace = FindText(schema, "sample_id");
}

void Collection::Take(const Batch& batch)
{
    std::vector<float> buffer;
    for (std::size_t row = 0; row < batch.Count(); ++row) {
        const auto texts = batch.Texts(row);
        std::string name = namePlace < texts.size() ? texts[namePlace] : "";
        if (name.empty() && idPlace < texts.size())
            name = texts[idPlace];
        names.push_back(name.empty() ? std::to_string(names.size() + 1) : name);
        for (std::size_t i = 0; i < 3 && content.space != nullptr; ++i)
            colors.push_back(batch.Numbers(row)[content.color[i]]);
    }
    if (content.HasSpectra()) {
        const float* const rows = SpectraOf(library, content, batch, buffer);
        spectra.insert(spectra.end(), rows, rows + batch.Count() * OXC_BANDS);
    }
}

void Collection::AddSpectrum(const std::string& name, const float* spectrum)
{
    if (names.empty()) {
        AppendSpectrum(schema);
        content = ContentOf(schema);
    }
    names.push_back(name);
    spectra.insert(spectra.end(), spectrum, spectrum + OXC_BANDS);
}

std::vector<float> Collection::GetLabs(const Conditions& conditions) const
{
    Conditions lab(conditions);
    lab.Set(Condition::Space, "CIELab");
    std::vector<float> labs(3 * Count());
    if (HasSpectra())
        CheckRows(lab, library.oxc_colors(lab.Handle(), spectra.data(), Count(), labs.data()));
    else if (const int32_t result =
                 library.oxc_convert(lab.Handle(), content.space->space, colors.data(), Count(), "CIELab", labs.data());
             result == OX_NotSupported)
        throw Failure(Status::Refused,
                      std::string("there is no way from ") + content.space->space + " to CIELab without spectra");
    else
        CheckRows(lab, result);
    return labs;
}

Collection ReadCollection(const Library& library, const std::string& path, bool quiet)
{
    Collection collection(library);
    ReadFile(path, collection, quiet);
    if (collection.Count() == 0)
        throw Failure(Status::Refused, path + ": there are no rows");
    return collection;
}

std::vector<std::size_t> Match(const Collection& reference, const Collection& measured)
{
    std::map<std::string, std::size_t> places;
    for (std::size_t i = 0; i < measured.Count(); ++i)
        places.emplace(measured.GetNames()[i], i);
    std::vector<std::size_t> order;
    std::vector<bool> taken(measured.Count());
    for (const std::string& name : reference.GetNames())
        if (const auto found = places.find(name); found != places.end() && !taken[found->second]) {
            taken[found->second] = true;
            order.push_back(found->second);
        }
    if (places.size() == measured.Count() && order.size() == reference.Count())
        return order;
    if (reference.Count() != measured.Count())
        throw Failure(Status::Refused,
                      "the names do not match, and the numbers of rows differ: " + std::to_string(reference.Count())
                          + " and " + std::to_string(measured.Count()));
    order.resize(reference.Count());
    std::iota(order.begin(), order.end(), std::size_t{0});
    return order;
}

}
