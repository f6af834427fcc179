// A host's way to the control: registration, the class object, references, unloading, drawing, persistence.

#include "tests/control/ControlTest.h"

#include "platform/automation/Description.h"
#include "platform/automation/Drawing.h"
#include "platform/automation/ObjectFactory.h"

namespace {

constexpr GUID classId = ORVEX_CONTROL_CLASS_ID;
constexpr GUID dispatchId = ORVEX_CONTROL_DISPATCH_ID;

/// A platform that refuses to change its list of type libraries, or of classes.
class RefusingRegistry : public ClassRegistry {
public:
    RefusingRegistry() { SetRegistry(this); }
    ~RefusingRegistry() { SetRegistry(nullptr); }

    bool AddTypeLibrary(const TypeLibraryDescription&) override { return takesLibraries; }
    bool RemoveTypeLibrary(const GUID&) override { return takesLibraries; }
    bool AddClass(const ClassDescription&) override { return TakeClass(); }
    bool RemoveClass(const GUID&) override { return TakeClass(); }
    const ClassDescription* FindClass(LPCOLESTR) const override { return nullptr; }
    const TypeLibraryDescription* FindTypeLibrary(const GUID&) const override { return nullptr; }

    bool takesLibraries = true;
    bool takesClasses = true;
    int classesAsked = 0;

private:
    bool TakeClass()
    {
        ++classesAsked;
        return takesClasses;
    }
};

/// Bytes in memory, of which a failing one takes and gives only so many.
class Stream : public IStream {
public:
    HRESULT QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    ULONG AddRef() override { return 1; }
    ULONG Release() override { return 1; }

    HRESULT Read(void* buffer, ULONG wanted, ULONG* done) override
    {
        *done = static_cast<ULONG>(std::min<std::size_t>(wanted, bytes.size()));
        std::copy_n(bytes.begin(), *done, static_cast<char*>(buffer));
        return *done == wanted ? S_OK : S_FALSE;
    }

    HRESULT Write(const void* buffer, ULONG offered, ULONG* done) override
    {
        *done = std::min<ULONG>(offered, room);
        bytes.append(static_cast<const char*>(buffer), *done);
        return S_OK;
    }

    std::string bytes;
    ULONG room = 100;
};

class DrawingRecord : public DrawingContext {
public:
    void FillRect(const RECT& area, StockBrush brush) override
    {
        Add(brush == StockBrush::White ? "white" : "?", area.left, area.top, area.right, area.bottom);
    }
    void DrawIcon(LONG x, LONG y, int icon) override { Add("icon", icon, x, y); }
    void TextOut(LONG x, LONG y, const char* text) override { Add(text, x, y); }

    std::vector<std::string> steps;

private:
    void Add(const char* what, auto... numbers)
    {
        std::string step = what;
        ((step += ' ' + std::to_string(numbers)), ...);
        steps.push_back(step);
    }
};

}

TEST_F(ControlTest, IsFoundByItsNameInAnyCaseWhileItIsRegistered)
{
    CLSID clsid{};
    EXPECT_EQ(CLSIDFromProgID(u"vondrel.ORVEXCTRL.1", &clsid), S_OK);
    EXPECT_EQ(clsid, classId);
    const ClassDescription* const entry = CurrentRegistry().FindClass(u"Vondrel.OrvexCtrl.1");
    ASSERT_NE(entry, nullptr);
    EXPECT_STREQ(entry->displayName, "OrvexCtrl Control");
    EXPECT_STREQ(entry->propertyPageName, "OrvexCtrl Property Page");
    EXPECT_EQ(DllRegisterServer(), S_OK) << "a second time";
    EXPECT_EQ(DllUnregisterServer(), S_OK);
    EXPECT_EQ(CLSIDFromProgID(u"Vondrel.OrvexCtrl.1", &clsid), CO_E_CLASSSTRING);
    Held<ITypeLib> library;
    EXPECT_EQ(LoadRegTypeLib(ORVEX_CONTROL_LIBRARY_ID, 1, 0, 0, library.Address()), TYPE_E_LIBNOTREGISTERED);
    EXPECT_EQ(DllUnregisterServer(), S_OK) << "a second time";
}

TEST_F(ControlTest, SaysWhichPartOfTheRegistrationWasRefused)
{
    const HRESULT libraryRefused = static_cast<HRESULT>(0x80040200);
    const HRESULT classRefused = static_cast<HRESULT>(0x80040201);
    for (const auto entryPoint : {&DllRegisterServer, &DllUnregisterServer}) {
        RefusingRegistry registry;
        EXPECT_EQ(entryPoint(), S_OK);
        registry.takesClasses = false;
        EXPECT_EQ(entryPoint(), classRefused);
        registry.takesLibraries = false;
        registry.classesAsked = 0;
        EXPECT_EQ(entryPoint(), libraryRefused);
        EXPECT_EQ(registry.classesAsked, 0);
    }
}

