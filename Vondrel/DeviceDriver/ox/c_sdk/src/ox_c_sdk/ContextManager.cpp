#include "Vondrel/DeviceDriver/ox/c_sdk/src/ox_c_sdk/ContextManager.h"

#include "Vondrel/DeviceDriver/ox/c_sdk/src/ox_c_sdk/DeviceKinds.h"
#include "Vondrel/Utilities/Exceptions/SDKError.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"
#include "Vondrel/Utilities/Tools/LexicalCast.h"
#include "orvex/ox.h"
#include "platform/Threading.h"

#include <cstdlib>
#include <limits>
#include <memory>
#include <string_view>

namespace OrvexSDK {

using Vondrel::Utilities::Tools::lexical_cast;

namespace {

constexpr std::string_view familyName = "Orvex";
constexpr const char* displayName = "OrvexDisplay";
constexpr std::int32_t displayId = 1000;
constexpr std::int32_t noSuchId = std::numeric_limits<std::int32_t>::min();

std::int32_t IdOf(const std::string& deviceType)
{
    if (deviceType == displayName)
        return displayId;
    if (deviceType == familyName)
        return 0;
    if (!deviceType.starts_with(familyName))
        return noSuchId;
    const auto number = lexical_cast<long>(deviceType.substr(familyName.size()));
    // The colorimeter has a name of its own: "Orvex1000" is none.
    return number == displayId ? noSuchId : static_cast<std::int32_t>(number); // text is read as 32 bits
}

}

/// Where the manager of a process is kept. Never destroyed: calls may come until the very end of the process.
struct ContextManager::Slot {
    const std::uint32_t process = Platform::ProcessNumber();
    const std::unique_ptr<Slot> inherited; ///< in a forked child: its parent's, whose instruments are not the child's
    SmartPointer<ContextManager> manager;

    explicit Slot(Slot* inherited_) : inherited(inherited_) { }

    static SmartPointer<ContextManager>& Current()
    {
        static Slot* slot = new Slot(nullptr);
        if (slot->process != Platform::ProcessNumber())
            slot = new Slot(slot);
        return slot->manager;
    }
};

namespace {

bool processEnds = false;

/// Does what a reset of all does when the process ends: by the destructor of one object, which runs after those of an
/// application that is linked to the library. For a manager that is made later still it is done once more.
struct ProcessEnd {
    ~ProcessEnd()
    {
        processEnds = true;
        ContextManager::Reset();
    }
} processEnd;

}

ContextManager::ContextManager() : current(DetectDevice()) { }

ContextManager& ContextManager::Instance()
{
    SmartPointer<ContextManager>& manager = Slot::Current();
    if (!manager.IsValid()) {
        manager = SmartPointer<ContextManager>(new ContextManager);
        if (processEnds)
            std::atexit(ContextManager::Reset);
    }
    return *manager;
}

void ContextManager::Reset()
{
    SmartPointer<ContextManager>& manager = Slot::Current();
    // Destroyed only when the library already stands without it: a handler that calls back meanwhile gets a new one.
    const SmartPointer<ContextManager> dropped(manager);
    manager = SmartPointer<ContextManager>(nullptr);
}

std::int32_t ContextManager::Translate(const std::string& deviceType)
try {
    const std::int32_t id = IdOf(deviceType);
    if (FindDeviceKind(id) == nullptr)
        throw SDKError(OX_NotAvailable, "unknown device type \"" + deviceType + "\"", "");
    return id;
}
TRACE_GUARD("ContextManager", "Translate")

Context& ContextManager::Current()
{
    const auto found = contexts.find(current);
    if (found != contexts.end())
        return *found->second;
    return *contexts.emplace(current, NewContext(current)).first->second;
}

void ContextManager::Erase(std::int32_t id)
{
    const auto found = contexts.find(id);
    if (found == contexts.end())
        return;
    const SmartPointer<Context> dropped(found->second);
    contexts.erase(found);
}

ContextManager::SmartPointer<Context> ContextManager::NewContext(std::int32_t id)
try {
    const DeviceKind* const kind = FindDeviceKind(id);
    return SmartPointer<Context>(kind == nullptr ? new Context : kind->makeContext(id));
}
TRACE_GUARD("ContextManager", "NewContext")

}
