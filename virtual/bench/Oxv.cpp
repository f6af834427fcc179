// The oxv_ calls: each checks its pointers, takes the bench's lock and leaves the rest to the bench and its
// instruments.

#include "virtual/bench/Bench.h"
#include "virtual/bench/SerialSeam.h"
#include "virtual/bench/SharedLocks.h"
#include "virtual/instrument/Refusal.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <exception>
#include <string_view>

namespace {

using Virtual::Bench;
using Virtual::BenchLock;
using Virtual::Curve;
using Virtual::Refusal;

thread_local char lastError[256];

void NoteError(const char* words)
{
    std::strncpy(lastError, words, sizeof lastError - 1);
}

/// Runs the body of a call under the bench's lock. A refusal becomes its code and its words.
/// @param body  takes bench and lock and returns the result of the call
template<class Body>
auto Call(Body body) noexcept -> decltype(body(Bench::Instance(), std::declval<BenchLock&>()))
{
    lastError[0] = '\0';
    try {
        BenchLock lock;
        return body(Bench::Instance(), lock);
    } catch (const Refusal& refusal) {
        NoteError(refusal.what());
        return refusal.Code();
    } catch (const std::exception& failure) {
        NoteError(failure.what());
        return OXV_NOT_POSSIBLE;
    }
}

/// The same for a call that changes one instrument and has nothing to say.
template<class Body>
int Change(oxv_device device, Body body) noexcept
{
    return Call([&](Bench& bench, BenchLock&) {
        body(bench.Find(device), bench.Now());
        bench.Changed();
        return static_cast<int>(OXV_OK);
    });
}

[[noreturn]] void RefuseValue(const char* words)
{
    throw Refusal(OXV_BAD_VALUE, words);
}

std::string_view Text(const char* text)
{
    if (!text)
        RefuseValue("a text is null");
    return text;
}

template<class Element>
std::span<Element> Array(Element* elements, std::size_t count)
{
    if (!elements && count > 0)
        RefuseValue("an array is null");
    return {elements, count};
}

double Within(double value, double lowest, double highest, const char* words)
{
    if (!(value >= lowest && value <= highest))
        RefuseValue(words);
    return value;
}

double Seconds(double seconds)
{
    constexpr double most = 3600.0;
    return Within(seconds, 0.0, most, "a time is not between 0 and 3600 seconds");
}

/// Light and reflectance are finite and never below zero.
Curve CurveOf(const float* values, std::size_t count, double firstNm, double stepNm)
{
    constexpr std::size_t mostPoints = 100000;
    constexpr double farthest = 1e6;
    const auto points = Array(values, count);
    if (count == 0 || count > mostPoints)
        RefuseValue("a curve has 1 to 100000 points");
    if (!std::ranges::all_of(points, [](float value) { return std::isfinite(value) && value >= 0.0F; }))
        RefuseValue("a point of a curve is negative or not a number");
    Within(firstNm, -farthest, farthest, "the first wavelength is not acceptable");
    Within(stepNm, 1e-6, farthest, "the distance of wavelengths must be above 0");
    return Curve(points, firstNm, stepNm);
}

/// Copies a text for a caller who may have too little room, or none.
std::int64_t CopyOut(const std::string& source, char* text, std::size_t size)
{
    const auto room = Array(text, size);
    if (!room.empty()) {
        const std::size_t copied = std::min(source.size(), size - 1);
        std::ranges::copy_n(source.begin(), static_cast<std::ptrdiff_t>(copied), room.begin());
        room[copied] = '\0';
    }
    return static_cast<std::int64_t>(source.size());
}

}

const char* oxv_last_error(void)
{
    return lastError;
}

// ---- the bench

int oxv_reset(void)
{
    return Call([](Bench& bench, BenchLock&) {
        bench.Reset();
        return static_cast<int>(OXV_OK);
    });
}

int oxv_clock_mode(int mode)
{
    return Call([&](Bench& bench, BenchLock&) {
        if (mode != OXV_CLOCK_VIRTUAL && mode != OXV_CLOCK_REAL)
            RefuseValue("there is no such clock mode");
        bench.SetClockReal(mode == OXV_CLOCK_REAL);
        return static_cast<int>(OXV_OK);
    });
}

int64_t oxv_clock_now(void)
{
    return Call([](Bench& bench, BenchLock&) { return bench.WallClock(); });
}

int oxv_clock_advance(int64_t microseconds)
{
    return Call([&](Bench& bench, BenchLock&) {
        if (microseconds < 0)
            RefuseValue("the clock does not go back");
        if (microseconds > Bench::longestWait)
            RefuseValue("the clock moves on by 31 years at most");
        if (bench.ClockIsReal())
            throw Refusal(OXV_NOT_POSSIBLE, "a real clock goes by itself");
        bench.AdvanceTo(bench.After(microseconds));
        return static_cast<int>(OXV_OK);
    });
}

int oxv_seed(uint64_t seed)
{
    return Call([&](Bench& bench, BenchLock&) {
        bench.Seed(seed);
        return static_cast<int>(OXV_OK);
    });
}

int oxv_settle(int64_t real_ms)
{
    return Call([&](Bench& bench, BenchLock& lock) {
        if (real_ms < 0)
            RefuseValue("a time is negative");
        if (!bench.Settle(lock, real_ms))
            throw Refusal(OXV_NOT_POSSIBLE, "the library has not taken up every message in time");
        return static_cast<int>(OXV_OK);
    });
}

