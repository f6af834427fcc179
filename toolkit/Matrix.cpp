#include "toolkit/Matrix.h"

#include "orvex/zelcal.h"

namespace Toolkit {

std::int32_t Multiply(const double* a, int rows, int inner, const double* b, int innerB, int columns, double* out)
{
    if (inner != innerB)
        return ZEL_BAD_ARGUMENT;
    for (int row = 0; row < rows; ++row) {
        for (int column = 0; column < columns; ++column) {
            double sum = 0.0;
            for (int i = 0; i < inner; ++i)
                sum += a[row * inner + i] * b[i * columns + column];
            out[row * columns + column] = sum;
        }
    }
    return ZEL_OK;
}

void Invert(double* matrix, int n)
{
    for (int k = 0; k < n; ++k) {
        double& pivot = matrix[k * n + k];
        for (int column = 0; column < n; ++column)
            if (column != k)
                matrix[k * n + column] /= pivot;
        pivot = 1.0 / pivot;
        for (int row = 0; row < n; ++row)
            for (int column = 0; column < n; ++column)
                if (row != k && column != k)
                    matrix[row * n + column] -= matrix[k * n + column] * matrix[row * n + k];
        for (int row = 0; row < n; ++row)
            if (row != k)
                matrix[row * n + k] *= -pivot;
    }
}

void Transpose(const double* matrix, int rows, int columns, double* out)
{
    for (int row = 0; row < rows; ++row)
        for (int column = 0; column < columns; ++column)
            out[column * rows + row] = matrix[row * columns + column];
}

}
