#pragma once

#include "apps/ox/library/Conditions.h"

#include <optional>

namespace Ox {

/// The library's current device. A refusal of the library is thrown as a Failure with its text and trace.
class Instrument {
public:
    explicit Instrument(const Library& calls) : library(calls) { }
    /// Lets the device go, so that the next program finds it in order.
    ~Instrument();
    Instrument(const Instrument&) = delete;
    Instrument& operator=(const Instrument&) = delete;

    /// Chooses a device by its type; "" keeps the one that the library finds.
    /// @throws Failure: nothing is attached; tells what to do
    void Connect(const std::string& deviceType = "");
    bool IsConnected() const;

    std::string Get(const std::string& key) const;
    /// Nothing where the device has no such option.
    std::optional<std::string> Find(const std::string& key) const;
    void Set(const std::string& key, const std::string& value) const;
    void SetConditions(const Conditions& conditions) const;

    /// A colorimeter measures X, Y, Z and knows no spectra.
    bool IsColorimeter() const;
    bool WasKeyPressed() const { return library.OX_KeyPressed() == OX_NoError; }

    void Calibrate() const;
    /// @return how many samples there are
    std::size_t Measure() const;

    void ReadColor(std::size_t sample, float* color) const;
    void ReadSpectrum(std::size_t sample, float* spectrum) const;
    /// In the order black, cyan, magenta, yellow.
    void ReadDensities(std::size_t sample, float* densities) const;
    /// By the filter mode of the conditions.
    void ReadDensity(std::size_t sample, float* density) const;

    const Library& GetLibrary() const { return library; }

    /// What to do when no instrument is in reach.
    static std::string Advice();

private:
    [[noreturn]] void Throw(int32_t result) const;
    void Check(int32_t result) const;
    bool HasFailed() const;

    const Library& library;
};

}
