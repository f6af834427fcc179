// The twelve methods, called as a script calls them.

#include "tests/control/ControlTest.h"

#include "orvex/ox.h"

#include <limits>
#include <stdexcept>

namespace {

VARIANT Real(double number)
{
    VARIANT value{};
    value.vt = VT_R8;
    value.dblVal = number;
    return value;
}

VARIANT Of(VARTYPE type, std::uint64_t bits = 0)
{
    VARIANT value{};
    value.vt = type;
    value.ullVal = bits;
    return value;
}

VARIANT LeftOut()
{
    VARIANT value = Of(VT_ERROR);
    value.scode = DISP_E_PARAMNOTFOUND;
    return value;
}

}

TEST_F(ControlTest, ForwardsEachMethodToItsCall)
{
    const OwnedString key(FromAnsi("Beep"));
    const OwnedString yes(FromAnsi("yes"));
    Array spectrum(36);
    Array three(3);
    Array four(4);
    spectrum.Data()[0] = 0.5F;
    three.Data()[0] = 0.25F;
    four.Data()[0] = 0.75F;
    float density = 1.5F;
    LONG place = 7;
    const struct {
        DISPID id;
        const char16_t* name;
        std::vector<VARIANT> arguments;
        const char* call;
    } cases[] = {
        {1, u"GetDeviceInfo", {Text(key)}, "OX_GetDeviceInfo(Beep)"},
        {2, u"IsConnected", {}, "OX_IsConnected()"},
        {3, u"KeyPressed", {}, "OX_KeyPressed()"},
        {4, u"Calibrate", {}, "OX_Calibrate()"},
        {5, u"TriggerMeasurement", {}, "OX_TriggerMeasurement()"},
        {6, u"SetOption", {Text(key), Text(yes)}, "OX_SetOption(Beep, yes)"},
        {7, u"GetOption", {Text(key)}, "OX_GetOption(Beep)"},
        {8, u"SetSubstrate", {spectrum.Passed()}, "OX_SetSubstrate(0.5)"},
        {9, u"GetTriStimulus", {three.Passed(), Long(4)}, "OX_GetTriStimulus(0.25, 4)"},
        {10, u"GetDensity", {Referring(VT_R4, &density), Long(-1)}, "OX_GetDensity(1.5, -1)"},
        {11, u"GetDensities", {four.Passed(), Referring(VT_I4, &place), Long(6)}, "OX_GetDensities(0.75, 7, 6)"},
        {12, u"GetSpectrum", {spectrum.Passed(), Long(5)}, "OX_GetSpectrum(0.5, 5)"},
    };
    Library().text = "answer";
    for (const auto& c : cases) {
        SCOPED_TRACE(c.call);
        Library().result = 20 + c.id;
        Library().calls.clear();
        EXPECT_EQ(script->Find(c.name), c.id);
        const Outcome outcome = script->Call(c.name, c.arguments);
        EXPECT_EQ(outcome.status, S_OK);
        EXPECT_EQ(Library().calls, std::vector<std::string>{c.call});
        if (c.id == 1 || c.id == 7)
            EXPECT_EQ(outcome.AsText(), "answer");
        else
            EXPECT_TRUE(outcome.value.vt == VT_I4 && outcome.value.lVal == 20 + c.id);
    }
    EXPECT_EQ(script->Find(u"GetNumberOfAvailableSamples"), DISPID_UNKNOWN);
    EXPECT_EQ(three.Data()[2], 102.0F);
    EXPECT_EQ(four.Data()[3], 0.0F);
    EXPECT_EQ(spectrum.Data()[35], 135.0F);
    EXPECT_EQ(density, 100.0F);
    EXPECT_EQ(place, 3);
}

