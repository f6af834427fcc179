#pragma once

#include "apps/ox/base/Output.h"
#include "apps/ox/table/Batch.h"

namespace Ox {

/// A table for people: columns aligned, units in the head. The widths are those of the first rows, up to Show() or a
/// screenful; later fields that are wider push their line.
class TableWriter : public Sink {
public:
    TableWriter(Output& target, bool showSwatches) : output(target), swatches(showSwatches) { }

    void Begin(const Schema& written) override;
    void Take(const Batch& batch) override;
    void Show() override;
    void End() override { Show(); }

private:
    void AppendLine(const std::vector<std::string>& cells, const Swatch* swatch);

    Output& output;
    bool swatches;
    bool begun = false; ///< the head is written, the widths stand
    std::vector<Column> columns;
    std::vector<std::size_t> widths;
    std::vector<std::vector<std::string>> waiting;
    std::vector<Swatch> waitingSwatches;
};

}
