#pragma once

#include "orvex/control.h"
#include "platform/automation/Interfaces.h"
#include "platform/automation/Variant.h"
#include "platform/automation/WideString.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <string>
#include <utility>
#include <vector>

using namespace Platform::Automation;

/// An interface that is released with its owner.
template<class Interface>
class Held {
public:
    Held() = default;
    ~Held() { Drop(); }
    Held(Held&& other) noexcept : object(std::exchange(other.object, nullptr)) { }
    Held& operator=(Held&& other) noexcept
    {
        std::swap(object, other.object);
        return *this;
    }

    void Drop()
    {
        if (object != nullptr)
            std::exchange(object, nullptr)->Release();
    }

    Interface* operator->() const { return object; }
    Interface* Get() const { return object; }
    Interface** Address() { return &object; }
    void** Place() { return reinterpret_cast<void**>(&object); }

private:
    Interface* object = nullptr;
};

/// Values as a script passes them. Texts and arrays stay the script's.
inline VARIANT Long(LONG number)
{
    VARIANT value{};
    value.vt = VT_I4;
    value.lVal = number;
    return value;
}

inline VARIANT Referring(VARTYPE type, void* place)
{
    VARIANT value{};
    value.vt = static_cast<VARTYPE>(VT_BYREF | type);
    value.byref = place;
    return value;
}

inline VARIANT Text(const OwnedString& text)
{
    VARIANT value{};
    value.vt = VT_BSTR;
    value.bstrVal = text.Get();
    return value;
}

/// An array of a script.
class Array {
public:
    Array(VARTYPE type, std::vector<SAFEARRAYBOUND> bounds)
        : array(SafeArrayCreate(type, static_cast<UINT>(bounds.size()), bounds.data()))
    {
    }
    explicit Array(ULONG count) : Array(VT_R4, {{count, 0}}) { }
    ~Array() { EXPECT_EQ(SafeArrayDestroy(array), S_OK); }
    Array(const Array&) = delete;
    Array& operator=(const Array&) = delete;

    SAFEARRAY& operator*() const { return *array; }
    SAFEARRAY* operator->() const { return array; }
    float* Data() const { return static_cast<float*>(array->pvData); }

    /// By reference, as arguments travel.
    VARIANT Passed(VARTYPE type = VT_R4) { return Referring(static_cast<VARTYPE>(VT_ARRAY | type), &array); }

private:
    SAFEARRAY* array;
};

struct Outcome {
    HRESULT status = S_OK;
    OwnedVariant value;
    UINT badArgument = 99;

    std::string AsText() const { return value.vt == VT_BSTR ? ToAnsi(value.bstrVal) : "no text"; }
};

inline OX_ControlId Id(const GUID& guid)
{
    return std::bit_cast<OX_ControlId>(guid);
}

inline Held<IClassFactory> ClassObject(const CLSID& clsid)
{
    Held<IClassFactory> factory;
    const OX_ControlId id = Id(clsid);
    const OX_ControlId wanted = Id(IID_IClassFactory);
    EXPECT_EQ(DllGetClassObject(&id, &wanted, factory.Place()), S_OK);
    return factory;
}

/// A scripting host with one control.
class Script {
public:
    explicit Script(const CLSID& clsid)
    {
        const Held<IClassFactory> factory = ClassObject(clsid);
        EXPECT_EQ(factory->CreateInstance(nullptr, IID_IDispatch, control.Place()), S_OK);
    }

    DISPID Find(std::u16string name) const
    {
        LPOLESTR names[] = {name.data()};
        DISPID id = 0;
        control->GetIDsOfNames(IID_NULL, names, 1, 0, &id);
        return id;
    }

    /// @param arguments  in the order in which a script writes them
    Outcome Call(const std::u16string& method, std::vector<VARIANT> arguments) const
    {
        std::reverse(arguments.begin(), arguments.end());
        return Call(Find(method), arguments, {});
    }

    /// @param arguments  in the order of the services
    Outcome Call(DISPID id, std::vector<VARIANT> arguments, std::vector<DISPID> named,
                 EXCEPINFO* exception = nullptr) const
    {
        DISPPARAMS parameters{arguments.data(), named.data(), static_cast<UINT>(arguments.size()),
                              static_cast<UINT>(named.size())};
        Outcome outcome;
        outcome.status = control->Invoke(id, IID_NULL, 0, DISPATCH_METHOD, &parameters, &outcome.value, exception,
                                         &outcome.badArgument);
        return outcome;
    }

    Held<IDispatch> control;
};
