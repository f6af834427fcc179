#include "apps/ox/files/JsonReader.h"

#include "apps/ox/base/Failure.h"
#include "apps/ox/base/Words.h"

#include <algorithm>
#include <istream>
#include <nlohmann/json.hpp>

namespace Ox {

namespace {

/// Takes the events of the parser. The depth says where: 1 beside the samples, 2 in their array, 3 in a sample; with an
/// array alone, one less before the samples.
class Samples : public nlohmann::json_sax<nlohmann::json> {
public:
    Samples(const Source& from, Sink& to) : source(from), sink(to) { }

    void Finish()
    {
        if (!begun && count > 0)
            Begin();
        if (!begun)
            Refuse("there are no samples");
        sink.Take(batch);
    }

    bool null() override { return Scalar("", false); }
    bool boolean(bool value) override { return Scalar(value ? "true" : "false", false); }
    bool number_integer(number_integer_t value) override { return Scalar(std::to_string(value), true); }
    bool number_unsigned(number_unsigned_t value) override { return Scalar(std::to_string(value), true); }
    bool number_float(number_float_t, const string_t& digits) override { return Scalar(digits, true); }
    bool string(string_t& value) override { return Scalar(value, false); }
    bool binary(binary_t&) override { return false; }

    bool key(string_t& value) override
    {
        name = value;
        return true;
    }

    bool start_object(std::size_t) override
    {
        if (inSample)
            Refuse("\"" + name + "\" is no plain value");
        if (inSamples) {
            inSample = true;
            ++count;
            values.clear();
        } else if (depth > 0)
            ++skipped;
        ++depth;
        return true;
    }

    bool end_object() override
    {
        --depth;
        if (inSample)
            AddRow();
        else if (skipped > 0)
            --skipped;
        inSample = false;
        return true;
    }

    bool start_array(std::size_t) override
    {
        if (inSample)
            Refuse("\"" + name + "\" is no plain value");
        if (inSamples)
            Refuse("an array stands where a sample should");
        if (skipped == 0 && (depth == 0 || (depth == 1 && name == "samples")))
            inSamples = true;
        else
            ++skipped;
        ++depth;
        return true;
    }

    bool end_array() override
    {
        --depth;
        if (skipped > 0)
            --skipped;
        else
            inSamples = false;
        return true;
    }

    bool parse_error(std::size_t, const std::string&, const nlohmann::json::exception& error) override
    {
        const std::string text = error.what();
        const auto at = text.find("line ");
        const auto end = text.find_first_not_of("0123456789", at + 5);
        const std::string line = at == std::string::npos ? "" : ":" + text.substr(at + 5, end - at - 5);
        throw Failure(Status::Refused, source.GetName() + line + ": " + text.substr(text.find("] ") + 2));
    }

private:
    struct Value {
        std::string key, text;
        bool isNumber;
    };

    [[noreturn]] void Refuse(const std::string& what) const
    {
        const std::string place = count > 0 ? ": sample " + std::to_string(count) : "";
        throw Failure(Status::Refused, source.GetName() + place + ": " + what);
    }

    bool Scalar(const std::string& text, bool isNumber)
    {
        if (inSample)
            values.push_back({name, text, isNumber});
        else if (inSamples && skipped == 0)
            Refuse("\"" + text + "\" stands where a sample should");
        else if (depth == 1 && !begun)
            remarks.push_back({UpperCase(name), text});
        return true;
    }

    void Begin()
    {
        std::vector<std::string> names;
        for (const Value& value : values)
            names.push_back(value.key);
        schema = SchemaOf(source, names);
        schema.remarks = remarks;
        if (schema.CountNumbers() == 0)
            Refuse("it has no field that ox knows; see docs/ox.md");
        for (std::size_t i = 0, texts = 0, numbers = 0; i < names.size(); ++i)
            places.push_back({names[i], schema.columns[i].IsNumber() ? numbers++ : texts++});
        batch = Batch(schema);
        begun = true;
        sink.Begin(schema);
    }

    void AddRow()
    {
        if (!begun)
            Begin();
        const std::size_t row = batch.Add();
        std::size_t next = 0; // the fields come in the same order, mostly
        for (const Value& value : values) {
            if (next >= places.size() || places[next].first != value.key)
                next = Find(value.key);
            const Column& column = schema.columns[next];
            const std::size_t place = places[next++].second;
            if (!column.IsNumber())
                batch.Texts(row)[place] = value.text;
            else if (value.isNumber || value.text.empty())
                batch.Numbers(row)[place] = NumberOf(source, value.text, column);
            else
                Refuse("\"" + value.text + "\" in " + column.name + " is no number");
        }
        if (batch.IsFull()) {
            sink.Take(batch);
            batch.Clear();
        }
    }

    std::size_t Find(const std::string& key) const
    {
        const auto found =
            std::find_if(places.begin(), places.end(), [&key](const auto& place) { return place.first == key; });
        if (found == places.end())
            Refuse("it has \"" + key + "\", the first sample has not");
        return static_cast<std::size_t>(found - places.begin());
    }

    const Source& source;
    Sink& sink;
    std::string name;
    std::size_t depth = 0, skipped = 0, count = 0;
    bool inSamples = false, inSample = false, begun = false;
    std::vector<Remark> remarks;
    std::vector<Value> values;
    Schema schema;
    std::vector<std::pair<std::string, std::size_t>> places; ///< name in the file, place among the texts or numbers
    Batch batch;
};

}

void ReadJson(Source& source, Sink& sink)
{
    std::istream stream(&source);
    Samples samples(source, sink);
    nlohmann::json::sax_parse(stream, &samples);
    samples.Finish();
}

}
