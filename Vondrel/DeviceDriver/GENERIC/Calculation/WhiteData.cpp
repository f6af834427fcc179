#include "Vondrel/DeviceDriver/GENERIC/Calculation/WhiteData.h"

#include "Vondrel/Utilities/Exceptions/DeviceDriverException.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"

namespace Vondrel::DeviceDriver::Generic::Calculation {

void WhiteData::CalculateCorrection(const std::vector<float>& reference)
try {
    if (!DataIsValid())
        throw DataException("Invalid white data", THROW_LOCATION("WhiteData", "CalculateCorrection"));

    for (std::vector<float>& white : data) {
        if (white.size() != reference.size())
            throw CalculationException("Unable to calculate white correction",
                                       THROW_LOCATION("WhiteData", "CalculateCorrection"));
        for (std::size_t band = 0; band < white.size(); ++band) {
            if (white[band] == 0)
                throw CalculationException("Unable to calculate white correction (division by zero)",
                                           THROW_LOCATION("WhiteData", "CalculateCorrection"));
            white[band] = reference[band] / white[band];
        }
    }
}
TRACE_GUARD("WhiteData", "CalculateCorrection")

}
