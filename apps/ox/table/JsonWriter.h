#pragma once

#include "apps/ox/base/Output.h"
#include "apps/ox/table/Batch.h"

namespace Ox {

/// One object: the remarks by name, then "samples", an array of one flat object a row. A missing number is null.
class JsonWriter : public Sink {
public:
    explicit JsonWriter(Output& target) : output(target) { }

    void Begin(const Schema& written) override;
    void Take(const Batch& batch) override;
    void Show() override { output.Flush(); }
    void End() override;

private:
    Output& output;
    std::vector<Column> columns;
    std::vector<std::string> keys; ///< quoted, with the colon
    bool first = true;
};

}
