/* ox.h - the exported calls of the Orvex colour measurement SDK
 *
 * One library serves a USB spectrophotometer and a family of display colorimeters. There is no call to open or to
 * close: the first call looks for hardware and makes what it needs. All calls work on one current device, which
 * OX_SetOption("DeviceType", ...) chooses; a spectrophotometer comes first when both kinds are attached.
 *
 * The order of use:
 *     OX_SetOption("MeasurementMode", "SingleReflectance");
 *     OX_Calibrate();                              instrument on its white tile
 *     OX_TriggerMeasurement();                     instrument on the sample
 *     OX_GetSpectrum(spectrum, 0);                 OX_GetTriStimulus, OX_GetDensities ...
 *
 * Samples are kept as spectra (tristimulus values on a colorimeter). Colour is computed when it is asked for, under the
 * conditions then in force, so a change of the illuminant needs no new measurement.
 *
 * Threads. Call the library from one thread at a time; it adds no lock of its own. The error handler and the
 * recognition callbacks run on the thread of the call that causes them, before it returns. The device message handler
 * runs on a thread of the library and may call back only while the application's own thread is outside.
 *
 * The end of the process does what OX_SetOption("Reset", "All") does. Calls may come until the very end, from atexit
 * functions and from destructors of global objects; what they open is closed again. A child made by fork starts with
 * nothing open and leaves its parent's instruments alone, when it ends too; to use an instrument itself it calls exec.
 *
 * Errors. Every failure is a number, a text and a trace: the number is returned, the texts are
 * OX_GetOption("LastError") and OX_GetOption("ExtendedErrorInformation"), each until the next call clears them; the
 * error handler is called too.
 *
 * Texts are in UTF-8 or plain ASCII; options are compared exactly, with case. Compiles as C99 and as C++.
 */
#ifndef ORVEX_OX_H
#define ORVEX_OX_H

#include "export.h"

#include <stdint.h>

#define OX_VERSION_MAJOR 3
#define OX_VERSION_MINOR 1
#define OX_VERSION_PATCH 0

#ifdef __cplusplus
namespace OXSDK {

/** The one exception that crosses an exported call. The library never throws it: an application's own error handler
 * may, and it then arrives at the caller of the exported call that failed. Derive from it to carry more. */
class OX_API Exception { };

}

