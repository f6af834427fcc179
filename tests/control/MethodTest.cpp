// The twelve methods, called as a script calls them.

#include "tests/control/ControlTest.h"

#include "orvex/ox.h"

#include <limits>
#include <stdexcept>

namespace {

struct ConversionCase {
    const char* what;
    VARIANT argument;
    HRESULT status;
    std::string arrives;
};

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
    std::u16string array = u"yxTriStimulus";
    std::u16string unknown = u"axIndexes";
    const struct {
        std::vector<LPOLESTR> names;
        HRESULT status;
        std::vector<DISPID> ids;
    } cases[] = {
        {{method.data(), index.data(), array.data()}, S_OK, {9, 1, 0}},
        {{method.data(), unknown.data(), array.data()}, DISP_E_UNKNOWNNAME, {9, -1, 0}},
        {{index.data(), array.data()}, DISP_E_UNKNOWNNAME, {-1, -1}},
    };
    for (auto c : cases) {
        std::vector<DISPID> ids(c.names.size());
        const auto count = static_cast<UINT>(c.names.size());
        EXPECT_EQ(Control()->GetIDsOfNames(IID_NULL, c.names.data(), count, 0, ids.data()), c.status);
        EXPECT_EQ(ids, c.ids);
    }
    LPOLESTR nothing[] = {nullptr};
    DISPID id = 0;
    EXPECT_EQ(Control()->GetIDsOfNames(IID_NULL, nothing, 1, 0, &id), E_INVALIDARG);
    EXPECT_EQ(Control()->GetIDsOfNames(IID_NULL, nullptr, 1, 0, &id), E_INVALIDARG);
    EXPECT_EQ(Control()->GetIDsOfNames(IID_IDispatch, nothing, 1, 0, &id), DISP_E_UNKNOWNINTERFACE);
}

