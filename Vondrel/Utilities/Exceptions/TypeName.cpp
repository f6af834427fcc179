#include "Vondrel/Utilities/Exceptions/TypeName.h"

#include "platform/RunTime.h"

namespace Vondrel::Utilities::Exceptions {

std::string TypeName(const std::type_info& type)
{
    return Platform::ReadableName(type.name());
}

}
