#pragma once

#include "apps/ox/base/Words.h"
#include "orvex/color.h"
#include "orvex/ox.h"
#include "virtual/orvex-virtual.h"

#include <string>

namespace Ox {

// clang-format off
#define OX_CALLS_OF_LIBRARY(X) \
    X(OX_GetOption) X(OX_SetOption) X(OX_IsConnected) X(OX_KeyPressed) X(OX_GetNumberOfAvailableSamples) X(OX_Calibrate) \
    X(OX_TriggerMeasurement) X(OX_GetSpectrum) X(OX_GetTriStimulus) X(OX_GetDensities) X(OX_GetDensity) X(OX_SetSubstrate) \
    X(OX_RegisterDeviceMessageHandler) \
    X(oxc_conditions_new) X(oxc_conditions_copy) X(oxc_conditions_free) X(oxc_set) X(oxc_get) X(oxc_value) X(oxc_set_paper) \
    X(oxc_error) X(oxc_colors) X(oxc_convert) X(oxc_densities) X(oxc_density) X(oxc_differences) X(oxc_spectral_differences) \
    X(oxc_metamerism) X(oxc_temperatures) X(oxc_rendering_indices) X(oxc_resample) X(oxc_find_patches)
#define OX_CALLS_OF_BENCH(X) \
    X(oxv_last_error) X(oxv_attach) X(oxv_set_number) X(oxv_set_text) X(oxv_set_curve) X(oxv_strip_clear) X(oxv_strip_add) \
    X(oxv_flash) X(oxv_press)
// clang-format on

/// The library's calls, found when the program starts: those of liborvex, or the same of liborvex-virtual, so that
/// every command runs on the machine's ports and on the bench.
struct Library {
    enum class Kind { Ports, Bench };

    /// @throws Failure: the library cannot be loaded, or lacks a call
    explicit Library(Kind kind);

    bool HasBench() const { return oxv_attach != nullptr; }

#define OX_DECLARE_CALL(name) decltype(&::name) name = nullptr;
    OX_CALLS_OF_LIBRARY(OX_DECLARE_CALL)
    OX_CALLS_OF_BENCH(OX_DECLARE_CALL) // null unless the kind is Bench
#undef OX_DECLARE_CALL
};

}
