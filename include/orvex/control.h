/* control.h - the entry points of the Orvex automation control
 *
 * Scripting hosts drive an instrument through an object, "Vondrel.OrvexCtrl.1", instead of plain calls: twelve methods
 * over the calls of ox.h, found and invoked by name. The page on automation has the table.
 *
 * The control speaks the binary interface of the component-object services, with UTF-16 texts; a host brings its own
 * declarations of them (IClassFactory, IDispatch, VARIANT, BSTR, SAFEARRAY). Blocks that change owner, the texts of
 * results for one, come from malloc. Call from one thread at a time, as with ox.h. Compiles as C99 and as C++.
 */
#ifndef ORVEX_CONTROL_H
#define ORVEX_CONTROL_H

#include "export.h"

#include <stdint.h>

/** The name that a script creates the control by. */
#define ORVEX_CONTROL_PROGRAMMATIC_NAME "Vondrel.OrvexCtrl.1"

/* clang-format off */
/* Identifiers, as initialisers of OX_ControlId or of a host's own type of the same layout. */

/** The class. */
#define ORVEX_CONTROL_CLASS_ID {0x8FCDDC57, 0xE509, 0x479C, {0xA7, 0xAB, 0x43, 0x03, 0x0A, 0x4F, 0x5C, 0x5B}}
/** The dispatch interface _DOrvexCtrl. */
#define ORVEX_CONTROL_DISPATCH_ID {0x13D23AE3, 0xDD04, 0x4585, {0xB8, 0xED, 0x3E, 0x28, 0x9B, 0x2E, 0x66, 0xED}}
/** The event interface _DOrvexCtrlEvents, which has no members. */
#define ORVEX_CONTROL_EVENTS_ID {0x7B3A4276, 0x60C0, 0x424C, {0x82, 0x05, 0xFC, 0x1A, 0x1F, 0xAD, 0x71, 0xFD}}
/** The type library ORVEXCTRLLib, version 1.0. */
#define ORVEX_CONTROL_LIBRARY_ID {0x9ADA6C20, 0x5B01, 0x41AE, {0xBC, 0x6F, 0xDE, 0xC6, 0x02, 0xEA, 0x1B, 0x9E}}
/* clang-format on */

#ifdef __cplusplus
extern "C" {
#endif

/** Identifier of a class or an interface, laid out as a GUID. */
typedef struct OX_ControlId {
    uint32_t first;
    uint16_t second;
    uint16_t third;
    uint8_t rest[8];
} OX_ControlId;

/** Enters the type library and the class into the platform's list; on Linux that is a list of this process.
 *  @return 0; 0x80040200 (as a negative number) when the type library is refused, 0x80040201 when the class is */
OX_API int32_t DllRegisterServer(void);

/** Takes both out again. What is not entered is no failure.
 *  @return as DllRegisterServer */
OX_API int32_t DllUnregisterServer(void);

/** @return 0 if the host holds no object, no class object, no type information and no lock; 1 if it does */
OX_API int32_t DllCanUnloadNow(void);

/** Gets the class object, whether the class is registered or not.
 *  @param class_id      ORVEX_CONTROL_CLASS_ID
 *  @param interface_id  of IClassFactory or IUnknown
 *  @param object        receives the interface with a reference, null on failure
 *  @return 0; 0x80040111 for another class; 0x80004002 for another interface; 0x80004003 for a null pointer */
OX_API int32_t DllGetClassObject(const OX_ControlId* class_id, const OX_ControlId* interface_id, void** object);

#ifdef __cplusplus
}
#endif

#endif
