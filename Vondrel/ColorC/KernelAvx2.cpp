// The road of processors with AVX2.
#include "Vondrel/ColorC/Kernels.h"
#include "Vondrel/ColorC/LanesAvx2.h"

#include "Vondrel/ColorC/KernelBody.h"

namespace Vondrel::ColorC {

const Road avx2Road{"avx2", WeighRows, RowsToLab, RowsFromLab};

}
