#pragma once

#include "Vondrel/CMetry/Internals/ColorFormulas.h"
#include "Vondrel/ColorC/Call.h"
#include "Vondrel/ColorC/Conditions.h"

/// What the rows of a call rest on: the conditions, checked once.
namespace Vondrel::ColorC {

/// How much of the conditions a calculation needs.
enum class Needs {
    Nothing,
    Weights,
    White, ///< weights, and a white to divide by
};

/// @throws Refusal  the conditions are null, or have no weights or white that are needed
void Require(const oxc_conditions* conditions, Needs needs);

/// For spectra.
/// @throws Refusal  as Require; white base Paper without a paper
CMetry::ColorBasis GetBasis(const oxc_conditions* conditions, Needs needs);

/// How a space follows from XYZ.
struct SpaceRow {
    CMetry::ColorSpace space;
    Needs needs;
    CMetry::Color (*fromXYZ)(const CMetry::ColorBasis& basis, const CMetry::Color& xyz);
};

/// @throws Refusal  there is no way to this space
const SpaceRow& FindSpace(CMetry::ColorSpace space);

}
