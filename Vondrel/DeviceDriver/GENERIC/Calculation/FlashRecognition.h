#pragma once

#include "Vondrel/DeviceDriver/GENERIC/Calculation/Recognition.h"

namespace Vondrel::DeviceDriver::Generic::Calculation {

/// Finds the flashes in a fast series of ambient light readings: one spectrum for each flash, of the light that the
/// flash alone added. It is an amount of light, the sum of the rates times the time of one reading.
///
/// A flash is a reading whose energy stands out, with its flanks on both sides down to the first valley. Reading 0 is
/// in a flash only if it stands out itself. The ambient light of a flash is the mean of up to six readings around it
/// that belong to no flash.
class FlashRecognition : public Recognition {
public:
    /// A series in which nothing stands out gives no result, and true. On failure `recognized` holds the flashes that
    /// were made so far, and empty records for the others.
    bool Execute(const std::vector<SpectrumData>& measured, std::vector<SpectrumData>& recognized) override;

private:
    void RecognizeFlashes(const std::vector<SpectrumData>& measured, std::vector<SpectrumData>& recognized);
    static double calculateEnergy(const SpectrumData& reading);
    double analyzeEnergies(const std::vector<SpectrumData>& measured);
    double standardDeviation(double mean) const;
    void determinFlashArea();
    void determinFlashAreaLowerPart(bool backward);
    std::vector<std::size_t> flashStartPositions() const;
    std::vector<float> createAmbientLight(const std::vector<SpectrumData>& measured, std::size_t start) const;
    std::vector<float> createFlash(const std::vector<SpectrumData>& measured, const std::vector<float>& ambient,
                                   std::size_t start) const;
    static void normalizeTimeBase(std::vector<float>& values, float time);
    static void vectorSum(std::vector<float>& a, const std::vector<float>& b);
    static std::vector<float> vectorDifference(const std::vector<float>& a, const std::vector<float>& b);
    static void vectorDivide(std::vector<float>& values, std::int32_t divisor);

    std::vector<std::uint8_t> flashFlags; // of each reading
    std::vector<double> energies;         // of each reading
    double flashThreshold = 0;            // of energy
};

}
