#include "apps/ox/Session.h"

namespace Ox {

const Library& Session::GetLibrary()
{
    if (!library)
        library.emplace(!scene.empty() ? Library::Kind::Bench : Library::Kind::Ports);
    return *library;
}

Instrument& Session::GetInstrument()
{
    if (!scene.empty() && bench == nullptr)
        bench = std::make_unique<Bench>(GetLibrary(), scene);
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
