#include "platform/automation/Dispatch.h"

#include "platform/RunTime.h"
#include "platform/automation/Variant.h"
#include "platform/automation/WideString.h"

#include <algorithm>
#include <exception>
#include <new>

namespace Platform::Automation {

namespace {

constexpr char32_t Lower(char32_t letter)
{
    return letter >= U'A' && letter <= U'Z' ? letter + (U'a' - U'A') : letter;
}

const MethodDescription* FindMethod(std::span<const MethodDescription> methods, auto matches)
{
    const auto found = std::find_if(methods.begin(), methods.end(), matches);
    return found == methods.end() ? nullptr : &*found;
}

DISPID FindParameter(const MethodDescription& method, const OLECHAR* name)
{
    for (std::size_t i = 0; i < method.parameters.size(); ++i) {
        if (SameName(name, method.parameterNames[i]))
            return static_cast<DISPID>(i);
    }
    return DISPID_UNKNOWN;
}

/// The arguments of one call in the order and in the types of the method's parameters.
class Arguments {
public:
    Arguments(const MethodDescription& called, const DISPPARAMS& offered) : method(called), given(offered) { }

    /// @param argumentError  see Invoke
    HRESULT Prepare(UINT& argumentError);

    const VARIANT* Values() const { return values; }

private:
    HRESULT Place(UINT index, UINT& argumentError);
    HRESULT Convert(std::size_t parameter, const VARIANT& argument);

    const MethodDescription& method;
    const DISPPARAMS& given;
    VARIANT values[longestParameterList] = {};
    OwnedVariant converted[longestParameterList];
    bool isGiven[longestParameterList] = {};
};

HRESULT Arguments::Prepare(UINT& argumentError)
{
    if (given.cNamedArgs > given.cArgs || (given.cArgs > 0 && given.rgvarg == nullptr)
        || (given.cNamedArgs > 0 && given.rgdispidNamedArgs == nullptr))
        return E_INVALIDARG;
    if (given.cArgs != method.parameters.size())
        return DISP_E_BADPARAMCOUNT;
    for (UINT index = 0; index < given.cArgs; ++index) {
        if (const HRESULT result = Place(index, argumentError); FAILED(result))
            return result;
    }
    return S_OK;
}

HRESULT Arguments::Place(UINT index, UINT& argumentError)
{
    argumentError = index;
    const bool isNamed = index < given.cNamedArgs;
    const std::int64_t parameter = isNamed ? given.rgdispidNamedArgs[index] : std::int64_t{given.cArgs} - 1 - index;
    if (parameter < 0 || parameter >= static_cast<std::int64_t>(method.parameters.size()) || isGiven[parameter])
        return DISP_E_PARAMNOTFOUND;
    isGiven[parameter] = true;
    return Convert(static_cast<std::size_t>(parameter), given.rgvarg[index]);
}

HRESULT Arguments::Convert(std::size_t parameter, const VARIANT& argument)
{
    VARIANT& value = values[parameter];
    const auto as = [&](VARTYPE type) -> HRESULT {
        value = argument;
        if (argument.vt == type)
            return S_OK;
        if (argument.vt == VT_ERROR && argument.scode == DISP_E_PARAMNOTFOUND)
            return DISP_E_PARAMNOTOPTIONAL;
        const HRESULT result = VariantChangeType(&converted[parameter], &argument, 0, type);
        value = converted[parameter];
        return result;
    };
    switch (method.parameters[parameter]) {
    case ParameterType::Text:
        return as(VT_BSTR);
    case ParameterType::Long:
        return as(VT_I4);
    case ParameterType::LongReference:
        return as(VT_BYREF | VT_I4);
    case ParameterType::FloatReference:
        return as(VT_BYREF | VT_R4);
    case ParameterType::FloatArrayReference:
        break;
    }
    value = argument;
    return S_OK;
}

/// Fills in the texts of a failure, as far as there is memory for them.
void Describe(EXCEPINFO* exception, const ClassDescription& description, const char* text) noexcept
{
    if (exception == nullptr)
        return;
    *exception = EXCEPINFO{};
    exception->scode = E_UNEXPECTED;
    try {
        exception->bstrSource = FromAnsi(description.programmaticName);
        exception->bstrDescription = FromAnsi(text);
    } catch (const std::exception&) {
    }
}

/// Runs the method. A host of scripts cannot take a C++ exception: it becomes a number and a text.
HRESULT Call(COleControl& control, const ClassDescription& description, const MethodDescription& method,
             const VARIANT* arguments, VARIANT& result, EXCEPINFO* exception)
{
    try {
        method.call(control, arguments, result);
        return S_OK;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    } catch (const std::exception& e) {
        Describe(exception, description, e.what());
    } catch (...) {
        Platform::PassForcedUnwind();
        Describe(exception, description, "unknown failure");
    }
    return DISP_E_EXCEPTION;
}

}

bool SameName(const OLECHAR* name, const char* ascii) noexcept
{
    while (*ascii != '\0' && Lower(*name) == Lower(static_cast<unsigned char>(*ascii))) {
        ++name;
        ++ascii;
    }
    return *name == 0 && *ascii == '\0';
}

HRESULT FindIds(std::span<const MethodDescription> methods, const LPOLESTR* names, UINT count, DISPID* ids) noexcept
{
    if (names == nullptr || ids == nullptr || count == 0 || std::find(names, names + count, nullptr) != names + count)
        return E_INVALIDARG;
    std::fill(ids, ids + count, DISPID_UNKNOWN);
    const auto* const method = FindMethod(methods, [&](const auto& each) { return SameName(names[0], each.name); });
    if (method == nullptr)
        return DISP_E_UNKNOWNNAME;
    ids[0] = method->id;
    for (UINT i = 1; i < count; ++i)
        ids[i] = FindParameter(*method, names[i]);
    return std::find(ids, ids + count, DISPID_UNKNOWN) == ids + count ? S_OK : DISP_E_UNKNOWNNAME;
}

HRESULT Invoke(COleControl& control, const ClassDescription& description, DISPID id, WORD flags,
               const DISPPARAMS* given, VARIANT* result, EXCEPINFO* exception, UINT* argumentError)
{
    const auto* const method =
        FindMethod(description.dispatchInterface->methods, [id](const auto& m) { return m.id == id; });
    if (method == nullptr || (flags & DISPATCH_METHOD) == 0)
        return DISP_E_MEMBERNOTFOUND;
    if (given == nullptr)
        return E_INVALIDARG;
    UINT place = 0;
    Arguments arguments(*method, *given);
    if (const HRESULT prepared = arguments.Prepare(place); FAILED(prepared)) {
        if (argumentError != nullptr)
            *argumentError = place;
        return prepared;
    }
    OwnedVariant returned;
    const HRESULT called = Call(control, description, *method, arguments.Values(), returned, exception);
    if (SUCCEEDED(called) && result != nullptr)
        *result = returned.Detach();
    return called;
}

}