TEST_F(ControlTest, RefusesWhatIsNoCallOfAMethod)
{
    const auto status = [this](DISPID id, std::vector<VARIANT> arguments, std::vector<DISPID> named = {}) {
        return script->Call(id, std::move(arguments), std::move(named)).status;
    };
    float density = 0.0F;
    const VARIANT reference = Referring(VT_R4, &density);
    EXPECT_EQ(status(13, {}), DISP_E_MEMBERNOTFOUND);
    EXPECT_EQ(status(0, {}), DISP_E_MEMBERNOTFOUND);
    EXPECT_EQ(status(4, {Long(1)}), DISP_E_BADPARAMCOUNT);
    EXPECT_EQ(status(6, {Long(1)}), DISP_E_BADPARAMCOUNT);
    EXPECT_EQ(status(8, {}), DISP_E_BADPARAMCOUNT);
    EXPECT_EQ(status(10, {Long(1), reference}, {2}), DISP_E_PARAMNOTFOUND) << "no such parameter";
    EXPECT_EQ(status(10, {Long(1), reference}, {-1}), DISP_E_PARAMNOTFOUND) << "no such parameter";
    EXPECT_EQ(status(10, {reference, reference}, {0}), DISP_E_PARAMNOTFOUND) << "given twice";
    EXPECT_EQ(status(10, {Long(1)}, {1, 0}), E_INVALIDARG) << "more names than arguments";

    DISPPARAMS none{nullptr, nullptr, 0, 0};
    DISPPARAMS lost{nullptr, nullptr, 1, 0};
    constexpr WORD propertyGet = 2;
    IDispatch* const control = Control();
    EXPECT_EQ(control->Invoke(4, IID_NULL, 0, propertyGet, &none, nullptr, nullptr, nullptr), DISP_E_MEMBERNOTFOUND);
    EXPECT_EQ(control->Invoke(4, IID_IDispatch, 0, 1, &none, nullptr, nullptr, nullptr), DISP_E_UNKNOWNINTERFACE);
    EXPECT_EQ(control->Invoke(4, IID_NULL, 0, 1, nullptr, nullptr, nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(control->Invoke(1, IID_NULL, 0, 1, &lost, nullptr, nullptr, nullptr), E_INVALIDARG);
    EXPECT_TRUE(Library().calls.empty());

    EXPECT_EQ(control->Invoke(4, IID_NULL, 0, propertyGet | 1, &none, nullptr, nullptr, nullptr), S_OK);
    EXPECT_EQ(Library().calls.size(), 1U) << "the result is not wanted";
}

TEST_F(ControlTest, TakesNamedArgumentsInAnyOrder)
{
    const OwnedString key(FromAnsi("Beep"));
    const OwnedString no(FromAnsi("no"));
    EXPECT_EQ(script->Call(6, {Text(key), Text(no)}, {0, 1}).status, S_OK);
    EXPECT_EQ(script->Call(6, {Text(no), Text(key)}, {1, 0}).status, S_OK);
    EXPECT_EQ(script->Call(6, {Text(no), Text(key)}, {1}).status, S_OK);
    EXPECT_EQ(Library().calls, std::vector<std::string>(3, "OX_SetOption(Beep, no)"));
}

TEST_F(ControlTest, ConvertsLongs)
{
    const OwnedString blanks(FromAnsi("  +12 "));
    const OwnedString fraction(FromAnsi("-1.5e1"));
    const OwnedString word(FromAnsi("1x"));
    const OwnedString endless(FromAnsi("inf"));
    const OwnedString empty(FromAnsi(""));
    const OwnedString cut(FromAnsi(std::string("1\0", 2)));
    std::int16_t small = -3;
    float half = 2.5F;
    VARIANT inside = Long(8);
    VARIANT nested = Referring(VT_VARIANT, &inside);
    const ConversionCase cases[] = {
        {"a smaller integer by reference", Referring(VT_I2, &small), S_OK, "-3"},
        {"a byte", Of(VT_UI1, 200), S_OK, "200"},
        {"the largest", Of(VT_UI4, 0x7FFFFFFF), S_OK, "2147483647"},
        {"one more", Of(VT_UI4, 0x80000000), DISP_E_OVERFLOW, ""},
        {"far too large", Of(VT_UI8, ~std::uint64_t{0}), DISP_E_OVERFLOW, ""},
        {"true", Of(VT_BOOL, 0xFFFF), S_OK, "-1"},
        {"nothing", Of(VT_EMPTY), S_OK, "0"},
        {"a half to the even one below", Referring(VT_R4, &half), S_OK, "2"},
        {"a half to the even one above", Real(-3.5), S_OK, "-4"},
        {"just below a half", Real(0.49999999999999994), S_OK, "0"},
        {"rounds into the range", Real(-2147483648.5), S_OK, "-2147483648"},
        {"rounds out of the range", Real(2147483647.5), DISP_E_OVERFLOW, ""},
        {"no number", Real(std::numeric_limits<double>::quiet_NaN()), DISP_E_OVERFLOW, ""},
        {"a text with blanks", Text(blanks), S_OK, "12"},
        {"a text with an exponent", Text(fraction), S_OK, "-15"},
        {"a text that is no number", Text(word), DISP_E_TYPEMISMATCH, ""},
        {"a word for infinity", Text(endless), DISP_E_TYPEMISMATCH, ""},
        {"an empty text", Text(empty), DISP_E_TYPEMISMATCH, ""},
        {"a zero in the text", Text(cut), DISP_E_TYPEMISMATCH, ""},
        {"no text", Of(VT_BSTR), DISP_E_TYPEMISMATCH, ""},
        {"a script's variable", Referring(VT_VARIANT, &inside), S_OK, "8"},
        {"a variable of a variable", Referring(VT_VARIANT, &nested), DISP_E_TYPEMISMATCH, ""},
        {"a reference to nowhere", Referring(VT_I2, nullptr), DISP_E_TYPEMISMATCH, ""},
        {"a variable that is nowhere", Referring(VT_VARIANT, nullptr), DISP_E_TYPEMISMATCH, ""},
        {"no value", Of(VT_NULL), DISP_E_TYPEMISMATCH, ""},
        {"an object", Of(VT_DISPATCH), DISP_E_TYPEMISMATCH, ""},
        {"left out", LeftOut(), DISP_E_PARAMNOTOPTIONAL, ""},
    };
    float density = 0.0F;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        Library().calls.clear();
        density = 0.0F;
        const Outcome outcome = script->Call(u"GetDensity", {Referring(VT_R4, &density), c.argument});
        EXPECT_EQ(outcome.status, c.status);
        if (c.status == S_OK) {
            EXPECT_EQ(Library().calls.at(0), "OX_GetDensity(0, " + c.arrives + ")");
            continue;
        }
        EXPECT_TRUE(Library().calls.empty());
        EXPECT_EQ(outcome.badArgument, 0U) << "the last argument stands first";
    }
}

TEST_F(ControlTest, ConvertsTexts)
{
    const auto wide = [](std::u16string units) {
        return SysAllocStringLen(units.data(), static_cast<UINT>(units.size()));
    };
    const OwnedString accents(wide(u"Grün €"));
    const OwnedString beyond(wide(u"\U0001F3A8"));
    const OwnedString halves(wide({0xD83C, u'a', 0xDFA8, 0xD83C}));
    const OwnedString zero(wide({u'a', 0, u'b'}));
    const OwnedString longText(wide(std::u16string(70000, u'x') + u'!'));
    BSTR referred = accents.Get();
    float third = 1.0F / 3.0F;
    const ConversionCase cases[] = {
        {"letters beyond ASCII", Text(accents), S_OK, "Gr\xC3\xBCn \xE2\x82\xAC"},
        {"a surrogate pair", Text(beyond), S_OK, "\xF0\x9F\x8E\xA8"},
        {"halves of a pair", Text(halves), S_OK, "?a??"},
        {"a zero does not cut it", Text(zero), S_OK, "a?b"},
        {"a long one", Text(longText), S_OK, std::string(70000, 'x') + "!"},
        {"by reference", Referring(VT_BSTR, &referred), S_OK, "Gr\xC3\xBCn \xE2\x82\xAC"},
        {"the null text", Of(VT_BSTR), S_OK, ""},
        {"nothing", Of(VT_EMPTY), S_OK, ""},
        {"an integer", Long(-50), S_OK, "-50"},
        {"the largest integer", Of(VT_UI8, ~std::uint64_t{0}), S_OK, "18446744073709551615"},
        {"true", Of(VT_BOOL, 0xFFFF), S_OK, "-1"},
        {"a double", Real(0.1), S_OK, "0.1"},
        {"a large double", Real(1e300), S_OK, "1E+300"},
        {"a float", Referring(VT_R4, &third), S_OK, "0.3333333"},
        {"no value", Of(VT_NULL), DISP_E_TYPEMISMATCH, ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        Library().calls.clear();
        EXPECT_EQ(script->Call(u"GetOption", {c.argument}).status, c.status);
        if (c.status == S_OK)
            EXPECT_EQ(Library().calls.at(0), "OX_GetOption(" + c.arrives + ")");
        else
            EXPECT_TRUE(Library().calls.empty());
    }
}

TEST_F(ControlTest, ReturnsTextsAsUtf16)
{
    const OwnedString key(FromAnsi("Version"));
    const struct {
        const char* what;
        std::string inside;
        std::u16string outside;
    } cases[] = {
        {"a failure", "", u""},
        {"all lengths of a character", "a\xC3\xBC\xE2\x82\xAC\xF0\x9F\x8E\xA8z", u"aü€\U0001F3A8z"},
        {"another encoding", "Gr\xFCn", u"Gr?n"},
        {"cut within a character", "5\xE2\x82", u"5??"},
        {"longer than need be", "\xC0\x80x\xE0\x80\x80", u"??x???"},
        {"a surrogate and beyond the last", "\xED\xA0\x80\xF4\x90\x80\x80", u"???????"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        Library().text = c.inside;
        const Outcome outcome = script->Call(u"GetDeviceInfo", {Text(key)});
        ASSERT_EQ(outcome.value.vt, VT_BSTR);
        ASSERT_NE(outcome.value.bstrVal, nullptr);
        EXPECT_EQ(SysStringByteLen(outcome.value.bstrVal), 2 * c.outside.size());
        EXPECT_EQ(std::u16string(outcome.value.bstrVal), c.outside);
    }
}

TEST_F(ControlTest, TakesReferencesToALongAndAFloatAsTheyAre)
{
    float density = 0.0F;
    double wrong = 0.0;
    LONG place = 0;
    Array four(4);
    EXPECT_EQ(script->Call(u"GetDensity", {Referring(VT_R4, nullptr), Long(0)}).status, S_OK);
    EXPECT_EQ(Library().calls.back(), "OX_GetDensity(null, 0)") << "the library judges";
    EXPECT_EQ(script->Call(u"GetDensities", {four.Passed(), Referring(VT_I4, nullptr), Long(0)}).status, S_OK);
    EXPECT_EQ(Library().calls.back(), "OX_GetDensities(0, null, 0)");
    Library().calls.clear();

    VARIANT variable = Real(0.0);
    for (const VARIANT& bad : {Referring(VT_R8, &wrong), Referring(VT_I4, &place), Referring(VT_VARIANT, &variable),
                               Real(0.0), Of(VT_EMPTY)}) {
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
    Array shorter(35);
    Array longer(37);
    Array none(0);
    Array square(VT_R4, {{6, 0}, {6, 0}});
    Array row(VT_R4, {{1, 0}, {36, 0}});
    Array doubles(VT_R8, {{36, 0}});
    Array fits(36);
    SAFEARRAY* missing = nullptr;
    VARIANT byValue = Of(VT_ARRAY | VT_R4);
    byValue.parray = &*fits;
    VARIANT passed = fits.Passed();
    const struct {
        const char* what;
        VARIANT argument;
    } cases[] = {
        {"35 floats", shorter.Passed()},
        {"37 floats", longer.Passed()},
        {"no floats", none.Passed()},
        {"6 by 6", square.Passed()},
        {"1 by 36", row.Passed()},
        {"doubles", doubles.Passed(VT_R8)},
        {"not by reference", byValue},
        {"a script's variable", Referring(VT_VARIANT, &passed)},
        {"no descriptor", Referring(VT_ARRAY | VT_R4, &missing)},
        {"a reference to nowhere", Referring(VT_ARRAY | VT_R4, nullptr)},
        {"a number", Long(36)},
        {"nothing", Of(VT_EMPTY)},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        LONG place = 0;
        const VARIANT reference = Referring(VT_I4, &place);
        const Outcome outcomes[] = {script->Call(u"GetSpectrum", {c.argument, Long(0)}),
                                    script->Call(u"SetSubstrate", {c.argument}),
                                    script->Call(u"GetTriStimulus", {c.argument, Long(0)}),
                                    script->Call(u"GetDensities", {c.argument, reference, Long(0)})};
        for (const Outcome& outcome : outcomes) {
            EXPECT_EQ(outcome.status, S_OK);
            EXPECT_TRUE(outcome.value.vt == VT_I4 && outcome.value.lVal == OX_InvalidParameter);
        }
    }
    EXPECT_TRUE(Library().calls.empty());
}

TEST_F(ControlTest, HandsOverTheDataOfAnArrayUnlocked)
{
    Array spectrum(VT_R4, {{36, 380}}); // a lower bound of its own
    ULONG locks = 99;
    Library().during = [&] { locks = spectrum->cLocks; };
    EXPECT_EQ(script->Call(u"GetSpectrum", {spectrum.Passed(), Long(0)}).status, S_OK);
    EXPECT_EQ(Library().pointers, std::vector<const void*>{spectrum.Data()});
    EXPECT_EQ(locks, 0U);
}

TEST_F(ControlTest, TurnsWhatIsThrownInsideIntoANumberAndAText)
{
    const auto call = [this](EXCEPINFO* exception) { return script->Call(4, {}, {}, exception).status; };
    const struct {
        std::function<void()> during;
        HRESULT status;
        const char* text;
    } cases[] = {
        {[] { throw OXSDK::Exception(); }, DISP_E_EXCEPTION, "unknown failure"},
        {[] { throw std::runtime_error("broken"); }, DISP_E_EXCEPTION, "broken"},
        {[] { throw std::bad_alloc(); }, E_OUTOFMEMORY, nullptr},
    };
    for (const auto& c : cases) {
        Library().during = c.during;
        EXPECT_EQ(call(nullptr), c.status);
        EXCEPINFO exception{};
        EXPECT_EQ(call(&exception), c.status);
        const OwnedString source(exception.bstrSource);
        const OwnedString text(exception.bstrDescription);
        EXPECT_EQ(ToAnsi(text.Get()), c.text == nullptr ? "" : c.text);
        EXPECT_EQ(ToAnsi(source.Get()), c.text == nullptr ? "" : "Vondrel.OrvexCtrl.1");
        EXPECT_EQ(exception.scode, c.text == nullptr ? 0 : E_UNEXPECTED);
    }
}
