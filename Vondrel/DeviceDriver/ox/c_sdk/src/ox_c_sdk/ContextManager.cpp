#include "Vondrel/DeviceDriver/ox/c_sdk/src/ox_c_sdk/ContextManager.h"

#include "Vondrel/DeviceDriver/ox/c_sdk/src/ox_c_sdk/DeviceKinds.h"
#include "Vondrel/Utilities/Exceptions/SDKError.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"
#include "Vondrel/Utilities/Tools/LexicalCast.h"
#include "orvex/ox.h"

#include <limits>
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
    const auto number = lexical_cast<std::int32_t>(deviceType.substr(familyName.size()));
    // The colorimeter has a name of its own: "Orvex1000" is none.
    return number == displayId ? noSuchId : number;
}

}

ContextManager::SmartPointer<ContextManager> ContextManager::instance(nullptr);

ContextManager::ContextManager() : current(DetectDevice()) { }

ContextManager& ContextManager::Instance()
{
    if (!instance.IsValid())
        instance = SmartPointer<ContextManager>(new ContextManager);
    return *instance;
}

void ContextManager::Reset()
{
    // Destroyed only when the library already stands without it: a handler that calls back meanwhile gets a new one.
    const SmartPointer<ContextManager> dropped(instance);
    instance = SmartPointer<ContextManager>(nullptr);
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
