#include "apps/ox/device/Stage.h"

#include "apps/ox/base/Failure.h"
#include "apps/ox/base/Terminal.h"

namespace Ox {

void Hand::ForCalibration(const ModeRow& mode, const Instrument& instrument)
{
    if (!asks)
        return;
    const bool onScreen = instrument.IsColorimeter();
    Tell(std::string(onScreen ? "Put the instrument on the screen" : mode.toCalibrate)
             + ", then press Enter or the instrument's key.",
         false);
    if (Wait([&] { return instrument.WasKeyPressed(); }) == Answer::Quit)
        throw Failure(Status::Failed,
                      WasInterrupted() ? "interrupted" : "ended before the calibration; --yes does not ask");
}

bool Hand::ForMeasurement(const ModeRow& mode, const Instrument& instrument, std::size_t number, bool keyOnly)
{
    if (!asks && !keyOnly)
        return !WasInterrupted();
    const std::string how = keyOnly ? ", then press the instrument's key (Ctrl-C ends)."
                                    : ", then press Enter or the instrument's key (q and Enter ends).";
    if (number == 0 || IsStandardInputTerminal())
        Tell(mode.toMeasure + how, false);
    return Wait([&] { return instrument.WasKeyPressed(); }, !keyOnly) != Answer::Quit;
}

}
