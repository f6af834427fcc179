#pragma once

#include "apps/ox/device/Instrument.h"
#include "apps/ox/device/Mode.h"

namespace Ox {

/// Who brings the instrument to its place before it calibrates or measures: a person, or the bench.
class Stage {
public:
    virtual ~Stage() = default;
    /// The instrument stands where the mode calibrates.
    virtual void ForCalibration(const ModeRow& mode, const Instrument& instrument) = 0;
    /// The instrument stands before what is measured.
    /// @param number   of the measurement, from 0
    /// @param keyOnly  the instrument's key starts it, and nothing else
    /// @return false: the person wants to end
    virtual bool ForMeasurement(const ModeRow& mode, const Instrument& instrument, std::size_t number,
                                bool keyOnly) = 0;
    /// Does it go on by itself, so that an unlimited series would never end?
    virtual bool IsAutomatic() const = 0;
};

/// Asks a person, on the terminal.
class Hand : public Stage {
public:
    /// @param asks  false: everything is in its place already
    explicit Hand(bool asksPerson) : asks(asksPerson) { }
    void ForCalibration(const ModeRow& mode, const Instrument& instrument) override;
    bool ForMeasurement(const ModeRow& mode, const Instrument& instrument, std::size_t number, bool keyOnly) override;
    bool IsAutomatic() const override { return !asks; }

private:
    bool asks;
};

}
