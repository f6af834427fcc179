#include "virtual/bench/SerialSeam.h"

#include "platform/SerialPort.h"
#include "platform/pseudoterminal/PseudoTerminal.h"
#include "virtual/bench/Bench.h"
#include "virtual/instrument/Refusal.h"
#include "virtual/transport/DeviceChannel.h"
#include "virtual/transport/HandleTable.h"
#include "virtual/transport/PseudoTerminalPump.h"
#include "virtual/transport/SerialLine.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <exception>

namespace Virtual {

namespace {

using Lines = HandleTable<SerialLine>;
using Pumps = HandleTable<PseudoTerminalPump>; // by instrument

constexpr std::int32_t portCount = 8;

}

void OpenPseudoTerminal(const std::shared_ptr<Instrument>& instrument)
{
    const auto wired = std::dynamic_pointer_cast<WireInstrument>(instrument);
    auto pump = wired ? PseudoTerminalPump::Start(Bench::Instance(), wired) : nullptr;
    if (!pump)
        throw Refusal(OXV_NOT_POSSIBLE, "there is no pseudo-terminal for this instrument");
    Pumps::Instance().Add(instrument.get(), std::move(pump));
}

void CloseRoads(const Instrument& instrument)
{
    if (const auto pump = Pumps::Instance().Take(&instrument))
        pump->Stop();
    Lines::Instance().ForEach([&](SerialLine& line) {
        if (&line.FarEnd() == &instrument)
            line.HangUp();
    });
    HandleTable<DeviceChannel>::Instance().ForEach([&](DeviceChannel& channel) {
        if (channel.instrument.get() == &instrument)
            channel.dead = true;
    });
    Bench::Instance().Changed();
}

namespace {

/// The port behind a pseudo-terminal, with its line set.
Platform::SerialHandle TerminalPort(const std::string& name)
{
    const Platform::SerialHandle handle = Platform::OpenNearEnd(name);
    Lines::Instance().Take(handle); // the number may once have stood for a port in memory
    return handle;
}

/// A handle that stands for the port in memory.
Platform::SerialHandle MemoryPort(const std::shared_ptr<WireInstrument>& instrument)
{
    std::vector<Arrival> junk;
    if (instrument->Open(Bench::Instance().Now(), junk) != 0)
        return nullptr;
    const auto line = std::make_shared<SerialLine>(Bench::Instance(), instrument, junk);
    line->TakeAsSetUp();
    line->reserved = Platform::ReserveHandle();
    if (line->reserved != nullptr)
        Lines::Instance().Add(line->reserved, line);
    return line->reserved;
}

}

int PortDescriptor(const std::shared_ptr<Instrument>& instrument)
{
    const auto wired = std::dynamic_pointer_cast<WireInstrument>(instrument);
    const auto place = std::ranges::find(Bench::Instance().Entries(), instrument, &Bench::Entry::instrument);
    if (!wired || place == Bench::Instance().Entries().end() || place->place.road == Place::Road::usb)
        throw Refusal(OXV_NOT_POSSIBLE, "this instrument has no serial port");
    const Platform::SerialHandle handle =
        place->place.road == Place::Road::pty ? TerminalPort(wired->PortName()) : MemoryPort(wired);
    if (handle == nullptr)
        throw Refusal(OXV_NOT_POSSIBLE, "the port could not be opened");
    return Platform::DescriptorOf(handle);
}

}

// ---- the seam. A handle is that of a port in memory, or else one of the machine's own: that of a pseudo-terminal.

namespace Virtual {

namespace {

using Platform::MachinePorts;
using Platform::SerialHandle;
using Platform::SerialLimits;
using Platform::SerialPorts;

/// Runs `inMemory` on the line of a handle under the bench's lock, or else the machine's own port's `Method`.
template<auto Method, typename InMemory, typename... Arguments>
int OnPort(SerialHandle handle, InMemory inMemory, Arguments... arguments) noexcept
try {
    {
        BenchLock lock;
        if (const auto line = Lines::Instance().Find(handle))
            return inMemory(*line, lock);
    }
    return (MachinePorts().*Method)(handle, arguments...);
} catch (const std::exception&) {
    return ENOMEM;
}

class BenchPorts final : public SerialPorts {
public:
    int Open(std::int32_t port, SerialHandle* handle) noexcept override;

    int Configure(SerialHandle handle) noexcept override
    {
        return OnPort<&SerialPorts::Configure>(handle, [](SerialLine& line, BenchLock&) { return line.SetUp(); });
    }

