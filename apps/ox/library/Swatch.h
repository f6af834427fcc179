#pragma once

#include "apps/ox/library/Conditions.h"
#include "apps/ox/table/Batch.h"

namespace Ox {

/// A reflectance as a screen shows it: the colour under D65, 2 degrees.
Swatch SwatchOf(const Library& library, const float* spectrum);

}