TEST_F(ControlTest, GivesItsClassObjectAndNoOther)
{
    const OX_ControlId own = Id(classId);
    const OX_ControlId factory = Id(IID_IClassFactory);
    const OX_ControlId other = Id(dispatchId);
    const struct {
        const OX_ControlId *clsid, *iid;
        HRESULT status;
    } cases[] = {
        {&other, &factory, CLASS_E_CLASSNOTAVAILABLE},
        {&own, &other, E_NOINTERFACE},
        {nullptr, &factory, E_POINTER},
        {&own, nullptr, E_POINTER},
    };
    for (const auto& c : cases) {
        void* object = this;
        EXPECT_EQ(DllGetClassObject(c.clsid, c.iid, &object), c.status);
        EXPECT_EQ(object, nullptr);
    }
    EXPECT_EQ(DllGetClassObject(&own, &factory, nullptr), E_POINTER);
    EXPECT_EQ(DllUnregisterServer(), S_OK);
    EXPECT_NE(ClassObject(classId).Get(), nullptr) << "without registration";
}

TEST_F(ControlTest, CanBeUnloadedOnceNothingIsHeld)
{
    EXPECT_EQ(DllCanUnloadNow(), S_FALSE) << "the script's control";
    script.reset();
    EXPECT_EQ(DllCanUnloadNow(), S_OK);
    Held<IClassFactory> factory = ClassObject(classId);
    EXPECT_EQ(DllCanUnloadNow(), S_FALSE) << "the class object";
    EXPECT_EQ(factory->LockServer(1), S_OK);
    factory.Drop();
    EXPECT_EQ(DllCanUnloadNow(), S_FALSE) << "a lock";
    factory = ClassObject(classId);
    EXPECT_EQ(factory->LockServer(0), S_OK);
    EXPECT_EQ(factory->LockServer(0), E_UNEXPECTED) << "no lock left";
    Held<IViewObject> view;
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IViewObject, view.Place()), S_OK);
    factory.Drop();
    EXPECT_EQ(DllCanUnloadNow(), S_FALSE) << "a control by another of its interfaces";
    view.Drop();
    EXPECT_EQ(DllCanUnloadNow(), S_OK);
}

TEST_F(ControlTest, LeavesNothingBehindWhenItCannotBeCreated)
{
    const Held<IClassFactory> factory = ClassObject(classId);
    void* object = this;
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_ITypeLib, &object), E_NOINTERFACE);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(factory->CreateInstance(Control(), IID_IUnknown, &object), CLASS_E_NOAGGREGATION);
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IUnknown, nullptr), E_POINTER);
}

TEST_F(ControlTest, IsOneObjectBehindAllItsInterfaces)
{
    Held<IUnknown> identity;
    ASSERT_EQ(Control()->QueryInterface(IID_IUnknown, identity.Place()), S_OK);
    for (const IID& iid : {IID_IDispatch, dispatchId, IID_IPersist, IID_IPersistStreamInit, IID_IViewObject}) {
        Held<IUnknown> interface, again;
        ASSERT_EQ(Control()->QueryInterface(iid, interface.Place()), S_OK);
        EXPECT_EQ(interface->QueryInterface(IID_IUnknown, again.Place()), S_OK);
        EXPECT_EQ(again.Get(), identity.Get());
    }
    void* other = this;
    EXPECT_EQ(Control()->QueryInterface(IID_IClassFactory, &other), E_NOINTERFACE);
    EXPECT_EQ(other, nullptr);
    EXPECT_EQ(Control()->AddRef(), 3U);
    EXPECT_EQ(Control()->Release(), 2U);
}

TEST_F(ControlTest, DrawsAnIconAndItsNameOnWhite)
{
    Held<IViewObject> view;
    ASSERT_EQ(Control()->QueryInterface(IID_IViewObject, view.Place()), S_OK);
    const RECT bounds{10, 20, 110, 70};
    DrawingRecord drawing;
    EXPECT_EQ(view->Draw(DVASPECT_CONTENT, -1, nullptr, nullptr, nullptr, &drawing, &bounds, nullptr, nullptr, 0),
              S_OK);
    EXPECT_EQ(drawing.steps, (std::vector<std::string>{"white 10 20 110 70", "icon 1 10 20", "ox 42 20"}));
    EXPECT_EQ(view->Draw(2, -1, nullptr, nullptr, nullptr, &drawing, &bounds, nullptr, nullptr, 0), DV_E_DVASPECT);
    EXPECT_EQ(view->Draw(DVASPECT_CONTENT, -1, nullptr, nullptr, nullptr, &drawing, nullptr, nullptr, nullptr, 0),
              E_POINTER);
}

TEST_F(ControlTest, StoresTheVersionOfItsPropertiesAndNothingElse)
{
    Held<IPersistStreamInit> persistence;
    ASSERT_EQ(Control()->QueryInterface(IID_IPersistStreamInit, persistence.Place()), S_OK);
    Stream stream;
    EXPECT_EQ(persistence->Save(&stream, 1), S_OK);
    EXPECT_EQ(stream.bytes, std::string("\0\0\1\0", 4));
    CLSID clsid{};
    EXPECT_EQ(persistence->GetClassID(&clsid), S_OK);
    EXPECT_EQ(clsid, classId);
    const std::pair<std::string, HRESULT> cases[] = {
        {stream.bytes, S_OK},
        {std::string("\5\0\0\0", 4), S_OK},   // an older version
        {std::string("\1\0\1\0", 4), E_FAIL}, // a newer one
        {std::string("\0\0\1", 3), E_FAIL},   // torn
    };
    for (const auto& [bytes, status] : cases) {
        Stream stored;
        stored.bytes = bytes;
        EXPECT_EQ(persistence->Load(&stored), status);
    }
    stream.room = 2;
    EXPECT_EQ(persistence->Save(&stream, 1), E_FAIL);
}
