// CIE illuminant D75: CIE 15, Colorimetry (editions of 1986 and 2004), two decimals.
// 460 nm lies on a rounding boundary (132.355) and reads 132.35.

#include "Vondrel/CMetry/Internals/StandardTables.h"

namespace Vondrel::CMetry {

namespace {

constexpr float values[] = {
    0.04F,   2.59F,   5.13F,   17.47F,  29.81F,  42.37F,  54.93F,  56.09F,  57.26F,  60.0F,   62.74F,  62.86F,
    62.98F,  66.65F,  70.31F,  68.51F,  66.7F,   68.33F,  69.96F,  85.95F,  101.93F, 106.91F, 111.89F, 112.35F,
    112.8F,  107.94F, 103.09F, 112.14F, 121.2F,  127.1F,  133.01F, 132.68F, 132.35F, 129.84F, 127.32F, 127.06F,
    126.8F,  122.29F, 117.78F, 117.19F, 116.59F, 115.15F, 113.7F,  111.18F, 108.66F, 109.55F, 110.44F, 108.37F,
    106.29F, 105.6F,  104.9F,  102.45F, 100.0F,  97.81F,  95.62F,  94.91F,  94.21F,  90.6F,   87.0F,   87.11F,
    87.23F,  86.68F,  86.14F,  84.86F,  83.58F,  81.16F,  78.75F,  78.59F,  78.43F,  76.61F,  74.8F,   74.56F,
    74.32F,  74.87F,  75.42F,  73.5F,   71.58F,  67.71F,  63.85F,  64.46F,  65.08F,  66.57F,  68.07F,  62.26F,
    56.44F,  60.34F,  64.24F,  66.7F,   69.15F,  63.89F,  58.63F,  50.62F,  42.62F,  51.98F,  61.35F,  59.84F,
    58.32F,  58.73F,  59.14F,  56.94F,  54.73F,  51.32F,  47.92F,  50.42F,  52.92F,  54.23F,  55.54F};

}

const StandardTable illuminantD75 = {300, 830, 5, values};

}
