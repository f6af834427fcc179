#pragma once

#include "apps/ox/device/Bench.h"
#include "apps/ox/table/Writer.h"

#include <memory>
#include <optional>

namespace CLI {
class App;
}

namespace Ox {

/// What all commands share: the options of the program, the library, the instrument.
class Session {
public:
    bool quiet = false;
    bool verbose = false;
    std::string scene; ///< of the bench, "" without the bench

    /// Loads the library, or that of the bench, at the first call.
    const Library& GetLibrary();
    /// Starts with the first call; fills the bench before.
    Instrument& GetInstrument();
    /// @param asks  false: a person is not asked
    Stage& GetStage(bool asks);

private:
    std::optional<Library> library;
    std::unique_ptr<Bench> bench;
    std::unique_ptr<Hand> hand;
    std::unique_ptr<Instrument> instrument;
};

}
