#pragma once

#include "platform/Usb.h"

#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace Vondrel::DeviceDriver::ox {

/// The pipes of an instrument.
enum class PipeType : unsigned { control = 0, bulkIn = 1, bulkOut = 2, interruptIn = 3 };

/// One open pipe. No operation retries; after a time-out the transfer is given up.
class USBConnection {
public:
    /// @throws IOException "could not open pipe:" with the platform's reason
    USBConnection(const std::string& deviceAddress, PipeType pipe);

    /// One control transfer of data.size() bytes, in at most 2000 ms.
    /// @param request  says the direction; from the instrument, `data` receives the reply
    /// @param check    false: whatever happens is no failure
    /// @throws TimeoutException, IOException  not finished in time; failed
    /// @throws DataException                  the instrument moved fewer bytes
    void PerformDeviceIOControl(const Platform::ControlRequest& request, std::span<std::uint8_t> data, bool check);

    /// Reads exactly buffer.size() bytes in at most limitMs + 5000 ms.
    /// @throws TimeoutException, IOException  not finished in time; failed, or fewer bytes
    void Read(std::span<std::uint8_t> buffer, std::int64_t limitMs);

    /// Writes exactly buffer.size() bytes, as Read.
    void Write(std::span<const std::uint8_t> buffer, std::int64_t limitMs);

    /// A transfer of this pipe that its owner drives himself.
    std::unique_ptr<Platform::UsbTransfer> MakeTransfer(std::size_t capacity);

    /// Gives up what is in flight. Everything that follows fails as with an instrument that is gone.
    void Close();

    /// " (Win32 Error (" number ") : " words ")", with the number and the words of this platform.
    static std::string GetErrorText(const Platform::TransferResult& result);

private:
    std::unique_ptr<Platform::UsbPipe> pipe;
};

/// What the transport grants every bulk transfer on top of its caller's limit, milliseconds.
inline constexpr std::int64_t bulkGraceMs = 5000;

}
