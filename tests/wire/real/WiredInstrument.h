#pragma once

#include "virtual/spectrophotometer/Spectrophotometer.h"

#include <array>
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

/// A virtual spectrophotometer at the far end of a cable. Its transfers end in real time, and whoever brings them (a
/// mocked device node, a kernel) is told. A class of its own for each way plugs it in; its destructor calls Unplug.
class WiredInstrument {
public:
    virtual ~WiredInstrument() = default;
    WiredInstrument(const WiredInstrument&) = delete;
    WiredInstrument& operator=(const WiredInstrument&) = delete;

    /// Returns when an application can find the instrument.
    void Plug();

    /// Ends what is in flight, and returns when no application can find the instrument any more.
    void Unplug();

    /// The address under which the library lists it.
    virtual std::string Address() const = 0;

    /// Where its device node lies for those whom no mock leads astray.
    virtual std::string NodeFile() const = 0;

    void Press();

    /// The blocks that the next measurement delivers.
    void SetBlocks(std::span<const std::uint8_t> blocks);

    /// A fault by the names of the bench, at every passing of the point from now on.
    void SetFault(std::string_view point, std::string_view how);
    void ClearFaults();

    std::vector<std::uint8_t> Memory(std::uint32_t offset, std::size_t size);

    /// Setup packets in hex, but for the standard requests that the kernel sends by itself.
    std::vector<std::string> Setups();
    std::atomic<int> clearedHalts = 0;

    /// Waits until a transfer that has no end in sight is in flight on this endpoint (0: control). False after two
    /// seconds.
    bool AwaitHeld(std::uint8_t endpoint);

    static constexpr std::uint8_t bulkOut = 0x01;
    static constexpr std::uint8_t bulkIn = 0x82;
    static constexpr std::uint8_t interruptIn = 0x84;

protected:
    using Tag = std::uint64_t; ///< names a transfer
    using Setup = std::array<std::uint8_t, 8>;

    WiredInstrument();

    /// Makes the plugged-in instrument visible, or hides it. Called without the lock; transfers come from then on.
    virtual void Appear() = 0;
    virtual void Disappear() = 0;

    /// A transfer has ended. Called with the lock held.
    /// @param status  0 or a negative error as the kernel gives it
    /// @param moved   bytes moved
    /// @param data    what has arrived from the instrument
    virtual void Ended(Tag tag, int status, std::size_t moved, std::span<const std::uint8_t> data) = 0;

    // To be called with the lock held.

    /// What claiming the interface, or choosing the configuration, comes to: 0 or a negative error.
    int Open();
    void Close();
    bool IsPlugged() const { return instrument.IsPlugged(); }

    /// Starts a transfer. It may end, with Ended, before this returns.
    /// @param setup  of endpoint 0, otherwise left alone
    /// @param data   to be moved; its content counts on the way out only
    void Submit(Tag tag, std::uint8_t endpoint, const Setup& setup, std::span<const std::uint8_t> data);

    /// Gives a transfer up, without Ended. False if it has ended already.
    bool Cancel(Tag tag);

    /// Device descriptor, then the configuration with its one interface and the endpoints.
    static std::vector<std::uint8_t> Descriptors(std::uint16_t vendor, std::uint16_t product);
    static constexpr std::size_t deviceDescriptorSize = 18;

    std::mutex guard;

private:
    struct InFlight {
        Tag tag;
        std::uint8_t endpoint;
        std::shared_ptr<Virtual::Transfer> transfer;
    };

    void Run(); ///< the thread that ends transfers when they are due
    void EndWhatIsDue();
    std::optional<Virtual::Moment> NextEnd() const;

    Virtual::Spectrophotometer instrument;
    std::array<std::shared_ptr<Virtual::OpenPipe>, 4> pipes; // by kind
    std::vector<InFlight> inFlight;                          // in the order of submission
    std::vector<std::string> setups;
    std::condition_variable changed;
    std::thread clock;
};

/// Plugs a new instrument in, on the way that this test program is about.
std::unique_ptr<WiredInstrument> PlugInInstrument();
