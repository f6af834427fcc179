#include "apps/ox/table/Writer.h"

#include "apps/ox/base/Failure.h"
#include "apps/ox/table/CgatsWriter.h"
#include "apps/ox/table/JsonWriter.h"
#include "apps/ox/table/SeparatedWriter.h"
#include "apps/ox/table/TableWriter.h"

namespace Ox {

Format FormatOf(const std::string& name)
{
    return static_cast<Format>(Choose(name, "format", formatNames));
}

std::unique_ptr<Sink> MakeWriter(Format format, Output& output, bool swatches)
{
    switch (format) {
    case Format::Csv:
        return std::make_unique<SeparatedWriter>(output, ',');
    case Format::Tsv:
        return std::make_unique<SeparatedWriter>(output, '\t');
    case Format::Json:
        return std::make_unique<JsonWriter>(output);
    case Format::Cgats:
        return std::make_unique<CgatsWriter>(output);
    case Format::Table:
        break;
    }
    return std::make_unique<TableWriter>(output, swatches);
}

}