TEST_F(ControlTest, FindsMethodsAndParametersInAnyCase)
{
    std::u16string method = u"getTRIstimulus";
    std::u16string index = u"AXINDEX";
    std::u16string unknown = u"axIndexes";
    const struct {
        std::vector<LPOLESTR> names;
        HRESULT status;
        std::vector<DISPID> ids;
    } cases[] = {
        {{method.data(), index.data()}, S_OK, {9, 1}},
        {{method.data(), unknown.data(), index.data()}, DISP_E_UNKNOWNNAME, {9, -1, 1}},
        {{index.data()}, DISP_E_UNKNOWNNAME, {-1}},
        {{nullptr}, E_INVALIDARG, {0}},
    };
    for (auto c : cases) {
        std::vector<DISPID> ids(c.names.size());
        const auto count = static_cast<UINT>(c.names.size());
        EXPECT_EQ(Control()->GetIDsOfNames(IID_NULL, c.names.data(), count, 0, ids.data()), c.status);
        EXPECT_EQ(ids, c.ids);
    }
}

TEST_F(ControlTest, RefusesWhatIsNoCallOfAMethod)
{
    float density = 0.0F;
    const VARIANT reference = Referring(VT_R4, &density);
    const struct {
        const char* what;
        DISPID id;
        std::vector<VARIANT> arguments;
        std::vector<DISPID> named;
        HRESULT status;
    } cases[] = {
        {"no such method", 13, {}, {}, DISP_E_MEMBERNOTFOUND},
        {"no method", 0, {}, {}, DISP_E_MEMBERNOTFOUND},
        {"one argument too many", 4, {Long(1)}, {}, DISP_E_BADPARAMCOUNT},
        {"one too few", 6, {Long(1)}, {}, DISP_E_BADPARAMCOUNT},
        {"no such parameter", 10, {Long(1), reference}, {2}, DISP_E_PARAMNOTFOUND},
        {"given twice", 10, {reference, reference}, {0}, DISP_E_PARAMNOTFOUND},
        {"more names than arguments", 10, {Long(1)}, {1, 0}, E_INVALIDARG},
    };
    for (const auto& c : cases)
        EXPECT_EQ(script->Call(c.id, c.arguments, c.named).status, c.status) << c.what;

    DISPPARAMS none{nullptr, nullptr, 0, 0};
    constexpr WORD propertyGet = 2;
    EXPECT_EQ(Control()->Invoke(4, IID_NULL, 0, propertyGet, &none, nullptr, nullptr, nullptr), DISP_E_MEMBERNOTFOUND);
    EXPECT_TRUE(Library().calls.empty());
    EXPECT_EQ(Control()->Invoke(4, IID_NULL, 0, propertyGet | 1, &none, nullptr, nullptr, nullptr), S_OK);
    EXPECT_EQ(Library().calls.size(), 1U) << "the result is not wanted";
}

