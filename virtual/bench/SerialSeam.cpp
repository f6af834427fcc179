#include "virtual/bench/SerialSeam.h"

#include "platform/posix/Descriptor.h"
#include "platform/posix/SerialPort.h"
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

/// A descriptor of the port behind a pseudo-terminal, with its line set.
int TerminalDescriptor(const std::string& name)
{
    Platform::SerialHandle handle = nullptr;
    if (Platform::Posix::SerialOpenDevice(name.c_str(), &handle) != 0)
        return -1;
    if (Platform::Posix::SerialConfigure(handle) != 0) {
        Platform::Posix::SerialClose(handle);
        return -1;
    }
    Lines::Instance().Take(handle); // the number may once have stood for a port in memory
    return Platform::Posix::ToDescriptor(handle);
}

/// A descriptor that stands for the port in memory.
int MemoryDescriptor(const std::shared_ptr<WireInstrument>& instrument)
{
    std::vector<Arrival> junk;
    if (instrument->Open(Bench::Instance().Now(), junk) != 0)
        return -1;
    const auto line = std::make_shared<SerialLine>(Bench::Instance(), instrument, junk);
    line->TakeAsSetUp();
    line->descriptor = Platform::ReserveDescriptor();
    if (line->descriptor >= 0)
        Lines::Instance().Add(Platform::Posix::ToHandle(line->descriptor), line);
    return line->descriptor;
}

}

int PortDescriptor(const std::shared_ptr<Instrument>& instrument)
{
    const auto wired = std::dynamic_pointer_cast<WireInstrument>(instrument);
    const auto place = std::ranges::find(Bench::Instance().Entries(), instrument, &Bench::Entry::instrument);
    if (!wired || place == Bench::Instance().Entries().end() || place->place.road == Place::Road::usb)
        throw Refusal(OXV_NOT_POSSIBLE, "this instrument has no serial port");
    const int descriptor =
        place->place.road == Place::Road::pty ? TerminalDescriptor(wired->PortName()) : MemoryDescriptor(wired);
    if (descriptor < 0)
        throw Refusal(OXV_NOT_POSSIBLE, "the port could not be opened");
    return descriptor;
}

}

// ---- the seam. A handle is that of a port in memory, or else one of the platform's own: that of a pseudo-terminal.

