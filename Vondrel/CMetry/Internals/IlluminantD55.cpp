// CIE illuminant D55: CIE 15, Colorimetry (editions of 1986 and 2004), two decimals.

#include "Vondrel/CMetry/Internals/StandardTables.h"

namespace Vondrel::CMetry {

namespace {

constexpr float values[] = {
    0.02F,   1.05F,   2.07F,   6.65F,   11.22F,  15.94F,  20.65F, 22.27F,  23.88F,  25.85F,  27.82F,  29.22F,
    30.62F,  32.46F,  34.31F,  33.45F,  32.58F,  35.34F,  38.09F, 49.52F,  60.95F,  64.75F,  68.55F,  70.07F,
    71.58F,  69.75F,  67.91F,  76.76F,  85.61F,  91.8F,   97.99F, 99.23F,  100.46F, 100.19F, 99.91F,  101.33F,
    102.74F, 100.41F, 98.08F,  99.38F,  100.68F, 100.69F, 100.7F, 100.34F, 99.99F,  102.1F,  104.21F, 103.16F,
    102.1F,  102.53F, 102.97F, 101.48F, 100.0F,  98.61F,  97.22F, 97.48F,  97.75F,  94.59F,  91.43F,  92.93F,
    94.42F,  94.78F,  95.14F,  94.68F,  94.22F,  92.33F,  90.45F, 91.39F,  92.33F,  90.59F,  88.85F,  89.59F,
    90.32F,  92.13F,  93.95F,  91.95F,  89.96F,  84.82F,  79.68F, 81.26F,  82.84F,  83.84F,  84.84F,  77.54F,
    70.24F,  74.77F,  79.3F,   82.15F,  84.99F,  78.44F,  71.88F, 62.34F,  52.79F,  64.36F,  75.93F,  73.87F,
    71.82F,  72.38F,  72.94F,  70.14F,  67.35F,  63.04F,  58.73F, 61.86F,  64.99F,  66.65F,  68.31F};

} // namespace

const StandardTable illuminantD55 = {300, 830, 5, values};

} // namespace
