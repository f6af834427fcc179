#include "apps/ox/Session.h"

namespace Ox {

const Library& Session::GetLibrary()
{
    if (!library)
        library.emplace(onBench ? Library::Kind::Bench : Library::Kind::Ports);
    return *library;
}

Instrument& Session::GetInstrument()
{
    if (onBench && bench == nullptr)
        bench = std::make_unique<Bench>(GetLibrary());
    if (instrument == nullptr)
        instrument = std::make_unique<Instrument>(GetLibrary());
    return *instrument;
}

Stage& Session::GetStage(bool asks)
{
    if (bench != nullptr)
        return *bench;
    hand = std::make_unique<Hand>(asks);
    return *hand;
}

}
