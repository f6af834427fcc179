// The calls about lights.
#include "Vondrel/CMetry/CMetryException.h"
#include "Vondrel/CMetry/Internals/ColorRenderingIndex.h"
#include "Vondrel/CMetry/Internals/ColorTemperature.h"
#include "Vondrel/CMetry/Internals/Weightfactors.h"
#include "Vondrel/ColorC/Call.h"

using namespace Vondrel::CMetry;
using namespace Vondrel::ColorC;

namespace {

const Weightfactors& Emission()
{
    static const Weightfactors weights{VDIllumination(IlluminationTYPE::Emission), Observer::TwoDegree, nullptr};
    return weights;
}

float GetTemperature(const float* light)
{
    return ColorTemperature::Find(Emission(), Formulas::Weigh(Emission(), light));
}

}

extern "C" {

int32_t oxc_temperatures(const float* lights, size_t count, float* kelvin)
{
    return Call([&] {
        CheckArrays(count, {{lights, OXC_BANDS}}, {{kelvin, 1}});
        Rows rows;
        for (std::size_t row = 0; row < count; ++row) {
            const float* const light = lights + row * OXC_BANDS;
            const bool finite = AllFinite(light, OXC_BANDS);
            kelvin[row] = finite ? GetTemperature(light) : noNumber;
            if (!finite)
                rows.Fail(row, OX_InvalidParameter, notFinite);
        }
        return rows.Result();
    });
}

int32_t oxc_rendering_indices(const float* lights, size_t count, float* indices, int32_t* valid)
{
    return Call([&] {
        CheckArrays(count, {{lights, OXC_BANDS}}, {{indices, 1}, {valid, 1}});
        Rows rows;
        for (std::size_t row = 0; row < count; ++row) {
            const float* const light = lights + row * OXC_BANDS;
            indices[row] = noNumber;
            valid[row] = -1;
            if (!AllFinite(light, OXC_BANDS)) {
                rows.Fail(row, OX_InvalidParameter, notFinite);
                continue;
            }
            try {
                bool near = false;
                IlluminationTYPE reference;
                indices[row] = ColorRenderingIndex::Find(Emission(), light, GetTemperature(light), near, reference);
                valid[row] = near ? 1 : 0;
            } catch (const CMetryException&) { // too weak or too strong for a white
                rows.Fail(row, OX_CalculationFailed, noResult);
            }
        }
        return rows.Result();
    });
}
}
