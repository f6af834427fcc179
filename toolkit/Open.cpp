#include "platform/Clock.h"
#include "platform/SerialPort.h"
#include "toolkit/Commands.h"
#include "toolkit/Device.h"
#include "toolkit/Transport.h"

#include <cstring>

namespace Toolkit {

namespace {

constexpr std::int32_t lastScanIndex = 127;
constexpr std::int64_t settlingMicroseconds = 10'000;

void Forget(CalDataBlock* device)
{
    if (device->comm.portHandle != nullptr)
        Platform::Ports().Forget(device->comm.portHandle);
    device->comm.portHandle = nullptr;
    device->header.isOpen = 0;
    device->header.calibratorType = 0;
}

std::int32_t EnterOpening(const CalDataBlock* device, const char* version)
{
    if (device == nullptr || version == nullptr)
        return ZEL_BAD_ARGUMENT;
    return device->header.isOpen != 0 ? ZEL_ALREADY_OPEN : ZEL_OK;
}

/// A closed record for a new instrument: what a failure left open is closed, and nothing of the instrument before
/// stays but the index of the device file.
void Prepare(CalDataBlock* device, std::int32_t portType)
{
    ClosePort(device);
    const std::uint32_t usbIndex = device->header.usbIndex;
    std::memset(&device->header, 0, sizeof device->header);
    std::memset(&device->eeprom, 0, sizeof device->eeprom);
    device->header.usbIndex = usbIndex;
    device->header.portType = portType;
}

/// Asks for the version; on USB once more on a new connection if nothing came.
std::int32_t QueryVersion(CalDataBlock* device, std::int32_t port, char* version)
{
    Platform::SleepMicroseconds(settlingMicroseconds);
    const std::int32_t status = AltrixGetVersionString_M(device, version);
    if (device->header.portType != usbPort)
        return status;
    if (status == ZEL_OK && version[0] != '\0')
        return ZEL_OK;
    ClosePort(device);
    if (const std::int32_t failure = OpenPort(device, port))
        return failure;
    device->header.isOpen = 1;
    AltrixGetVersionString_M(device, version);
    device->header.isOpen = 1; // a dead instrument shows as an empty version
    return ZEL_OK;
}

std::int32_t OpenAndQuery(CalDataBlock* device, std::int32_t port, char* version)
{
    version[0] = '\0';
    Prepare(device, device->header.portType);
    if (const std::int32_t failure = OpenPort(device, port))
        return failure;
    device->header.isOpen = 1;
    return QueryVersion(device, port, version);
}

std::int32_t CloseOnFailure(CalDataBlock* device, std::int32_t status)
{
    if (status != ZEL_OK)
        ClosePort(device);
    return status;
}

/// Tries the indices from 0 on until one opens, or only the index of the record.
std::int32_t Scan(CalDataBlock* device, char* version, bool all,
                  std::int32_t (*open)(CalDataBlock*, std::int32_t, char*))
{
    device->header.portType = usbPort;
    if (!all)
        return open(device, 0, version);
    std::int32_t status = ZEL_OK;
    for (std::int32_t index = 0; index <= lastScanIndex; ++index) {
        device->header.usbIndex = static_cast<std::uint32_t>(index);
        device->header.portType = usbPort;
        status = open(device, index, version);
        if (status == ZEL_OK)
            break;
    }
    return status;
}

enum class TypeTest { afterInitialize, beforeInitialize };

/// The second half of an application's open call: the working constants, and whether this is the right kind.
std::int32_t Complete(CalDataBlock* device, std::int32_t opened, TypeSet accepted,
                      TypeTest test = TypeTest::afterInitialize, void (*close)(CalDataBlock*) = nullptr)
{
    std::int32_t status = opened;
    const auto testKind = [&] { return IsType(device, accepted) ? ZEL_OK : ZEL_WRONG_INSTRUMENT; };
    if (status == ZEL_OK && test == TypeTest::beforeInitialize)
        status = testKind();
    if (status == ZEL_OK)
        status = AltrixInitialize_M(device);
    if (status == ZEL_OK)
        status = testKind();
    if (status == ZEL_OK)
        return ZEL_OK;
    if (close != nullptr)
        close(device);
    else
        ClosePort(device);
    return status;
}

std::int32_t OpenExisting(CalDataBlock* device, ZelHandle port, char* version, TypeSet accepted)
{
    if (const std::int32_t refusal = EnterOpening(device, version))
        return refusal;
    return Complete(device, AltrixOpenExistingDevice_M(device, port, version), accepted, TypeTest::afterInitialize,
                    Forget);
}

std::int32_t OpenPortOrUsb(CalDataBlock* device, std::int32_t port, char* version, TypeSet accepted,
                           TypeTest test = TypeTest::afterInitialize)
{
    if (const std::int32_t refusal = EnterOpening(device, version))
        return refusal;
    return Complete(device, AltrixOpen_M(device, port, version), accepted, test);
}

std::int32_t OpenUsbScan(CalDataBlock* device, char* version, std::int32_t scan, TypeSet accepted)
{
    if (const std::int32_t refusal = EnterOpening(device, version))
        return refusal;
    return Complete(device, AltrixOpenUSBCalibrator_M(device, version, scan), accepted);
}

std::int32_t OpenUsbIndex(CalDataBlock* device, std::uint32_t index, char* version, TypeSet accepted,
                          TypeTest test = TypeTest::afterInitialize)
{
    if (const std::int32_t refusal = EnterOpening(device, version))
        return refusal;
    return Complete(device, AltrixOpenUSBCalibratorEx_M(device, index, version), accepted, test);
}

}

std::int32_t OpenPort(CalDataBlock* device, std::int32_t port)
{
    if (device->header.portType == usbPort)
        return OpenUsb(device);
    return device->header.portType == serialPort ? OpenSerial(device, port) : ZEL_BAD_ARGUMENT;
}

std::int32_t ClosePort(CalDataBlock* device)
{
    const bool nothing =
        device->header.isOpen == 0 && device->comm.usbHandle == nullptr && device->comm.portHandle == nullptr;
    if (device->comm.usbHandle != nullptr)
        CloseUsb(device);
    if (device->comm.portHandle != nullptr)
        CloseSerial(device);
    device->header.isOpen = 0;
    device->header.calibratorType = 0;
    return nothing ? ZEL_NOT_OPEN : ZEL_OK;
}

}

