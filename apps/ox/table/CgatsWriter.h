#pragma once

#include "apps/ox/base/Output.h"
#include "apps/ox/table/Batch.h"

#include <cstdio>
#include <memory>

namespace Ox {

/// CGATS.17 text. A missing value is an empty text in quotes. The number of rows stands before them: they wait until
/// the end, in a temporary file when there are many.
class CgatsWriter : public Sink {
public:
    explicit CgatsWriter(Output& target) : output(target) { }

    void Begin(const Schema& written) override;
    /// @throws Failure: a text that CGATS has no form for
    void Take(const Batch& batch) override;
    void End() override;

private:
    void AppendText(const std::string& text);
    void Spill();

    Output& output;
    Schema schema;
    std::string data;
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> spilled{nullptr, std::fclose};
    std::size_t count = 0;
};

}
