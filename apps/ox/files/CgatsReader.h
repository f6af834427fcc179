#pragma once

#include "apps/ox/files/Reader.h"

namespace Ox {

/// Reads CGATS: keywords in any order, comments, quotes of both kinds, several tables. Rows may run over lines.
void ReadCgats(Source& source, Sink& sink, bool quiet);

}
