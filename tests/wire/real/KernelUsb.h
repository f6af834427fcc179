#pragma once

#include "tests/wire/real/WiredInstrument.h"

/// An instrument on a virtual host controller of the kernel (vhci-hcd), which hands every transfer over as a message of
/// the USB/IP protocol.
class KernelUsb : public WiredInstrument {
public:
    KernelUsb();
    ~KernelUsb() override;

    std::string Address() const override { return address; }
    std::string NodeFile() const override { return address; }

private:
    struct Message;

    void Appear() override;
    void Disappear() override;
    void Ended(Tag tag, int status, std::size_t moved, std::span<const std::uint8_t> data) override;

    void Serve(); ///< the thread that takes the kernel's messages
    void TakeSubmission(const Message& message, std::span<const std::uint8_t> sent);
    void TakeUnlink(const Message& message);
    bool AnswerStandardRequest(Tag tag, const Setup& setup);
    void Send(const Message& message, std::span<const std::uint8_t> data = {}) const;

    int line = -1; ///< our end of the connection
    std::thread server;
    std::string address;
};
