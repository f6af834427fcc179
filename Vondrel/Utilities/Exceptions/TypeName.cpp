#include "Vondrel/Utilities/Exceptions/TypeName.h"

#include <cstdlib>
#include <cxxabi.h>
#include <memory>

namespace Vondrel::Utilities::Exceptions {

std::string TypeName(const std::type_info& type)
{
    int status = 0;
    const std::unique_ptr<char, void (*)(void*)> name(abi::__cxa_demangle(type.name(), nullptr, nullptr, &status),
                                                      std::free);
    return status == 0 && name ? name.get() : type.name();
}

}
