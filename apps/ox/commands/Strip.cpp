#include "apps/ox/commands/Strip.h"

#include "apps/ox/base/Failure.h"
#include "apps/ox/base/Terminal.h"

namespace Ox {

std::string Strip::Describe() const
{
    return std::to_string(places.size() / 2) + " patches found in " + std::to_string(readings)
        + " readings, the strip was read from its " + (reversed ? "end" : "start");
}

std::vector<float> ScanReadings(Instrument& instrument, Stage& stage, bool quiet)
{
    const ModeRow& mode = ModeOf("scan");
    instrument.Set("MeasurementMode", mode.mode);
    CalibrateFor(mode, instrument, stage, quiet);
    instrument.Set("Recognition", "no");
    if (!stage.ForMeasurement(mode, instrument, 0, false))
        throw Failure(Status::Failed, "ended before the scan");
    const Progress progress("scanning", quiet);
    const std::size_t count = instrument.Measure();
    std::vector<float> readings(count * OXC_BANDS);
    for (std::size_t i = 0; i < count; ++i)
        instrument.ReadSpectrum(i, &readings[i * OXC_BANDS]);
    return readings;
}

Strip FindPatches(const Conditions& conditions, const std::vector<float>& readings, std::size_t patches,
                  const std::vector<float>& reference)
{
    Strip strip;
    strip.readings = readings.size() / OXC_BANDS;
    strip.spectra.resize(patches * OXC_BANDS);
    strip.places.resize(patches * 2);
    int32_t reversed = 0;
    const int32_t result = conditions.GetLibrary().oxc_find_patches(
        conditions.Handle(), readings.data(), strip.readings, patches, reference.empty() ? nullptr : reference.data(),
        strip.spectra.data(), strip.places.data(), &reversed);
    if (result == OX_RecognitionFailed)
        throw Failure(Status::Failed,
                      "no " + std::to_string(patches) + " patches were found in " + std::to_string(strip.readings)
                          + " readings; scan again, or look at ox scan --raw");
    conditions.Check(result);
    strip.reversed = reversed != 0;
    return strip;
}

}
