#pragma once

#include "platform/automation/Types.h"

#include <array>
#include <cstddef>
#include <span>
#include <string>
#include <type_traits>
#include <utility>

/// What a control tells about itself, as constant tables: from them come the dispatch map, the type library and the
/// registration.
namespace Platform::Automation {

class COleControl;

/// What a dispatched method takes. The type library shows an array of floats by reference; the dispatch map hands the
/// method whatever variant the host passed, and the method judges it.
enum class ParameterType { Text, Long, LongReference, FloatReference, FloatArrayReference };

inline constexpr std::size_t longestParameterList = 3;

using ParameterNames = std::array<const char*, longestParameterList>;

struct MethodDescription {
    DISPID id;
    VARTYPE result; ///< VT_BSTR or VT_I4
    const char* name;
    std::span<const ParameterType> parameters;
    ParameterNames parameterNames;
    /// Calls the method with one argument for each parameter, in order and of its type, and stores the result.
    void (*call)(COleControl& control, const VARIANT* arguments, VARIANT& result);
};

enum class TypeRole { DispatchInterface, EventInterface, Class };

struct TypeDescription {
    GUID id;
    TypeRole role;
    const char* name;
    const char* text;
    std::span<const MethodDescription> methods; ///< none for a class, which offers the library's two interfaces
};

struct TypeLibraryDescription {
    GUID id;
    const char* name;
    WORD major;
    WORD minor;
    const char* text;
    const char* helpFile;
    std::span<const TypeDescription> types;
};

/// A class that hosts create by its programmatic name.
struct ClassDescription {
    GUID id;
    const char* programmaticName;
    const char* displayName;
    const char* propertyPageName;
    const TypeLibraryDescription* library;
    const TypeDescription* dispatchInterface; ///< its methods, out of `library`
    DWORD version;                            ///< of its stored properties, major << 16 | minor
};

// ---- from a member function to its description

namespace Details {

template<class Parameter>
struct Passed;

template<>
struct Passed<LONG> {
    static constexpr ParameterType type = ParameterType::Long;
    static LONG From(const VARIANT& argument) { return argument.lVal; }
};

template<>
struct Passed<LONG*> {
    static constexpr ParameterType type = ParameterType::LongReference;
    static LONG* From(const VARIANT& argument) { return argument.plVal; }
};

template<>
struct Passed<float*> {
    static constexpr ParameterType type = ParameterType::FloatReference;
    static float* From(const VARIANT& argument) { return argument.pfltVal; }
};

template<>
struct Passed<LPCOLESTR> {
    static constexpr ParameterType type = ParameterType::Text;
    static LPCOLESTR From(const VARIANT& argument) { return argument.bstrVal; }
};

template<>
struct Passed<const VARIANT&> {
    static constexpr ParameterType type = ParameterType::FloatArrayReference;
    static const VARIANT& From(const VARIANT& argument) { return argument; }
};

inline void Store(VARIANT& result, LONG value)
{
    result.vt = VT_I4;
    result.lVal = value;
}

inline void Store(VARIANT& result, BSTR value)
{
    result.vt = VT_BSTR;
    result.bstrVal = value;
}

template<auto method, class = decltype(method)>
struct Binding;

template<auto method, class Control, class Returned, class... Parameters>
struct Binding<method, Returned (Control::*)(Parameters...)> {
    static_assert(sizeof...(Parameters) <= longestParameterList);
    static constexpr std::array<ParameterType, sizeof...(Parameters)> parameters{Passed<Parameters>::type...};
    static constexpr VARTYPE result = std::is_same_v<Returned, BSTR> ? VT_BSTR : VT_I4;

    static void Call(COleControl& control, const VARIANT* arguments, VARIANT& returned)
    {
        [&]<std::size_t... place>(std::index_sequence<place...>)
        {
            auto& target = static_cast<Control&>(control);
            Store(returned, (target.*method)(Passed<Parameters>::From(arguments[place])...));
        }
        (std::index_sequence_for<Parameters...>{});
    }
};

}

/// Describes a member function of a control: the types follow from its declaration.
template<auto method>
constexpr MethodDescription Method(DISPID id, const char* name, ParameterNames parameterNames = {})
{
    using Bound = Details::Binding<method>;
    return {id, Bound::result, name, Bound::parameters, parameterNames, &Bound::Call};
}

}
