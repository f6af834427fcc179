#pragma once

#include "apps/ox/files/Source.h"
#include "apps/ox/table/Batch.h"

namespace Ox {

/// Reads a file of rows, in batches, into a sink: CGATS, JSON, or values with commas, tabs or semicolons between them;
/// its content tells which. Begin() comes once, End() is left to the caller. Of several tables in a file the first with
/// numbers counts, and those with the same fields.
/// @param path   "-" for the standard input
/// @param quiet  do not tell of tables that are left out
/// @throws Failure: the file cannot be read or is broken, "FILE:LINE: what"
void ReadFile(const std::string& path, Sink& sink, bool quiet = false);

/// A number of a file.
/// @return NaN for an empty text
/// @throws Failure: it is no number
float NumberOf(const Source& source, std::string_view text, const Column& column);

/// The columns of a header.
/// @throws Failure: two have the same name
Schema SchemaOf(const Source& source, const std::vector<std::string>& names);

}
