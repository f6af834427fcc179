#pragma once

#include "apps/ox/files/Reader.h"

namespace Ox {

/// Reads values with commas, tabs or semicolons between them, whichever the header line has most of. A file whose first
/// field is "wavelength" holds a spectrum in each column, and a wavelength in each line.
void ReadSeparated(Source& source, Sink& sink);

}
