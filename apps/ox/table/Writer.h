#pragma once

#include "apps/ox/base/Output.h"
#include "apps/ox/base/Words.h"
#include "apps/ox/table/Batch.h"

#include <memory>

namespace Ox {

enum class Format { Table, Csv, Tsv, Json, Cgats };

inline const Words formatNames = {"table", "csv", "tsv", "json", "cgats"};

/// @throws Failure for a name that is none
Format FormatOf(const std::string& name);

/// Writes rows in a format. A table for people shows numbers with as many decimals as they are worth; the others have
/// the shortest digits that read back to the same float.
/// @param swatches  a table shows each row's colour
std::unique_ptr<Sink> MakeWriter(Format format, Output& output, bool swatches = false);

}
