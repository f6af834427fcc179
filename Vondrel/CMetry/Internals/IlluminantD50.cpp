// CIE illuminant D50: CIE 15, Colorimetry (editions of 1986 and 2004), two decimals.

#include "Vondrel/CMetry/Internals/StandardTables.h"

namespace Vondrel::CMetry {

namespace {

constexpr float values[] = {
    0.02F,  1.03F,  2.05F,  4.91F,  7.78F,  11.26F,  14.75F,  16.35F,  17.95F,  19.48F,  21.01F, 22.48F, 23.94F, 25.45F,
    26.96F, 25.72F, 24.49F, 27.18F, 29.87F, 39.59F,  49.31F,  52.91F,  56.51F,  58.27F,  60.03F, 58.93F, 57.82F, 66.32F,
    74.82F, 81.04F, 87.25F, 88.93F, 90.61F, 90.99F,  91.37F,  93.24F,  95.11F,  93.54F,  91.96F, 93.84F, 95.72F, 96.17F,
    96.61F, 96.87F, 97.13F, 99.61F, 102.1F, 101.43F, 100.75F, 101.54F, 102.32F, 101.16F, 100.0F, 98.87F, 97.74F, 98.33F,
    98.92F, 96.21F, 93.5F,  95.59F, 97.69F, 98.48F,  99.27F,  99.16F,  99.04F,  97.38F,  95.72F, 97.29F, 98.86F, 97.26F,
    95.67F, 96.93F, 98.19F, 100.6F, 103.0F, 101.07F, 99.13F,  93.26F,  87.38F,  89.49F,  91.6F,  92.25F, 92.89F, 84.87F,
    76.85F, 81.68F, 86.51F, 89.55F, 92.58F, 85.4F,   78.23F,  67.96F,  57.69F,  70.31F,  82.92F, 80.6F,  78.27F, 78.91F,
    79.55F, 76.48F, 73.4F,  68.66F, 63.92F, 67.35F,  70.78F,  72.61F,  74.44F};

} // namespace

const StandardTable illuminantD50 = {300, 830, 5, values};

} // namespace
