#pragma once

#include "apps/ox/base/Output.h"
#include "apps/ox/table/Batch.h"

namespace Ox {

/// Comma- or tab-separated values in the way of RFC 4180: one header line; a field with a separator, a quote or the end
/// of a line in it stands in quotes; a missing value is empty.
class SeparatedWriter : public Sink {
public:
    SeparatedWriter(Output& target, char between) : output(target), separator(between) { }

    void Begin(const Schema& written) override;
    void Take(const Batch& batch) override;
    void Show() override { output.Flush(); }
    void End() override { output.Flush(); }

private:
    void AppendText(const std::string& field);

    Output& output;
    char separator;
    std::vector<Column> columns;
};

}
