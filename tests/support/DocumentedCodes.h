#pragma once

#include "orvex/ox.h"

/// Whether an exported call may return this: 0, 2 to 10, 12.
inline bool IsDocumented(OX_Result result)
{
    return result == OX_NoError || (result >= OX_DeviceNotConnected && result <= OX_InvalidParameter)
        || result == OX_NotAvailable;
}
