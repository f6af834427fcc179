#include "Vondrel/DeviceDriver/GENERIC/Calculation/Truncate.h"

#include "Vondrel/Utilities/Exceptions/DeviceDriverException.h"
#include "Vondrel/Utilities/Exceptions/Location.h"

namespace Vondrel::DeviceDriver::Generic::Calculation {

std::int32_t Truncate(double number)
{
    if (!(number > -2147483649.0 && number < 2147483648.0))
        throw DataException("Number out of range", THROW_LOCATION("", "Truncate"));
    return static_cast<std::int32_t>(number);
}

}
