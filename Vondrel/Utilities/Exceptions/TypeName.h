#pragma once

#include <string>
#include <typeinfo>

namespace Vondrel::Utilities::Exceptions {

/// The name of a type for a human reader, for example "Vondrel::Utilities::Exceptions::RuntimeException".
std::string TypeName(const std::type_info& type);

}