extern "C" {
#endif

/** What a call reports. Numbers 1 and 11 are not used. */
typedef int32_t OX_Result;

enum {
    OX_NoError = 0,
    OX_DeviceNotConnected = 2, /**< no device, or the transport failed */
    OX_CalculationFailed = 3,  /**< the driver's calculation failed: an invalid white, a saturated sensor ... */
    OX_KeyNotPressed = 4,      /**< only from OX_KeyPressed; no error is stored */
    OX_NoSubstrate = 5,        /**< a paper-relative density without a substrate, see OX_SetSubstrate */
    OX_NotSupported = 6,       /**< the device or its measurement mode cannot do this */
    OX_RecognitionFailed = 7,  /**< no patches or flashes were recognised in a scan; the error handler is not called */
    OX_IndexOutOfRange = 8,    /**< there is no sample with this index */
    OX_InternalError = 9,      /**< anything else, time-outs and invalid data from the device among them */
    OX_InvalidParameter = 10,  /**< a key, a value or an argument is not acceptable */
    OX_NotAvailable = 12       /**< unknown device type, or this type of device has no such function */
};

/** Size of the arrays of spectra: reflectance factor, radiance or irradiance from 380 nm to 730 nm in steps of 10 nm.
 */
#define OX_SPECTRUM_SIZE 36

/** Called for every failure, on the thread of the failing call and before it returns.
 *  @param function  name of the exported call, "OX_Calibrate" for example
 *  @param code      the OX_Result stored for it
 *  @param message   text of the failure
 *  The texts live as long as the call of the handler. The handler may call the library; the failing call then returns
 * the result that is stored when the handler ends, so OX_GetOption("Version") from the handler turns it into
 * OX_NoError. An OXSDK::Exception from the handler passes through to the application; whatever else it throws is
 * swallowed. */
typedef void (*OX_ErrorHandler)(const char* function, int32_t code, const char* message);

/** Called when the device reports something, on a thread of the library.
 *  @param message  0: the device's key was pressed; 1: the device was removed
 *  @param text     the device's serial number in decimal; lives as long as the call */
typedef void (*OX_DeviceMessageHandler)(int32_t message, const char* text);

/** Called with the steps of a patch recognition, on the thread of the measuring call.
 *  @param channel  what the values are, see the guide's page on recognition
 *  @param values   `count` values; live as long as the call; may be null with a count of 0 */
typedef void (*OX_RecognitionCallback)(uint32_t channel, const float* values, uint32_t count);
typedef void (*OX_RecognitionCallbackLong)(uint32_t channel, const int32_t* values, uint32_t count);

/** Information about the device, by option key. As OX_GetOption, but "Colorimetric.DensityFilterMode" gives the filter
 *  that the automatic choice took for the last density on a spectrophotometer ("not set" before).
 *  @return the value, "" after a failure; valid until the next call of this function; never null */
OX_API const char* OX_GetDeviceInfo(const char* key);

/** Reads an option.
 *  @param key  "Version", "LastError", "ExtendedErrorInformation", "Connection", "DeviceType", "MeasurementMode",
 *              "AvailableMeasurementModes", "AvailableSamples", "SerialNumber", the colorimetric conditions
 *              ("Colorimetric.Illumination", "Colorimetric.Observer", "Colorimetric.WhiteBase",
 *              "Colorimetric.DensityStandard", "Colorimetric.DensityFilterMode", "ColorSpaceDescription.Type"), and
 * more: the guide has the list; a decimal property number reads a property of the spectrophotometer
 *  @return the value, "" after a failure; valid until the next call of this function; never null. "LastError" and
 *          "ExtendedErrorInformation" leave the stored error as it is; every other key clears it. */
OX_API const char* OX_GetOption(const char* key);

/** Sets an option.
 *  @param key    as for OX_GetOption, and "Reset", which forgets the samples and conditions of a mode
 * ("SingleEmission"), one device ("Orvex") or everything ("All")
 *  @param value  not empty; booleans are "yes" and "no", numbers decimal text with a point
 *  @return OX_NoError; OX_InvalidParameter for a null or empty text or an unknown mode; OX_NotSupported for what this
 *          device lacks; OX_NotAvailable for an unknown device type; OX_DeviceNotConnected; OX_InternalError for an
 *          unknown colorimetric value */
OX_API OX_Result OX_SetOption(const char* key, const char* value);

/** Asks for the device, and reconnects if it came back.
 *  @return OX_NoError if it is connected, otherwise OX_DeviceNotConnected */
OX_API OX_Result OX_IsConnected(void);

/** Was the device's key pressed since the last query? A press is reported once.
 *  @return OX_NoError if it was, OX_KeyNotPressed if not, OX_DeviceNotConnected after a failure */
OX_API OX_Result OX_KeyPressed(void);

/** @return how many samples the current mode holds, from 0; -1 after a failure */
OX_API int32_t OX_GetNumberOfAvailableSamples(void);

/** Calibrates the current mode: on the white tile in reflectance modes, with the screen dark or as the guide tells
 *  otherwise. Empties the mode's samples. Blocks for some seconds.
 *  @return OX_NoError; OX_CalculationFailed if this was no white; OX_DeviceNotConnected; OX_InvalidParameter on a
 *          colorimeter whose "ScreenType" is neither "LCD" nor "CRT" in mode "SingleEmission"; OX_InternalError for a
 *          failure of the colorimeter's own calibration, for a time-out and for invalid data */
OX_API OX_Result OX_Calibrate(void);

/** Measures in the current mode and replaces the mode's samples. A scan blocks until the strip has ended. The spectral
 *  correction, property 7014, acts on the samples of the two reflectance modes while it is set.
 *  @return OX_NoError; OX_RecognitionFailed (there are no samples then, or those that were complete when the
 * recognition broke off); OX_CalculationFailed; OX_DeviceNotConnected; OX_InvalidParameter for a mode that the
 * instrument has not, and on a colorimeter whose "ScreenType" or "PatchIntensity" is not one of theirs in mode
 *          "SingleEmission"; OX_InternalError for a failure of the colorimeter's measurement, for a time-out, for
 *          invalid data, and for a scan that broke off ("system busy. try again") */
OX_API OX_Result OX_TriggerMeasurement(void);

/** Scans a strip in mode "ScanningReflectance", whatever mode is current, for a fixed number of readings.
 *  @param count  readings, above 0
 *  @return as OX_TriggerMeasurement; OX_InvalidParameter for a count below 1; OX_NotAvailable on a colorimeter */
OX_API OX_Result OX_TriggerCountedScan(int32_t count);

/** Reads the spectrum of a sample.
 *  @param spectrum  receives 36 values: reflectance factors (1.0 = perfect white) in reflectance modes, spectral
 * radiance or irradiance otherwise; 380 nm first, 730 nm last, steps of 10 nm. Filled with -1000.0 when the call fails
 * on a spectrophotometer that has been reached before.
 *  @param index     from 0; -1 reads sample 0
 *  @return OX_NoError; OX_IndexOutOfRange; OX_DeviceNotConnected; OX_InvalidParameter for a null array; OX_NotAvailable
 *          on a colorimeter. Costs about the copy of 36 floats. */
OX_API OX_Result OX_GetSpectrum(float spectrum[36], int32_t index);

/** Reads a sample in the colour space of "ColorSpaceDescription.Type", under the colorimetric conditions of the mode.
 *  @param tristimulus  receives 3 values, for example L*, a*, b*; Y of a perfect white is 100 in reflectance modes
 *  @param index        from 0; -1 reads sample 0
 *  @return as OX_GetSpectrum; OX_InternalError for a colour space that the device's samples do not allow */
OX_API OX_Result OX_GetTriStimulus(float tristimulus[3], int32_t index);

/** Reads the densities of a sample through the filters cyan, magenta, yellow and black, in this order.
 *  @param densities  receives 4 values
 *  @param autoIndex  receives the place of the filter that the automatic choice takes for this sample, 0 to 3; may be
 * null
 *  @param index      from 0; -1 reads sample 0
 *  @return as OX_GetSpectrum; OX_NotSupported outside the reflectance modes; OX_NoSubstrate */
OX_API OX_Result OX_GetDensities(float densities[4], int32_t* autoIndex, int32_t index);

/** Reads the density of a sample through the filter of "Colorimetric.DensityFilterMode".
 *  @param density  receives 1 value
 *  @return as OX_GetDensities */
OX_API OX_Result OX_GetDensity(float* density, int32_t index);

/** Sets the paper for paper-relative densities.
 *  @param spectrum  36 reflectance factors from 380 nm to 730 nm, copied
 *  @return OX_NoError; OX_NotSupported outside the reflectance modes; OX_InvalidParameter for null; OX_NotAvailable on
 *          a colorimeter; OX_DeviceNotConnected */
OX_API OX_Result OX_SetSubstrate(const float spectrum[36]);

/** Registers the error handler of the current device, null removes it. Leaves the stored error as it is.
 *  @return the previous handler, or null */
OX_API OX_ErrorHandler OX_RegisterErrorHandler(OX_ErrorHandler handler);

/** Registers the message handler of the current device, null removes it. Leaves the stored error as it is.
 *  @return the previous handler, or null */
OX_API OX_DeviceMessageHandler OX_RegisterDeviceMessageHandler(OX_DeviceMessageHandler handler);

/** Registers two callbacks, of the whole process, that watch the patch recognition at work: one for channels of floats,
 * one for channels of 32-bit integers. Watching is off unless both are set. */
OX_API void OX_RegisterRecognitionCallback(OX_RecognitionCallback floats, OX_RecognitionCallbackLong longs);

#ifdef __cplusplus
}
#endif

#endif
