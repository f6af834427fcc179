#include "apps/ox/library/Swatch.h"

#include <algorithm>
#include <cmath>

namespace Ox {

Swatch SwatchOf(const Library& library, const float* spectrum)
{
    Conditions screen(library);
    screen.Set(Condition::Illuminant, "D65");
    screen.Set(Condition::Space, "RGB");
    float rgb[3];
    screen.Check(library.oxc_colors(screen.Handle(), spectrum, 1, rgb));
    Swatch swatch;
    std::transform(std::begin(rgb), std::end(rgb), swatch.begin(),
                   [](float c) { return static_cast<std::uint8_t>(std::lround(std::clamp(c, 0.0F, 255.0F))); });
    return swatch;
}

}
