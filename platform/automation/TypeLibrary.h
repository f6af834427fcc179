#pragma once

#include "platform/automation/Interfaces.h"

namespace Platform::Automation {

struct TypeDescription;
struct TypeLibraryDescription;

/// @param library  receives the description as a host reads it, with one reference
/// @return S_OK; E_OUTOFMEMORY
HRESULT MakeTypeLibrary(const TypeLibraryDescription& description, ITypeLib** library);

/// @param type  out of the library
/// @param info  receives the description as a host reads it, with one reference
/// @return S_OK; E_OUTOFMEMORY
HRESULT MakeTypeInfo(const TypeLibraryDescription& description, const TypeDescription& type, ITypeInfo** info);

}
