#include "Vondrel/DeviceDriver/GENERIC/Measurement/ServiceHandle.h"

#include "Vondrel/DeviceDriver/GENERIC/Configuration/ConfigurationDataConverter.h"
#include "Vondrel/Utilities/Exceptions/DeviceDriverException.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"

namespace Vondrel::DeviceDriver::Generic::Measurement {

using namespace Configuration;

namespace {

constexpr const char* containerName = "TemporaryServiceContainer";

}

void ServiceHandle::TriggerMeasurement()
try {
    throw DataException("Not supported!", THROW_LOCATION("ServiceHandle", "TriggerMeasurement"));
}
TRACE_GUARD("ServiceHandle", "TriggerMeasurement")

void ServiceHandle::SetPhysicalCondition(std::uint16_t id, const Property& property)
try {
    Properties container(containerName);
    container.SetProperty(id, property);
    Driver().StoreData(container);
}
TRACE_GUARD("ServiceHandle", "SetPhysicalCondition")

Property ServiceHandle::GetPhysicalCondition(std::uint16_t id)
try {
    Properties container(containerName);
    container.SetProperty(id, ConfigurationDataConverter::GetDataType(id));
    Driver().LoadData(container);
    return container.GetProperty(id);
}
TRACE_GUARD("ServiceHandle", "GetPhysicalCondition")

void ServiceHandle::SetConditions(const Properties& conditions)
try {
    Properties container = conditions;
    Driver().StoreData(container);
}
TRACE_GUARD("ServiceHandle", "SetConditions")

}
