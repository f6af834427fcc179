// CIE illuminant C: CIE 15, Colorimetry.

#include "Vondrel/CMetry/Internals/StandardTables.h"

namespace Vondrel::CMetry {

namespace {

constexpr float values[] = {
    0.0F,   0.0F,    0.0F,   0.0F,   0.01F,  0.2F,   0.4F,   1.55F,   2.7F,   4.85F,   7.0F,   9.95F,   12.9F,  17.2F,
    21.4F,  27.5F,   33.0F,  39.92F, 47.4F,  55.17F, 63.3F,  71.81F,  80.6F,  89.53F,  98.1F,  105.8F,  112.4F, 117.75F,
    121.5F, 123.45F, 124.0F, 123.6F, 123.1F, 123.3F, 123.8F, 124.09F, 123.9F, 122.92F, 120.7F, 116.9F,  112.1F, 106.98F,
    102.3F, 98.81F,  96.9F,  96.78F, 98.0F,  99.94F, 102.1F, 103.95F, 105.2F, 105.67F, 105.3F, 104.11F, 102.3F, 100.15F,
    97.8F,  95.43F,  93.2F,  91.22F, 89.7F,  88.83F, 88.4F,  88.19F,  88.1F,  88.06F,  88.0F,  87.86F,  87.8F,  87.99F,
    88.2F,  88.2F,   87.9F,  87.22F, 86.3F,  85.3F,  84.0F,  82.21F,  80.2F,  78.24F,  76.3F,  74.36F,  72.4F,  70.4F,
    68.3F,  66.3F,   64.4F,  62.8F,  61.5F,  60.2F,  59.2F,  58.5F,   58.1F,  58.0F,   58.2F,  58.5F,   59.1F};

}

const StandardTable illuminantC = {300, 780, 5, values};

}
