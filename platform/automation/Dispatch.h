#pragma once

#include "platform/automation/Description.h"

/// Calls by name and by number, on the methods that a control describes.
namespace Platform::Automation {

/// Compares a wide name with an ASCII one; letters of both cases are the same.
bool SameName(const OLECHAR* name, const char* ascii) noexcept;

/// Numbers of a method and of its parameters, which are numbered from 0 in their order.
/// @param names  the method's name, then parameter names
/// @param ids    receives `count` numbers, DISPID_UNKNOWN for a name that is not known
/// @return S_OK; DISP_E_UNKNOWNNAME; E_INVALIDARG for a null pointer or no name
HRESULT FindIds(std::span<const MethodDescription> methods, const LPOLESTR* names, UINT count, DISPID* ids) noexcept;

/// Converts the arguments and calls a method.
///
/// Texts and longs are converted from whatever can be. References to a long and to a float have to be exactly that, and
/// may be null. In the place of an array any value passes, as it is.
/// @param given           every parameter has its argument, by position or by name
/// @param result          may be null; written when the call works
/// @param exception       may be null; filled with DISP_E_EXCEPTION
/// @param argumentError   may be null; receives the place in `given` of an argument that does not fit
/// @return S_OK; DISP_E_MEMBERNOTFOUND; DISP_E_BADPARAMCOUNT; DISP_E_PARAMNOTFOUND for a named argument that there is
///         not, or that is given twice; DISP_E_PARAMNOTOPTIONAL for one left out; DISP_E_TYPEMISMATCH, DISP_E_OVERFLOW;
///         E_INVALIDARG; E_OUTOFMEMORY; DISP_E_EXCEPTION: something was thrown inside
HRESULT Invoke(COleControl& control, const ClassDescription& description, DISPID id, WORD flags,
               const DISPPARAMS* given, VARIANT* result, EXCEPINFO* exception, UINT* argumentError);

}
