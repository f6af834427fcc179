#pragma once

#include "virtual/bench/Instrument.h"

#include <memory>

namespace Virtual {

/// A spectrophotometer as built, not yet at a place (virtual/spectrophotometer).
std::shared_ptr<Instrument> MakeSpectrophotometer();

/// A colorimeter of a type as built, not yet at a place; null for a number that is no type (virtual/colorimeter).
std::shared_ptr<Instrument> MakeColorimeter(int type);

}
