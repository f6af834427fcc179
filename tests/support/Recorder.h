#pragma once

#include "Vondrel/DeviceDriver/GENERIC/EventListener.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <vector>

/// Keeps the messages of an instrument.
class Recorder : public Vondrel::DeviceDriver::Generic::EventListener {
public:
    std::function<void()> reaction;

    void MessageFromDevice(std::uint16_t message, std::int32_t) override
    {
        {
            const std::lock_guard lock(guard);
            messages.push_back(message);
            changed.notify_all();
        }
        if (reaction)
            reaction();
    }

    /// The messages once there are so many, or after two seconds.
    std::vector<std::uint16_t> Await(std::size_t count)
    {
        std::unique_lock lock(guard);
        changed.wait_for(lock, std::chrono::seconds(2), [&] { return messages.size() >= count; });
        return messages;
    }

private:
    std::mutex guard;
    std::condition_variable changed;
    std::vector<std::uint16_t> messages;
};