    int SetLines(SerialHandle handle, bool on) noexcept override
    {
        const auto set = [on](SerialLine& line, BenchLock&) {
            line.SetControlLines(on);
            return 0;
        };
        return OnPort<&SerialPorts::SetLines>(handle, set, on);
    }

    int GetLimits(SerialHandle handle, SerialLimits* limits) noexcept override
    {
        if (limits == nullptr)
            return EINVAL;
        const auto get = [limits](const SerialLine& line, BenchLock&) {
            *limits = line.limits;
            return 0;
        };
        return OnPort<&SerialPorts::GetLimits>(handle, get, limits);
    }

    int SetLimits(SerialHandle handle, const SerialLimits* limits) noexcept override
    {
        if (limits == nullptr)
            return EINVAL;
        const auto set = [limits](SerialLine& line, BenchLock&) {
            line.limits = *limits;
            return 0;
        };
        return OnPort<&SerialPorts::SetLimits>(handle, set, limits);
    }

    int Read(SerialHandle handle, std::uint8_t* bytes, std::size_t size, std::size_t* moved) noexcept override
    {
        if (moved == nullptr || (bytes == nullptr && size != 0))
            return EINVAL;
        *moved = 0;
        const auto read = [&](SerialLine& line, BenchLock& lock) { return line.Read(lock, {bytes, size}, moved); };
        return OnPort<&SerialPorts::Read>(handle, read, bytes, size, moved);
    }

    int Write(SerialHandle handle, const std::uint8_t* bytes, std::size_t size, std::size_t* moved) noexcept override
    {
        if (moved == nullptr || (bytes == nullptr && size != 0))
            return EINVAL;
        *moved = 0;
        const auto write = [&](SerialLine& line, BenchLock& lock) { return line.Write(lock, {bytes, size}, moved); };
        return OnPort<&SerialPorts::Write>(handle, write, bytes, size, moved);
    }

    int Purge(SerialHandle handle, bool received) noexcept override
    {
        const auto purge = [received](SerialLine& line, BenchLock&) {
            if (received)
                line.DropReceived(Bench::Instance().Now());
            return 0;
        };
        return OnPort<&SerialPorts::Purge>(handle, purge, received);
    }

    int Close(SerialHandle handle) noexcept override
    {
        const auto close = [handle](SerialLine&, BenchLock&) {
            const auto line = Lines::Instance().Take(handle);
            line->HangUp();
            if (line->reserved != nullptr)
                Platform::ReleaseHandle(line->reserved);
            return line->FarEnd().Close(Bench::Instance().Now());
        };
        return OnPort<&SerialPorts::Close>(handle, close);
    }

    void Forget(SerialHandle handle) noexcept override
    {
        MachinePorts().Forget(handle); // a port in memory keeps its limits as long as it is open
    }

    int SetName(std::int32_t port, const char* name) noexcept override
    {
        const BenchLock lock;
        const int status = MachinePorts().SetName(port, name);
        if (status == 0)
            named[static_cast<std::size_t>(port)] = true;
        return status;
    }

private:
    /// Ports that the application has given a device name. The others of the machine are out of the bench's reach.
    std::array<bool, portCount + 1> named{};
};

int BenchPorts::Open(std::int32_t port, SerialHandle* handle) noexcept
try {
    if (handle == nullptr || port < 1 || port > portCount)
        return EINVAL;
    *handle = nullptr;
    BenchLock lock;
    const auto found = Bench::Instance().Colorimeter(Place::Road::serial, port);
    const auto instrument = std::dynamic_pointer_cast<WireInstrument>(found);
    if (!instrument) {
        if (!named[static_cast<std::size_t>(port)])
            return ENOENT;
        const int status = MachinePorts().Open(port, handle);
        Lines::Instance().Take(*handle); // the number may once have stood for a port in memory
        return status;
    }
    bool taken = false;
    Lines::Instance().ForEach([&](SerialLine& line) {
        const bool ours = line.reserved == nullptr; // when the application closes its own is not told here
        taken = taken || (ours && &line.FarEnd() == instrument.get());
    });
    if (taken)
        return EBUSY;
    std::vector<Arrival> junk;
    if (const int status = instrument->Open(Bench::Instance().Now(), junk); status != 0)
        return status;
    *handle = Lines::Instance().Add(std::make_shared<SerialLine>(Bench::Instance(), instrument, junk));
    return 0;
} catch (const std::exception&) {
    return ENOMEM;
}

constinit BenchPorts benchPorts;

}

}

Platform::SerialPorts& Platform::Ports() noexcept
{
    return Virtual::benchPorts;
}