TEST_F(ControlTest, ConvertsItsArguments)
{
    const OwnedString key(FromAnsi("Beep"));
    const OwnedString no(FromAnsi("no"));
    const OwnedString fraction(FromAnsi(" -1.5e1 "));
    const OwnedString word(FromAnsi("1x"));
    const std::u16string accents = u"Gr\u00FCn \U0001F3A8\xD83C";
    const OwnedString wide(SysAllocStringLen(accents.data(), static_cast<UINT>(accents.size())));
    std::int16_t small = -3;
    float half = 2.5F;
    VARIANT inside = Long(8);
    const struct {
        const char* what;
        VARIANT argument;
        HRESULT status;
        std::string arrives;
        const char16_t* method = u"GetTriStimulus";
    } cases[] = {
        {"a smaller integer by reference", Referring(VT_I2, &small), S_OK, "-3"},
        {"the largest", Of(VT_UI4, 0x7FFFFFFF), S_OK, "2147483647"},
        {"one more", Of(VT_UI4, 0x80000000), DISP_E_OVERFLOW, ""},
        {"true", Of(VT_BOOL, 0xFFFF), S_OK, "-1"},
        {"a half to the even one below", Referring(VT_R4, &half), S_OK, "2"},
        {"rounds out of the range", Real(2147483647.5), DISP_E_OVERFLOW, ""},
        {"no number", Real(std::numeric_limits<double>::quiet_NaN()), DISP_E_OVERFLOW, ""},
        {"a text with blanks", Text(fraction), S_OK, "-15"},
        {"a text that is no number", Text(word), DISP_E_TYPEMISMATCH, ""},
        {"a script's variable", Referring(VT_VARIANT, &inside), S_OK, "8"},
        {"a reference to nowhere", Referring(VT_I2, nullptr), DISP_E_TYPEMISMATCH, ""},
        {"no value", Of(VT_NULL), DISP_E_TYPEMISMATCH, ""},
        {"left out", LeftOut(), DISP_E_PARAMNOTOPTIONAL, ""},
        {"letters beyond ASCII and half a pair", Text(wide), S_OK, "Gr\xC3\xBCn \xF0\x9F\x8E\xA8?", u"GetOption"},
        {"the null text", Of(VT_BSTR), S_OK, "", u"GetOption"},
        {"an integer", Long(-50), S_OK, "-50", u"GetOption"},
        {"a double", Real(0.1), S_OK, "0.1", u"GetOption"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        Array three(3);
        Library().calls.clear();
        const bool isText = std::u16string(c.method) == u"GetOption";
        const Outcome outcome =
            isText ? script->Call(c.method, {c.argument}) : script->Call(c.method, {three.Passed(), c.argument});
        EXPECT_EQ(outcome.status, c.status);
        const std::string call = isText ? "OX_GetOption(" : "OX_GetTriStimulus(0, ";
        EXPECT_EQ(Library().calls,
                  c.status == S_OK ? std::vector<std::string>{call + c.arrives + ")"} : std::vector<std::string>{});
        EXPECT_EQ(outcome.badArgument, c.status == S_OK ? 99U : 0U) << "the last argument stands first";
    }
    Library().calls.clear();
    EXPECT_EQ(script->Call(6, {Text(no), Text(key)}, {1, 0}).status, S_OK) << "named";
    EXPECT_EQ(script->Call(6, {Text(key), Text(no)}, {0, 1}).status, S_OK);
    EXPECT_EQ(Library().calls, std::vector<std::string>(2, "OX_SetOption(Beep, no)"));
}

TEST_F(ControlTest, ReturnsTextsAsUtf16)
{
    const OwnedString key(FromAnsi("Version"));
    const std::pair<std::string, std::u16string> cases[] = {
        {"", u""},
        {"a\xC3\xBC\xE2\x82\xAC\xF0\x9F\x8E\xA8z", u"a\u00FC\u20AC\U0001F3A8z"},
        {"Gr\xFCn 5\xE2\x82", u"Gr?n 5??"},   // another encoding, and cut within a character
        {"\xC0\x80x\xED\xA0\x80", u"??x???"}, // longer than need be, and half a pair
    };
    for (const auto& [in, out] : cases) {
        Library().text = in;
        const Outcome outcome = script->Call(u"GetDeviceInfo", {Text(key)});
        ASSERT_EQ(outcome.value.vt, VT_BSTR);
        EXPECT_EQ(SysStringByteLen(outcome.value.bstrVal), 2 * out.size());
        EXPECT_EQ(std::u16string(outcome.value.bstrVal), out);
    }
}

TEST_F(ControlTest, TakesReferencesToALongAndAFloatAsTheyAre)
{
    float density = 0.0F;
    double wrong = 0.0;
    Array four(4);
    EXPECT_EQ(script->Call(u"GetDensity", {Referring(VT_R4, nullptr), Long(0)}).status, S_OK);
    EXPECT_EQ(Library().calls.back(), "OX_GetDensity(null, 0)") << "the library judges";
    EXPECT_EQ(script->Call(u"GetDensities", {four.Passed(), Referring(VT_I4, nullptr), Long(0)}).status, S_OK);
    EXPECT_EQ(Library().calls.back(), "OX_GetDensities(0, null, 0)");
    Library().calls.clear();
    for (const VARIANT& bad : {Referring(VT_R8, &wrong), Real(0.0), Of(VT_EMPTY)}) {
        const Outcome outcome = script->Call(u"GetDensity", {bad, Long(0)});
        EXPECT_EQ(outcome.status, DISP_E_TYPEMISMATCH);
        EXPECT_EQ(outcome.badArgument, 1U);
    }
    EXPECT_EQ(script->Call(u"GetDensities", {four.Passed(), Referring(VT_R4, &density), Long(0)}).status,
              DISP_E_TYPEMISMATCH);
    EXPECT_TRUE(Library().calls.empty());
}

TEST_F(ControlTest, RefusesUnfitArraysWithoutACallOfTheLibrary)
{
    Array shorter(35), longer(37), fits(36);
    Array square(VT_R4, {{6, 0}, {6, 0}});
    Array row(VT_R4, {{1, 0}, {36, 0}});
    Array column(VT_R4, {{36, 0}, {1, 0}});
    Array doubles(VT_R8, {{36, 0}});
    SAFEARRAY* missing = nullptr;
    VARIANT byValue = Of(VT_ARRAY | VT_R4);
    byValue.parray = &*fits;
    VARIANT passed = fits.Passed();
    const std::pair<const char*, VARIANT> cases[] = {
        {"35 floats", shorter.Passed()},
        {"37 floats", longer.Passed()},
        {"6 by 6", square.Passed()},
        {"1 by 36", row.Passed()},
        {"36 by 1", column.Passed()},
        {"doubles", doubles.Passed(VT_R8)},
        {"not by reference", byValue},
        {"a script's variable", Referring(VT_VARIANT, &passed)},
        {"no descriptor", Referring(VT_ARRAY | VT_R4, &missing)},
        {"a reference to nowhere", Referring(VT_ARRAY | VT_R4, nullptr)},
        {"nothing", Of(VT_EMPTY)},
    };
    LONG place = 0;
    for (const auto& [what, argument] : cases) {
        SCOPED_TRACE(what);
        for (const Outcome& outcome :
             {script->Call(u"GetSpectrum", {argument, Long(0)}), script->Call(u"SetSubstrate", {argument}),
              script->Call(u"GetTriStimulus", {argument, Long(0)}),
              script->Call(u"GetDensities", {argument, Referring(VT_I4, &place), Long(0)})}) {
            EXPECT_EQ(outcome.status, S_OK);
            EXPECT_TRUE(outcome.value.vt == VT_I4 && outcome.value.lVal == OX_InvalidParameter);
        }
    }
    EXPECT_TRUE(Library().calls.empty());
    Array shifted(VT_R4, {{36, 380}}); // a lower bound of its own
    ULONG locks = 99;
    Library().during = [&] { locks = shifted->cLocks; };
    EXPECT_EQ(script->Call(u"GetSpectrum", {shifted.Passed(), Long(0)}).status, S_OK);
    EXPECT_EQ(Library().pointers, std::vector<const void*>{shifted.Data()});
    EXPECT_EQ(locks, 0U);
}

TEST_F(ControlTest, TurnsWhatIsThrownInsideIntoANumberAndAText)
{
    const struct {
        std::function<void()> during;
        HRESULT status;
        const char* text;
    } cases[] = {
        {[] { throw OXSDK::Exception(); }, DISP_E_EXCEPTION, "unknown failure"},
        {[] { throw std::runtime_error("broken"); }, DISP_E_EXCEPTION, "broken"},
        {[] { throw std::bad_alloc(); }, E_OUTOFMEMORY, ""},
    };
    for (const auto& c : cases) {
        Library().during = c.during;
        EXPECT_EQ(script->Call(4, {}, {}, nullptr).status, c.status);
        EXCEPINFO exception{};
        EXPECT_EQ(script->Call(4, {}, {}, &exception).status, c.status);
        const OwnedString source(exception.bstrSource);
        const OwnedString text(exception.bstrDescription);
        EXPECT_EQ(ToAnsi(text.Get()), c.text);
        EXPECT_EQ(ToAnsi(source.Get()), *c.text == '\0' ? "" : "Vondrel.OrvexCtrl.1");
        EXPECT_EQ(exception.scode, *c.text == '\0' ? 0 : E_UNEXPECTED);
    }
}