int oxv_share_locks(int on)
{
    lastError[0] = '\0';
    Virtual::ShareLocks(on != 0);
    return OXV_OK;
}

// ---- instruments

oxv_device oxv_attach(const char* kind, const char* where)
{
    return Call([&](Bench& bench, BenchLock&) { return bench.Attach(Text(kind), Text(where)); });
}

int oxv_unplug(oxv_device device)
{
    return Change(device, [](auto& instrument, Virtual::Moment now) { instrument.Unplug(now); });
}

int oxv_plug(oxv_device device)
{
    return Change(device, [](auto& instrument, Virtual::Moment now) { instrument.Plug(now); });
}

int oxv_remove(oxv_device device)
{
    return Call([&](Bench& bench, BenchLock&) {
        bench.Remove(device);
        return static_cast<int>(OXV_OK);
    });
}

int oxv_set_number(oxv_device device, const char* name, double value)
{
    return Change(device, [&](auto& instrument, auto) { instrument.SetNumber(Text(name), value); });
}

int oxv_get_number(oxv_device device, const char* name, double* value)
{
    return Change(device, [&](auto& instrument, auto) {
        if (!value)
            RefuseValue("the place for the value is null");
        *value = instrument.GetNumber(Text(name));
    });
}

int oxv_set_text(oxv_device device, const char* name, const char* value)
{
    return Change(device, [&](auto& instrument, auto) { instrument.SetText(Text(name), Text(value)); });
}

int64_t oxv_get_text(oxv_device device, const char* name, char* value, size_t size)
{
    return Call([&](Bench& bench, BenchLock&) { return CopyOut(bench.Find(device).GetText(Text(name)), value, size); });
}

int oxv_set_bytes(oxv_device device, const char* name, const uint8_t* bytes, size_t count)
{
    return Change(device, [&](auto& instrument, auto) { instrument.SetBytes(Text(name), Array(bytes, count)); });
}

int oxv_memory_read(oxv_device device, uint32_t offset, uint8_t* bytes, size_t count)
{
    return Change(device, [&](auto& instrument, auto) { instrument.ReadMemory(offset, Array(bytes, count)); });
}

int oxv_memory_write(oxv_device device, uint32_t offset, const uint8_t* bytes, size_t count)
{
    return Change(device, [&](auto& instrument, auto) { instrument.WriteMemory(offset, Array(bytes, count)); });
}

int oxv_memory_protect(oxv_device device, uint32_t offset, int on)
{
    return Change(device, [&](auto& instrument, auto) { instrument.ProtectMemory(offset, on != 0); });
}

int oxv_port_descriptor(oxv_device device)
{
    return Call([&](Bench& bench, BenchLock&) { return Virtual::PortDescriptor(bench.EntryOf(device).instrument); });
}

// ---- what lies before the instrument

int oxv_set_curve(oxv_device device, const char* name, const float* values, size_t count, double first_nm,
                  double step_nm)
{
    return Change(device, [&](auto& instrument, auto) {
        instrument.SetCurve(Text(name), CurveOf(values, count, first_nm, step_nm));
    });
}

int oxv_strip_clear(oxv_device device)
{
    return Change(device, [](auto& instrument, auto) { instrument.ClearStrip(); });
}

int oxv_strip_add(oxv_device device, const float* values, size_t count, double first_nm, double step_nm, double seconds,
                  double edge_seconds)
{
    return Change(device, [&](auto& instrument, auto) {
        instrument.AddToStrip(CurveOf(values, count, first_nm, step_nm), Seconds(seconds), Seconds(edge_seconds));
    });
}

int oxv_flash(oxv_device device, double start, double duration, const float* values, size_t count, double first_nm,
              double step_nm)
{
    return Change(device, [&](auto& instrument, auto) {
        instrument.AddFlash(CurveOf(values, count, first_nm, step_nm), Seconds(start), Seconds(duration));
    });
}

int oxv_press(oxv_device device)
{
    return Change(device, [](auto& instrument, Virtual::Moment now) { instrument.Press(now); });
}

// ---- faults

int oxv_fault(oxv_device device, const char* point, uint32_t nth, uint32_t times, const char* how)
{
    return Change(device, [&](auto& instrument, Virtual::Moment now) {
        instrument.SetFault(Text(point), nth, times, Text(how), now);
    });
}

int oxv_faults_clear(oxv_device device)
{
    return Change(device, [](auto& instrument, auto) { instrument.faults.Clear(); });
}

int oxv_answer(oxv_device device, const char* point, const uint8_t* bytes, size_t count)
{
    return Change(device, [&](auto& instrument, auto) { instrument.QueueAnswer(Text(point), Array(bytes, count)); });
}

int64_t oxv_count(oxv_device device, const char* point)
{
    return Call([&](Bench& bench, BenchLock&) { return bench.Find(device).CountPassings(Text(point)); });
}

int64_t oxv_trace(oxv_device device, const char* channel, char* text, size_t size)
{
    return Call([&](Bench& bench, BenchLock&) {
        const auto& trace = bench.Find(device).trace;
        const auto name = Text(channel);
        if (!name.empty() && name != "interrupt")
            throw Refusal(OXV_NO_SUCH_NAME, "the trace has no such channel");
        const auto which = name.empty() ? Virtual::Trace::Channel::main : Virtual::Trace::Channel::interrupt;
        return CopyOut(trace.Text(which), text, size);
    });
}

int oxv_trace_clear(oxv_device device)
{
    return Change(device, [](auto& instrument, auto) { instrument.trace.Clear(); });
}
