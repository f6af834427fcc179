#pragma once

#include "platform/DeviceChannel.h"

/// The device channel on a device file; each function is what platform/DeviceChannel.h says of its namesake. An
/// exchange is a write of eight bytes and a read of eight bytes: the driver behind the file answers each write with one
/// reply.
namespace Platform::Posix {

int ChannelOpen(std::uint32_t index, ChannelHandle* handle) noexcept;
int ChannelExchange(ChannelHandle handle, const std::uint8_t request[8], std::uint8_t answer[8]) noexcept;
int ChannelClose(ChannelHandle handle) noexcept;
int SetChannelNamePattern(const char* pattern) noexcept;

}
