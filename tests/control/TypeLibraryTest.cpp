// What the control tells about itself to a host that asks.

#include "tests/control/ControlTest.h"

#include "platform/automation/TypeData.h"

namespace {

constexpr GUID classId = ORVEX_CONTROL_CLASS_ID;
constexpr GUID dispatchId = ORVEX_CONTROL_DISPATCH_ID;
constexpr GUID eventsId = ORVEX_CONTROL_EVENTS_ID;
constexpr GUID libraryId = ORVEX_CONTROL_LIBRARY_ID;

/// "SAFEARRAY(R4)*" and the like.
std::string Spelled(const TYPEDESC& type)
{
    switch (type.vt) {
    case VT_BSTR:
        return "BSTR";
    case VT_I4:
        return "long";
    case VT_R4:
        return "float";
    case VT_PTR:
        return Spelled(*type.lptdesc) + "*";
    case VT_SAFEARRAY:
        return "array of " + Spelled(*type.lptdesc);
    default:
        return "?";
    }
}

std::string Documentation(auto& about, std::int32_t index)
{
    OwnedString name;
    OwnedString text;
    OwnedString helpFile;
    DWORD context = 99;
    EXPECT_EQ(about->GetDocumentation(index, name.Address(), text.Address(), &context, helpFile.Address()), S_OK);
    EXPECT_EQ(context, 0U);
    return ToAnsi(name.Get()) + " | " + ToAnsi(text.Get()) + " | " + ToAnsi(helpFile.Get());
}

/// "long GetDensity(float* axDensity, long axIndex)"
std::string Declaration(ITypeInfo& info, UINT index)
{
    FUNCDESC* function = nullptr;
    EXPECT_EQ(info.GetFuncDesc(index, &function), S_OK);
    BSTR names[8] = {};
    UINT count = 0;
    EXPECT_EQ(info.GetNames(function->memid, names, 8, &count), S_OK);
    EXPECT_EQ(count, static_cast<UINT>(function->cParams) + 1);
    std::string line =
        std::to_string(function->memid) + " " + Spelled(function->elemdescFunc.tdesc) + " " + ToAnsi(names[0]) + "(";
    for (UINT i = 1; i < count; ++i) {
        line += Spelled(function->lprgelemdescParam[i - 1].tdesc) + " " + ToAnsi(names[i]);
        line += i + 1 < count ? ", " : "";
    }
    std::for_each(names, names + count, SysFreeString);
    info.ReleaseFuncDesc(function);
    return line + ")";
}

}

class TypeLibraryTest : public ControlTest {
protected:
    TypeLibraryTest() { EXPECT_EQ(LoadRegTypeLib(libraryId, 1, 0, 0, library.Address()), S_OK); }

    Held<ITypeLib> library;
};

TEST_F(TypeLibraryTest, NamesTheLibraryAndItsTypes)
{
    ASSERT_EQ(library->GetTypeInfoCount(), 3U);
    const char* const expected[] = {
        "ORVEXCTRLLib | OrvexCtrl ActiveX Control module | OrvexCtrl.hlp",
        "_DOrvexCtrl | Dispatch interface for OrvexCtrl Control | OrvexCtrl.hlp",
        "_DOrvexCtrlEvents | Event interface for OrvexCtrl Control | OrvexCtrl.hlp",
        "OrvexCtrl | OrvexCtrl Control | OrvexCtrl.hlp",
    };
    for (std::int32_t i = -1; i < 3; ++i)
        EXPECT_EQ(Documentation(library, i), expected[i + 1]);
    Held<ITypeInfo> info;
    EXPECT_EQ(library->GetTypeInfo(3, info.Address()), TYPE_E_ELEMENTNOTFOUND);
    Held<ITypeLib> later;
    EXPECT_EQ(LoadRegTypeLib(libraryId, 1, 1, 0, later.Address()), TYPE_E_LIBNOTREGISTERED);
}

TEST_F(TypeLibraryTest, DescribesTheMethodsOfTheControl)
{
    Held<ITypeInfo> info;
    ASSERT_EQ(Control()->GetTypeInfo(0, 0, info.Address()), S_OK);
    const char* const expected[] = {
        "1 BSTR GetDeviceInfo(BSTR axKey)",
        "2 long IsConnected()",
        "3 long KeyPressed()",
        "4 long Calibrate()",
        "5 long TriggerMeasurement()",
        "6 long SetOption(BSTR axKey, BSTR axValue)",
        "7 BSTR GetOption(BSTR axKey)",
        "8 long SetSubstrate(array of float* xySubstrateSpectrum)",
        "9 long GetTriStimulus(array of float* yxTriStimulus, long axIndex)",
        "10 long GetDensity(float* axDensity, long axIndex)",
        "11 long GetDensities(array of float* yxDensities, long* pxAutoDensityIndex, long axIndex)",
        "12 long GetSpectrum(array of float* yxSpectrum, long axIndex)",
    };
    for (UINT i = 0; i < 12; ++i)
        EXPECT_EQ(Declaration(*info.Get(), i), expected[i]);
    FUNCDESC* function = nullptr;
    EXPECT_EQ(info->GetFuncDesc(12, &function), TYPE_E_ELEMENTNOTFOUND);
    script.reset();
    library.Drop();
    EXPECT_EQ(DllCanUnloadNow(), S_FALSE) << "type information is held";
}

TEST_F(TypeLibraryTest, LeadsFromTheClassToItsInterfaces)
{
    Held<ITypeInfo> offered;
    ASSERT_EQ(library->GetTypeInfoOfGuid(classId, offered.Address()), S_OK);
    const struct {
        GUID id;
        int functions, flags;
    } expected[] = {{dispatchId, 12, IMPLTYPEFLAG_FDEFAULT},
                    {eventsId, 0, IMPLTYPEFLAG_FDEFAULT | IMPLTYPEFLAG_FSOURCE}};
    for (UINT i = 0; i < 2; ++i) {
        DWORD reference = 0;
        std::int32_t flags = 0;
        Held<ITypeInfo> info;
        TYPEATTR* attributes = nullptr;
        ASSERT_EQ(offered->GetRefTypeOfImplType(i, &reference), S_OK);
        ASSERT_EQ(offered->GetImplTypeFlags(i, &flags), S_OK);
        ASSERT_EQ(offered->GetRefTypeInfo(reference, info.Address()), S_OK);
        ASSERT_EQ(info->GetTypeAttr(&attributes), S_OK);
        EXPECT_EQ(attributes->guid, expected[i].id);
        EXPECT_EQ(attributes->cFuncs, expected[i].functions);
        EXPECT_EQ(attributes->typekind, TKIND_DISPATCH);
        EXPECT_EQ(flags, expected[i].flags);
        info->ReleaseTypeAttr(attributes);
    }
}
