#include "Vondrel/Utilities/Exceptions/Location.h"

namespace Vondrel::Utilities::Exceptions {

std::string MakeLocation(const char* className, const char* methodName, const char* file, int line)
{
    std::string location = className;
    location += "::";
    location += methodName;
    location += "(): ";
    location += file;
    location += ':';
    location += std::to_string(line);
    return location;
}

}
