#pragma once

#include "platform/Usb.h"
#include "tests/wire/Samples.h"

#include <array>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

/// An instrument behind the seam that answers as it is told, and notes everything that goes over its pipes. The test
/// program has no other platform; nothing ever waits but the interrupt pipe.
class FakeInstrument {
public:
    static FakeInstrument& Get();

    /// Sound, attached at two places, with the memory of a new instrument.
    void Reset();

    std::vector<std::string> addresses;
    std::vector<std::uint8_t> memory;
    std::vector<std::uint8_t> measurement; ///< what 0xC0 delivers, to be read in any pieces; a read beyond ends short

    /// Answers by request code; the last one stays.
    std::map<std::uint8_t, std::vector<std::vector<std::uint8_t>>> replies;

    /// Asked at each transfer of pipes 0 to 2 and each opening, with "control C9", "read", "write" or "open 1". A
    /// result other than `done` is its end; `pending` never ends. A number of bytes moved, when not 0, shortens the
    /// transfer.
    std::function<Platform::TransferResult(const std::string& point)> fault;

    /// "control C1 out 00 93", "control C9 in", "submit 2560", "done 2560", "cancel", "write 01 02", "sleep 100", "beep
    /// 400 75"
    std::vector<std::string> TakeTrace();
    void Note(const std::string& line);

    void Press();
    void Unplug();
    bool IsGone();

    // What the pipes do.
    Platform::TransferResult Control(const Platform::ControlRequest& request, std::span<std::uint8_t> data);
    Platform::TransferResult Read(std::span<std::uint8_t> data);
    Platform::TransferResult Write(std::span<const std::uint8_t> data);

    std::mutex guard;
    std::condition_variable changed;
    int presses = 0;
    bool gone = false;
    int openPipes = 0;

private:
    void Answer(std::uint8_t code, std::span<std::uint8_t> data);

    std::vector<std::string> trace;
    std::vector<std::uint8_t> stream;
    std::size_t streamPosition = 0;
    std::uint32_t writeAddress = 0;
};
