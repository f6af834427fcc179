#pragma once

#include "Vondrel/DeviceDriver/ox/c_sdk/src/ox_c_sdk/Context.h"
#include "Vondrel/Utilities/Tools/SmartPointer.h"

#include <cstdint>
#include <map>
#include <string>

namespace OrvexSDK {

/// Keeps the contexts by device id, and knows the current one. Ids: 0 to 127 spectrophotometers, 1000 the display
/// colorimeter. Not locked: the exported calls come from one thread at a time.
class ContextManager {
public:
    template<class T>
    using SmartPointer = Vondrel::Utilities::Tools::SmartPointer<T>;

    /// The one manager; made at the first call, which looks for hardware. A forked child makes its own, and leaves its
    /// parent's instruments alone.
    static ContextManager& Instance();

    /// Drops the manager, and with it all contexts, proxies and device objects. The end of the process does it too.
    static void Reset();

    /// The device id of a device type text: "Orvex" 0, "Orvex" and a number that number, "OrvexDisplay" 1000.
    /// @throws SDKError 12 for any other text and for a number without a device
    static std::int32_t Translate(const std::string& deviceType);

    /// The current context; made at its first use.
    Context& Current();

    /// Stores the id only. It must come from Translate.
    void SetCurrent(std::int32_t id) { current = id; }

    /// Drops the context of an id, if there is one.
    void Erase(std::int32_t id);

private:
    ContextManager();

    static SmartPointer<Context> NewContext(std::int32_t id);

    std::int32_t current;
    std::map<std::int32_t, SmartPointer<Context>> contexts;

    struct Slot;

    friend class Vondrel::Utilities::Tools::SmartPointer<ContextManager>;
};

}