namespace Platform {

using Virtual::Bench;
using Virtual::BenchLock;
using Virtual::Lines;
using Virtual::SerialLine;

namespace {

/// Ports that the application has given a device name. The others of the machine are out of the bench's reach.
std::array<bool, Virtual::portCount + 1> named{};

/// Runs `inMemory` on the line of a handle under the bench's lock, or else `onTerminal`.
template<typename InMemory, typename OnTerminal>
int OnPort(SerialHandle handle, InMemory inMemory, OnTerminal onTerminal) noexcept
try {
    {
        BenchLock lock;
        if (const auto line = Lines::Instance().Find(handle))
            return inMemory(*line, lock);
    }
    return onTerminal();
} catch (const std::exception&) {
    return ENOMEM;
}

}

int SerialOpen(std::int32_t port, SerialHandle* handle) noexcept
try {
    if (handle == nullptr || port < 1 || port > Virtual::portCount)
        return EINVAL;
    *handle = nullptr;
    BenchLock lock;
    const auto found = Bench::Instance().Colorimeter(Virtual::Place::Road::serial, port);
    const auto instrument = std::dynamic_pointer_cast<Virtual::WireInstrument>(found);
    if (!instrument) {
        if (!named[static_cast<std::size_t>(port)])
            return ENOENT;
        const int status = Posix::SerialOpen(port, handle);
        Lines::Instance().Take(*handle); // the number may once have stood for a port in memory
        return status;
    }
    bool taken = false;
    Lines::Instance().ForEach([&](SerialLine& line) {
        const bool ours = line.descriptor < 0; // when the application closes its own is not told here
        taken = taken || (ours && &line.FarEnd() == instrument.get());
    });
    if (taken)
        return EBUSY;
    std::vector<Virtual::Arrival> junk;
    if (const int status = instrument->Open(Bench::Instance().Now(), junk); status != 0)
        return status;
    *handle = Lines::Instance().Add(std::make_shared<SerialLine>(Bench::Instance(), instrument, junk));
    return 0;
} catch (const std::exception&) {
    return ENOMEM;
}

int SerialConfigure(SerialHandle handle) noexcept
{
    return OnPort(
        handle, [](SerialLine& line, BenchLock&) { return line.SetUp(); },
        [&] { return Posix::SerialConfigure(handle); });
}

int SerialSetDtr(SerialHandle handle, bool on) noexcept
{
    const auto set = [on](SerialLine& line, BenchLock&) {
        line.SetControlLine(Virtual::ControlLine::dtr, on);
        return 0;
    };
    return OnPort(handle, set, [&] { return Posix::SerialSetDtr(handle, on); });
}

int SerialSetRts(SerialHandle handle, bool on) noexcept
{
    const auto set = [on](SerialLine& line, BenchLock&) {
        line.SetControlLine(Virtual::ControlLine::rts, on);
        return 0;
    };
    return OnPort(handle, set, [&] { return Posix::SerialSetRts(handle, on); });
}

int SerialGetLimits(SerialHandle handle, SerialLimits* limits) noexcept
{
    if (limits == nullptr)
        return EINVAL;
    const auto get = [&](const SerialLine& line, BenchLock&) {
        *limits = line.limits;
        return 0;
    };
    return OnPort(handle, get, [&] { return Posix::SerialGetLimits(handle, limits); });
}

int SerialSetLimits(SerialHandle handle, const SerialLimits* limits) noexcept
{
    if (limits == nullptr)
        return EINVAL;
    const auto set = [&](SerialLine& line, BenchLock&) {
        line.limits = *limits;
        return 0;
    };
    return OnPort(handle, set, [&] { return Posix::SerialSetLimits(handle, limits); });
}

int SerialRead(SerialHandle handle, std::uint8_t* bytes, std::size_t size, std::size_t* moved) noexcept
{
    if (moved == nullptr || (bytes == nullptr && size != 0))
        return EINVAL;
    *moved = 0;
    const auto read = [&](SerialLine& line, BenchLock& lock) { return line.Read(lock, {bytes, size}, moved); };
    return OnPort(handle, read, [&] { return Posix::SerialRead(handle, bytes, size, moved); });
}

int SerialWrite(SerialHandle handle, const std::uint8_t* bytes, std::size_t size, std::size_t* moved) noexcept
{
    if (moved == nullptr || (bytes == nullptr && size != 0))
        return EINVAL;
    *moved = 0;
    const auto write = [&](SerialLine& line, BenchLock& lock) { return line.Write(lock, {bytes, size}, moved); };
    return OnPort(handle, write, [&] { return Posix::SerialWrite(handle, bytes, size, moved); });
}

int SerialPurgeTransmit(SerialHandle handle) noexcept
{
    return OnPort(
        handle, [](SerialLine&, BenchLock&) { return 0; }, [&] { return Posix::SerialPurgeTransmit(handle); });
}

int SerialPurgeReceive(SerialHandle handle) noexcept
{
    const auto purge = [](SerialLine& line, BenchLock&) {
        line.DropReceived(Bench::Instance().Now());
        return 0;
    };
    return OnPort(handle, purge, [&] { return Posix::SerialPurgeReceive(handle); });
}

int SerialClearError(SerialHandle handle) noexcept
{
    return OnPort(
        handle, [](SerialLine&, BenchLock&) { return 0; }, [&] { return Posix::SerialClearError(handle); });
}

int SerialClose(SerialHandle handle) noexcept
{
    const auto close = [&](SerialLine&, BenchLock&) {
        const auto line = Lines::Instance().Take(handle);
        line->HangUp();
        if (line->descriptor >= 0)
            ReleaseDescriptor(line->descriptor);
        return line->FarEnd().Close(Bench::Instance().Now());
    };
    return OnPort(handle, close, [&] { return Posix::SerialClose(handle); });
}

void SerialForget(SerialHandle handle) noexcept
{
    OnPort(
        handle, [](SerialLine&, BenchLock&) { return 0; },
        [&] {
            Posix::SerialForget(handle);
            return 0;
        });
}

int SetSerialPortName(std::int32_t port, const char* name) noexcept
{
    const BenchLock lock;
    const int status = Posix::SetSerialPortName(port, name);
    if (status == 0)
        named[static_cast<std::size_t>(port)] = true;
    return status;
}

}
