// CIE illuminant B: CIE 1931 resolution; G. Wyszecki and W. S. Stiles, Color Science.
// 515 nm reads 89.95, as in most transcriptions; 89.65 is a misprint in circulation.

#include "Vondrel/CMetry/Internals/StandardTables.h"

namespace Vondrel::CMetry {

namespace {

constexpr float values[] = {
    0.02F,   0.26F,   0.5F,    1.45F,  2.4F,    4.0F,   5.6F,    7.6F,   9.6F,    12.4F,   15.2F,   18.8F,   22.4F,
    26.85F,  31.3F,   36.18F,  41.3F,  46.62F,  52.1F,  57.7F,   63.2F,  68.37F,  73.1F,   77.31F,  80.8F,   83.44F,
    85.4F,   86.88F,  88.3F,   90.08F, 92.0F,   93.75F, 95.2F,   96.23F, 96.5F,   95.71F,  94.2F,   92.37F,  90.7F,
    89.95F,  89.5F,   90.43F,  92.2F,  94.46F,  96.9F,  99.16F,  101.0F, 102.2F,  102.8F,  102.92F, 102.6F,  101.9F,
    101.0F,  100.07F, 99.2F,   98.44F, 98.0F,   98.08F, 98.5F,   99.06F, 99.7F,   100.36F, 101.0F,  101.56F, 102.2F,
    103.05F, 103.9F,  104.59F, 105.0F, 105.08F, 104.9F, 104.55F, 103.9F, 102.84F, 101.6F,  100.38F, 99.1F,   97.7F,
    96.2F,   94.6F,   92.9F,   91.1F,  89.4F,   88.0F,  86.9F,   85.9F,  85.2F,   84.8F,   84.7F,   84.9F,   85.4F};

}

const StandardTable illuminantB = {320, 770, 5, values};

}