using namespace Toolkit;

extern "C" {

int32_t ZELCAL_CALL AltrixGetVersionString_M(CalDataBlock* device, char* version)
{
    if (device == nullptr || version == nullptr)
        return ZEL_BAD_ARGUMENT;
    version[0] = '\0';
    Reply reply;
    if (const int32_t failure = Exchange(device, Commands::version, nullptr, &reply))
        return failure;
    const uint32_t length = reply.length == 0 ? 0 : reply.length - 1;
    std::memcpy(version, reply.bytes + 1, length);
    version[length] = '\0';
    return ZEL_OK;
}

// ---- instrument level

int32_t ZELCAL_CALL AltrixOpenComm_M(CalDataBlock* device, int32_t portType, int32_t portOrIndex)
{
    if (device == nullptr)
        return ZEL_BAD_ARGUMENT;
    if (device->header.isOpen != 0)
        return ZEL_ALREADY_OPEN;
    if (portType != serialPort && (portType != usbPort || portOrIndex < 0))
        return ZEL_BAD_ARGUMENT;
    Prepare(device, portType);
    if (portType == usbPort)
        device->header.usbIndex = static_cast<uint32_t>(portOrIndex);
    if (const int32_t failure = OpenPort(device, portOrIndex))
        return failure;
    device->header.isOpen = 1;
    return ZEL_OK;
}

int32_t ZELCAL_CALL AltrixOpenDevice_M(CalDataBlock* device, int32_t port, char* version)
{
    if (const int32_t refusal = EnterOpening(device, version))
        return refusal;
    int32_t status = OpenAndQuery(device, port, version);
    if (status == ZEL_OK)
        status = AltrixDetermineCalibratorType_M(device, version);
    return CloseOnFailure(device, status);
}

int32_t ZELCAL_CALL AltrixOpenDeviceEx_M(CalDataBlock* device, int32_t port, char* version)
{
    if (const int32_t refusal = EnterOpening(device, version))
        return refusal;
    int32_t status = OpenAndQuery(device, port, version);
    if (status == ZEL_OK && device->header.portType == usbPort)
        status = AltrixGetVersionString_M(device, version);
    return CloseOnFailure(device, status);
}

int32_t ZELCAL_CALL AltrixOpen_M(CalDataBlock* device, int32_t port, char* version)
{
    if (const int32_t refusal = EnterOpening(device, version))
        return refusal;
    device->header.portType = port == 0 ? usbPort : serialPort;
    return AltrixOpenDevice_M(device, port, version);
}

int32_t ZELCAL_CALL AltrixOpenUSBCalibrator_M(CalDataBlock* device, char* version, int32_t scan)
{
    if (const int32_t refusal = EnterOpening(device, version))
        return refusal;
    return Scan(device, version, scan != 0, AltrixOpenDevice_M);
}

int32_t ZELCAL_CALL AltrixOpenUSBAdapter_M(CalDataBlock* device, char* version)
{
    return AltrixOpenUSBCalibrator_M(device, version, 1);
}

int32_t ZELCAL_CALL AltrixOpenUSBCalibratorEx_M(CalDataBlock* device, uint32_t usbIndex, char* version)
{
    if (const int32_t refusal = EnterOpening(device, version))
        return refusal;
    device->header.portType = usbPort;
    device->header.usbIndex = usbIndex;
    return AltrixOpenDevice_M(device, 0, version);
}

int32_t ZELCAL_CALL AltrixOpenExistingDevice_M(CalDataBlock* device, ZelHandle port, char* version)
{
    if (const int32_t refusal = EnterOpening(device, version))
        return refusal;
    if (port == nullptr)
        return ZEL_NULL_HANDLE;
    version[0] = '\0';
    Prepare(device, serialPort);
    ResetTimeOut(device);
    device->comm.timeOutApplied = 0; // the port has no limit yet: the first exchange gives it one
    device->comm.portHandle = port;
    device->header.isOpen = 1;
    int32_t status = QueryVersion(device, 0, version);
    if (status == ZEL_OK)
        status = AltrixDetermineCalibratorType_M(device, version);
    if (status != ZEL_OK)
        Forget(device);
    return status;
}

int32_t ZELCAL_CALL BassixOpenDevice_M(CalDataBlock* device, int32_t portOrIndex, char* version)
{
    if (const int32_t refusal = EnterOpening(device, version))
        return refusal;
    version[0] = '\0';
    Prepare(device, device->header.portType);
    int32_t status = OpenPort(device, portOrIndex);
    if (status == ZEL_OK) {
        device->header.isOpen = 1;
        status = AltrixGetVersionString_M(device, version);
    }
    if (status == ZEL_OK)
        status = AltrixDetermineCalibratorType_M(device, version);
    return CloseOnFailure(device, status);
}

int32_t ZELCAL_CALL BassixOpenSerial_M(CalDataBlock* device, int32_t port, char* version)
{
    if (const int32_t refusal = EnterOpening(device, version))
        return refusal;
    device->header.portType = serialPort;
    return BassixOpenDevice_M(device, port, version);
}

int32_t ZELCAL_CALL BassixOpenUSB_M(CalDataBlock* device, char* version, int32_t scan)
{
    if (const int32_t refusal = EnterOpening(device, version))
        return refusal;
    return Scan(device, version, scan != 0, BassixOpenDevice_M);
}

int32_t ZELCAL_CALL BassixInitialize_M(CalDataBlock* device)
{
    return device == nullptr ? ZEL_BAD_ARGUMENT : ZEL_OK;
}

// ---- application level

int32_t ZELCAL_CALL zelOpenCalibrator_M(CalDataBlock* device, int32_t port, char* version)
{
    return OpenPortOrUsb(device, port, version, allTypes);
}

int32_t ZELCAL_CALL zelOpenSerialAltrix_M(CalDataBlock* device, int32_t port, char* version)
{
    return OpenPortOrUsb(device, port, version, Opens::serialAltrix);
}

int32_t ZELCAL_CALL zelOpenSerialHeron_M(CalDataBlock* device, int32_t port, char* version)
{
    return OpenPortOrUsb(device, port, version, Opens::serialHeron);
}

int32_t ZELCAL_CALL zelOpenSerialLCDAltrix_M(CalDataBlock* device, int32_t port, char* version)
{
    return OpenPortOrUsb(device, port, version, Opens::lcdAltrix, TypeTest::beforeInitialize);
}

int32_t ZELCAL_CALL zelOpenSerialLCDAltrixLum_M(CalDataBlock* device, int32_t port, char* version)
{
    return OpenPortOrUsb(device, port, version, Opens::lcdAltrixLum, TypeTest::beforeInitialize);
}

int32_t ZELCAL_CALL zelOpenUSBCalibrator_M(CalDataBlock* device, char* version, int32_t scan)
{
    return OpenUsbScan(device, version, scan, allTypes);
}

int32_t ZELCAL_CALL zelOpenUSBAdapter_M(CalDataBlock* device, char* version)
{
    return OpenUsbScan(device, version, 1, allTypes);
}

int32_t ZELCAL_CALL zelOpenUSBAltrix_M(CalDataBlock* device, char* version, int32_t scan)
{
    return OpenUsbScan(device, version, scan, Opens::usbAltrix);
}

int32_t ZELCAL_CALL zelOpenUSBHeron_M(CalDataBlock* device, char* version)
{
    return OpenUsbScan(device, version, 1, Opens::usbHeron);
}

int32_t ZELCAL_CALL zelOpenUSBAltrixEx_M(CalDataBlock* device, uint32_t usbIndex, char* version)
{
    return OpenUsbIndex(device, usbIndex, version, Opens::usbAltrix);
}

int32_t ZELCAL_CALL zelOpenUSBLCDAltrix_M(CalDataBlock* device, uint32_t usbIndex, char* version)
{
    return OpenUsbIndex(device, usbIndex, version, Opens::lcdAltrix, TypeTest::beforeInitialize);
}

int32_t ZELCAL_CALL zelOpenUSBLCDAltrixLum_M(CalDataBlock* device, uint32_t usbIndex, char* version)
{
    return OpenUsbIndex(device, usbIndex, version, Opens::lcdAltrixLum, TypeTest::beforeInitialize);
}

int32_t ZELCAL_CALL zelOpenExistingSerialAltrix_M(CalDataBlock* device, ZelHandle port, char* version)
{
    return OpenExisting(device, port, version, Opens::serialAltrix);
}

int32_t ZELCAL_CALL zelOpenExistingSerialHeron_M(CalDataBlock* device, ZelHandle port, char* version)
{
    return OpenExisting(device, port, version, Opens::serialHeron);
}

int32_t ZELCAL_CALL zelOpenSerialBassix_M(CalDataBlock* device, int32_t port, char* version)
{
    if (const int32_t refusal = EnterOpening(device, version))
        return refusal;
    return Complete(device, BassixOpenSerial_M(device, port, version), allTypes);
}

int32_t ZELCAL_CALL zelOpenUSBBassix_M(CalDataBlock* device, char* version)
{
    if (const int32_t refusal = EnterOpening(device, version))
        return refusal;
    return Complete(device, BassixOpenUSB_M(device, version, 1), allTypes);
}

int32_t ZELCAL_CALL zelOpenDevice_M(CalDataBlock* device, int32_t portType, int32_t port, char* version, int32_t* type,
                                    uint8_t* errorByte)
{
    if (type == nullptr || errorByte == nullptr)
        return ZEL_BAD_ARGUMENT;
    if (const int32_t refusal = EnterOpening(device, version))
        return refusal;
    if (portType != serialPort && portType != usbPort)
        return ZEL_BAD_ARGUMENT;
    *errorByte = 0;
    device->header.portType = portType;
    const int32_t opened = portType == usbPort ? Scan(device, version, true, AltrixOpenDevice_M)
                                               : AltrixOpenDevice_M(device, port, version);
    if (const int32_t failure = Complete(device, opened, allTypes))
        return failure;
    *type = device->header.calibratorType;
    return ZEL_OK;
}

int32_t ZELCAL_CALL zelFindUSBDevice_M(CalDataBlock* device, int32_t usbIndex, int32_t* type)
{
    if (device == nullptr || type == nullptr || usbIndex < 0 || usbIndex > lastScanIndex)
        return ZEL_BAD_ARGUMENT;
    char version[9];
    const int32_t status = AltrixOpenUSBCalibratorEx_M(device, static_cast<uint32_t>(usbIndex), version);
    if (status == ZEL_OK) {
        *type = device->header.calibratorType;
        ClosePort(device);
    }
    return status;
}

// ---- closing

int32_t ZELCAL_CALL AltrixClose_M(CalDataBlock* device)
{
    return device == nullptr ? ZEL_BAD_ARGUMENT : ClosePort(device);
}

int32_t ZELCAL_CALL BassixClose_M(CalDataBlock* device)
{
    return AltrixClose_M(device);
}

int32_t ZELCAL_CALL AltrixExistingClose_M(CalDataBlock* device)
{
    if (device == nullptr)
        return ZEL_BAD_ARGUMENT;
    Forget(device);
    return ZEL_OK;
}

int32_t ZELCAL_CALL zelCloseCalibrator_M(CalDataBlock* device)
{
    const int32_t refusal = Enter(device, allTypes);
    if (device != nullptr)
        ClosePort(device); // also what a USB failure left open
    return refusal;
}

int32_t ZELCAL_CALL zelCloseBassix_M(CalDataBlock* device)
{
    return zelCloseCalibrator_M(device);
}

int32_t ZELCAL_CALL zelCloseSerialAltrix_M(CalDataBlock* device)
{
    if (const int32_t refusal = Enter(device, Opens::serialAltrix))
        return refusal;
    return ClosePort(device);
}

int32_t ZELCAL_CALL zelCloseExistingCalibrator_M(CalDataBlock* device)
{
    if (const int32_t refusal = Enter(device, allTypes))
        return refusal;
    return AltrixExistingClose_M(device);
}
}
