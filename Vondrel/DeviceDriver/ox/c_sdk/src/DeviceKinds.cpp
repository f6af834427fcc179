#include "Vondrel/DeviceDriver/ox/c_sdk/src/ox_c_sdk/DeviceKinds.h"

#include "Vondrel/DeviceDriver/ox/USB/USBBrowser.h"
#include "Vondrel/DeviceDriver/ox/c_sdk/src/ox/OrvexContextValidator.h"
#include "Vondrel/DeviceDriver/ox/c_sdk/src/ox/OrvexSDKProxy.h"
#include "Vondrel/DeviceDriver/ox/c_sdk/src/zelkova/ZelkovaContextValidator.h"
#include "Vondrel/DeviceDriver/ox/c_sdk/src/zelkova/ZelkovaSDKProxy.h"
#include "platform/RunTime.h"

#include <algorithm>
#include <iterator>

namespace OrvexSDK {

using Vondrel::DeviceDriver::ox::USBBrowser;

namespace {

template<class T>
using SmartPointer = Vondrel::Utilities::Tools::SmartPointer<T>;

template<class Validator>
Context* NewContext(SDKProxy* newProxy)
{
    const SmartPointer<SDKProxy> proxy(newProxy);
    return new Context(proxy, SmartPointer<ContextParameterValidator>(new Validator));
}

Context* NewSpectrophotometer(std::int32_t id)
{
    return NewContext<OrvexContextValidator>(new OrvexSDKProxy(id));
}

Context* NewColorimeter(std::int32_t)
{
    return NewContext<ZelkovaSDK::ZelkovaContextValidator>(new ZelkovaSDK::ZelkovaSDKProxy);
}

bool IsSpectrophotometerAttached()
{
    try {
        return USBBrowser::Instance()->IsAnyOrvexConnected();
    } catch (...) {
        Platform::PassForcedUnwind();
        return false;
    }
}

/// In the order of preference.
constexpr DeviceKind deviceKinds[] = {
    {0, 127, IsSpectrophotometerAttached, NewSpectrophotometer},
    {1000, 1000, ZelkovaSDK::IsAnyZelkovaConnected, NewColorimeter},
};

}

const DeviceKind* FindDeviceKind(std::int32_t id)
{
    const auto kind = std::find_if(std::begin(deviceKinds), std::end(deviceKinds),
                                   [id](const DeviceKind& k) { return k.firstId <= id && id <= k.lastId; });
    return kind == std::end(deviceKinds) ? nullptr : kind;
}

std::int32_t DetectDevice()
{
    const auto kind = std::find_if(std::begin(deviceKinds), std::end(deviceKinds),
                                   [](const DeviceKind& k) { return k.isAttached(); });
    return kind == std::end(deviceKinds) ? deviceKinds[0].firstId : kind->firstId;
}

}
