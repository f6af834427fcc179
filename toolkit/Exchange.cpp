#include "toolkit/Commands.h"
#include "toolkit/Device.h"
#include "toolkit/Numbers.h"
#include "toolkit/Transport.h"

#include <cstring>

namespace Toolkit {

namespace {

/// Raises the reply limit for a command. Returns the seconds that were in force before.
std::uint32_t RaiseLimit(CalDataBlock* device, Patience patience)
{
    std::uint32_t earlier = device->comm.timeOutSeconds;
    if (patience == Patience::minute)
        AltrixSetTimeOut_M(device, device->comm.timeOutActive, 60);
    else if (patience != Patience::reply)
        AltrixSetMeasurementTimeOut_M(device, &earlier);
    return earlier;
}

void RestoreLimit(CalDataBlock* device, Patience patience, std::uint32_t earlier)
{
    if (patience == Patience::measurementThenThree && earlier != 0)
        AltrixSetTimeOut_M(device, device->comm.timeOutActive, defaultReplySeconds);
    else if (patience == Patience::measurement || patience == Patience::minute)
        AltrixSetTimeOut_M(device, device->comm.timeOutActive, earlier);
}

std::int32_t ExchangeUntilEcho(CalDataBlock* device, const std::uint8_t* frame, int tries, Reply* reply)
{
    const std::uint8_t code = frame[1];
    for (int attempt = 1;; ++attempt) {
        std::memset(reply, 0xFF, sizeof *reply);
        if (const std::int32_t failure =
                AltrixSendGetData_M(device, 0, frame, frame[0] + 1U, reply->bytes, &reply->length))
            return failure;
        if (attempt >= tries || reply->bytes[0] == code)
            return ZEL_OK;
    }
}

}

std::int32_t Exchange(CalDataBlock* device, const Command& command, const std::uint8_t* parameters, Reply* reply)
{
    if (const std::int32_t refusal = Enter(device, allTypes))
        return refusal;
    std::uint8_t frame[8] = {command.length, command.code};
    if (command.length > 1)
        std::memcpy(frame + 2, parameters, command.length - 1U);

    const std::uint32_t earlier = RaiseLimit(device, command.patience);
    const std::int32_t status = ExchangeUntilEcho(device, frame, command.tries, reply);
    RestoreLimit(device, command.patience, earlier);
    return status;
}

std::int32_t Send(CalDataBlock* device, const Command& command, const std::uint8_t* parameters)
{
    Reply reply;
    return Exchange(device, command, parameters, &reply);
}

std::int32_t ReadNumber(CalDataBlock* device, const Command& command, const std::uint8_t* parameters,
                        std::uint32_t* value)
{
    if (value == nullptr)
        return ZEL_BAD_ARGUMENT;
    Reply reply;
    if (const std::int32_t failure = Exchange(device, command, parameters, &reply))
        return failure;
    ZKConvertToLong(reply.bytes + 1, value);
    return ZEL_OK;
}

}

extern "C" {

int32_t ZELCAL_CALL AltrixSendGetData_M(CalDataBlock* device, int32_t /*reserved*/, const uint8_t* command,
                                        uint32_t length, uint8_t* reply, uint32_t* replyLength)
{
    if (const int32_t refusal = Toolkit::Enter(device, Toolkit::allTypes, command, reply, replyLength))
        return refusal;
    if (length < 2 || command[0] != length - 1)
        return ZEL_BAD_ARGUMENT;
    if (device->header.portType == Toolkit::usbPort)
        return Toolkit::ExchangeUsb(device, command, length, reply, replyLength);
    if (device->header.portType == Toolkit::serialPort)
        return Toolkit::ExchangeSerial(device, command, length, reply, replyLength);
    return ZEL_BAD_ARGUMENT;
}

int32_t ZELCAL_CALL zelSendGetData_M(CalDataBlock* device, int32_t reserved, const uint8_t* command, uint32_t length,
                                     uint8_t* reply, uint32_t* replyLength)
{
    return AltrixSendGetData_M(device, reserved, command, length, reply, replyLength);
}

int32_t ZELCAL_CALL AltrixSetMeasurementTimeOut_M(CalDataBlock* device, uint32_t* previousSeconds)
{
    if (device == nullptr || previousSeconds == nullptr)
        return ZEL_BAD_ARGUMENT;
    *previousSeconds = device->comm.timeOutSeconds;
    const double integration = device->eeprom.tickWord * 1e-9 * device->header.integrationTicks;
    const uint32_t needed = Toolkit::Truncate(integration + 0.5) + 2;
    if (needed > device->comm.timeOutSeconds)
        AltrixSetTimeOut_M(device, device->comm.timeOutActive, needed);
    return ZEL_OK;
}
}
