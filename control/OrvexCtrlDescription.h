#pragma once

#include "platform/automation/Description.h"

namespace Control {

/// Name, texts, version, type library and methods of the control.
const Platform::Automation::ClassDescription& OrvexCtrlClass() noexcept;

}
