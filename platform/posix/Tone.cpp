#include "platform/Tone.h"

#include "platform/posix/Descriptor.h"

#include <algorithm>
#include <fcntl.h>
#include <linux/kd.h>
#include <sys/ioctl.h>

namespace Platform {

void Beep(std::int32_t frequency, std::int32_t milliseconds) noexcept
{
    constexpr std::int32_t timer = 1193180; // hertz of the timer that drives the speaker
    constexpr std::int32_t largest = 0xFFFF;
    if (frequency <= 0 || milliseconds <= 0)
        return;
    const int console = Posix::OpenDescriptor("/dev/console", O_WRONLY | O_NOCTTY | O_NONBLOCK);
    if (console < 0)
        return;
    const auto period = static_cast<unsigned long>(std::clamp(timer / frequency, 1, largest));
    const auto length = static_cast<unsigned long>(std::min(milliseconds, largest));
    ::ioctl(console, KDMKTONE, length << 16 | period);
    Posix::CloseDescriptor(console);
}

}
