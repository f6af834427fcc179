#include "virtual/colorimeter/LightModel.h"

#include <algorithm>

namespace Virtual::Colorimeter {
namespace {

constexpr double rangeEndHertz = 20000.0;   // where a converter of Optics::ThreeRanges saturates
constexpr double converterEndHertz = 1e6;   // the most that any other gives
constexpr double counterEnd = 2147483647.0; // of Optics::Integrator: more reads as a negative count

/// Adjugate over determinant.
Matrix Inverse(const Matrix& m)
{
    Matrix inverse{};
    for (std::size_t row = 0; row < 3; ++row)
        for (std::size_t column = 0; column < 3; ++column) {
            const std::size_t r1 = (column + 1) % 3, r2 = (column + 2) % 3;
            const std::size_t c1 = (row + 1) % 3, c2 = (row + 2) % 3;
            inverse[row][column] = m[r1][c1] * m[r2][c2] - m[r1][c2] * m[r2][c1];
        }
    const double determinant = m[0][0] * inverse[0][0] + m[0][1] * inverse[1][0] + m[0][2] * inverse[2][0];
    for (auto& row : inverse)
        for (double& entry : row)
            entry /= determinant;
    return inverse;
}

}

LightModel::LightModel(const Type& instrumentType)
    : type(instrumentType),
      calibration(MakeCalibration(instrumentType)),
      fromXYZ(Inverse(calibration.toXYZ)),
      fromAmbientXYZ(Inverse(calibration.toAmbientXYZ))
{
}

bool LightModel::IsTooBright(const Scene& scene) const
{
    if (type.optics == Optics::Integrator)
        return std::ranges::max(Pulses(scene)) > counterEnd;
    const Triple hertz = Hertz(scene);
    return type.optics == Optics::ThreeRanges ? hertz[0] >= rangeEndHertz : std::ranges::max(hertz) > converterEndHertz;
}

Triple LightModel::Pulses(const Scene& scene) const
{
    const Matrix& matrix = scene.diffuser ? fromAmbientXYZ : fromXYZ;
    const Triple& light = scene.diffuser ? scene.ambientXYZ : scene.screenXYZ;
    const double unit = scene.diffuser ? luxPerFootCandle : candelasPerFootLambert;
    Triple pulses{};
    for (std::size_t i = 0; i < 3; ++i) {
        const double seen = (matrix[i][0] * light[0] + matrix[i][1] * light[1] + matrix[i][2] * light[2]) / unit;
        pulses[i] = seen + scene.dark[i];
    }
    return pulses;
}

Triple LightModel::Hertz(const Scene& scene) const
{
    if (type.optics == Optics::OneConverter || type.optics == Optics::ThreeRanges)
        return LuminanceHertz(scene);
    Triple hertz = Pulses(scene);
    for (double& value : hertz)
        value /= calibration.seconds;
    return hertz;
}

Triple LightModel::LuminanceHertz(const Scene& scene) const
{
    const double footLamberts = scene.screenXYZ[1] / candelasPerFootLambert;
    Triple hertz{};
    if (type.optics == Optics::OneConverter) {
        const auto channel = static_cast<std::size_t>(type.lightChannel);
        hertz[channel] = footLamberts / calibration.footLambertsPerUnit[channel] + scene.dark[0];
        return hertz;
    }
    for (std::size_t i = 0; i < 3; ++i)
        hertz[i] = std::min(footLamberts / calibration.footLambertsPerUnit[i] + scene.dark[i], rangeEndHertz);
    return hertz;
}

}
