#pragma once

#include "apps/ox/files/Reader.h"

namespace Ox {

/// Reads JSON: an array of flat objects, or an object with such an array in "samples"; the texts beside it are remarks.
/// The first object names the fields.
void ReadJson(Source& source, Sink& sink);

}
