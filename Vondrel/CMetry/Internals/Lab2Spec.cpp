#include "Vondrel/CMetry/Internals/Lab2Spec.h"

#include "Vondrel/CMetry/Internals/CMetryCalculator.h"
#include "Vondrel/CMetry/Internals/CMetryFilter.h"
#include "Vondrel/CMetry/Internals/LabFormulas.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <optional>

namespace Vondrel::CMetry {

namespace {

constexpr std::size_t points = SpectrumGrid::NumberOfDataPoints;

constexpr float startReflectance = 0.5F;
constexpr double startDistance = 1e38;
constexpr double nearEnough = 0.001; // of the squared XYZ error, before the delta E is asked for
constexpr double leastProgress = 1e-15;

using Vector = std::array<double, 3>;

Vector ToVector(const Color& color)
{
    return {color[0], color[1], color[2]};
}
Vector operator-(const Vector& a, const Vector& b)
{
    return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}
double Dot(const Vector& a, const Vector& b)
{
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}
double Length(const Vector& a)
{
    return std::sqrt(Dot(a, a));
}

/// One search, with its state.
class Search {
public:
    Search(const ColorBasis& basis_, const Color& lab_, float* spectrum_)
        : basis(basis_), lab(lab_), spectrum(spectrum_)
    {
        std::fill_n(spectrum, points, 0.0F);
        for (std::size_t i = 0; i < points; ++i) {
            spectrum[i] = 1.0F;
            directions[i] = ToVector(Formulas::SpectrumToXYZ(basis, spectrum));
            spectrum[i] = 0.0F;
            lengths[i] = Length(directions[i]);
        }
        std::fill_n(spectrum, points, startReflectance);
        target = ToVector(Formulas::LabToXYZ(basis.weights, lab));
        for (double& component : target)
            component = component < 0.0 ? 0.0 : component;
        UpdateError();
    }

    bool Run(float tolerance, bool useDeltaE94, int maxIterations)
    {
        double previous = startDistance;
        for (int count = 1;; ++count) {
            Move();
            UpdateError();
            const double distance = Dot(error, error);
            const bool reached = distance < nearEnough && GetDeltaE(useDeltaE94) < tolerance;
            if (previous - distance < leastProgress || count > maxIterations)
                return false;
            if (reached)
                return true;
            previous = distance;
        }
    }

private:
    void UpdateError()
    {
        xyz = Formulas::SpectrumToXYZ(basis, spectrum);
        error = target - ToVector(xyz);
    }

    float GetDeltaE(bool useDeltaE94) const
    {
        const Color reached = Formulas::XYZToLab(basis.weights, xyz);
        return useDeltaE94 ? Formulas::DeltaE_94(lab, reached, 1.0F, 1.0F, 1.0F)
                           : Formulas::DeltaE_CIELAB(lab, reached);
    }

    /// Moves the one reflectance whose effect points most nearly along the error, as far as that goes.
    void Move()
    {
        const double distance = Length(error);
        double smallestAngle = HUGE_VAL, cosine = 0.0;
        std::optional<std::size_t> best;
        for (std::size_t i = 0; i < points; ++i) {
            const double s = Dot(directions[i], error);
            const bool canMove = (s >= 0.0 && spectrum[i] < 1.0F) || (s < 0.0 && spectrum[i] > 0.0F);
            if (!canMove)
                continue;
            const double product = lengths[i] * distance;
            const double cos = product > 0.0 ? std::clamp(s / product, -1.0, 1.0) : 0.0;
            const double angle = std::acos(std::abs(cos));
            if (angle < smallestAngle) {
                smallestAngle = angle;
                cosine = cos;
                best = i;
            }
        }
        if (!best || !(lengths[*best] > 0.0))
            return;
        const double moved = spectrum[*best] + cosine * distance / lengths[*best];
        spectrum[*best] = static_cast<float>(std::clamp(moved, 0.0, 1.0));
    }

    const ColorBasis basis;
    const Color lab;
    float* const spectrum;
    Color xyz{};
    std::array<Vector, points> directions{}; // the XYZ of a reflectance of 1 at one wavelength alone
    std::array<double, points> lengths{};
    Vector target{}, error{};
};

}

bool Lab2Spec::GetSpectrum(const VDColorVector& lab, VDSpectrum& spectrum, float tolerance, bool useDeltaE94,
                           int maxIterations) const
try {
    const VDMeasureConditions& conditions = lab.GetMeasureConditions();
    spectrum = VDSpectrum(VDSpectrum::ValueArray{}, conditions);
    const bool onPaper = conditions.GetWhiteBase() == WhiteBase::Paper
        && conditions.GetIllumination().GetIlluminationTYPE() != IlluminationTYPE::Emission;
    const float* const paper = onPaper ? BaseCalculator::GetPaperValues() : nullptr;
    if (onPaper && paper == nullptr)
        return false;
    CMetryFilter& filter = CMetryCalculator::GetFilter();
    filter.SetMeasuringConditions(conditions);
    return Find({filter.GetWeights(), paper}, {lab[0], lab[1], lab[2]}, &spectrum[0], tolerance, useDeltaE94,
                maxIterations);
}
TRACE_GUARD("Lab2Spec", "GetSpectrum")

bool Lab2Spec::Find(const ColorBasis& basis, const Color& lab, float* spectrum, float tolerance, bool useDeltaE94,
                    int maxIterations)
{
    return Search(basis, lab, spectrum).Run(tolerance, useDeltaE94, maxIterations);
}

}
