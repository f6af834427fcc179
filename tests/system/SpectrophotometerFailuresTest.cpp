// Every kind of failure as the application sees it: the code, the text, the call of its handler, the array that it
// gave; and keys, values, indices and arrays that mean no good.

#include "tests/system/SystemBench.h"

#include <functional>
#include <set>
#include <sstream>

using testing::AnyOf;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

const auto isDocumented = AnyOf(0, 2, 3, 5, 6, 7, 8, 9, 10, 12);

struct Failure {
    const char* function;
    std::function<OX_Result()> call;
    OX_Result code;
    std::string text;
};

class SpectrophotometerFailures : public SystemBench {
protected:
    /// The call fails as it should: the code it returns, the call of the handler, the texts.
    static void ExpectFailure(const Failure& failure)
    {
        SCOPED_TRACE(failure.function + (": " + failure.text));
        TakeReports();
        EXPECT_EQ(failure.call(), failure.code);
        EXPECT_THAT(TakeReports(), ElementsAre(Report{failure.function, failure.code, failure.text}));
        EXPECT_EQ(Option("LastError"), failure.text);
        EXPECT_EQ(Option("LastError"), failure.text) << "it can be asked for twice";
        EXPECT_THAT(Option("ExtendedErrorInformation"), HasSubstr("::" + std::string(failure.function) + "(): "));
        EXPECT_THAT(Option("ExtendedErrorInformation"),
                    testing::Not(testing::ContainsRegex("::Orvex[A-Z][A-Za-z]*\\(")))
            << "a class in the place of a method";
        EXPECT_EQ(Option("Version"), "Version 3.1.0  Build 103");
        EXPECT_EQ(Option("LastError"), "no error");
        EXPECT_THAT(TakeReports(), IsEmpty());
    }

    static std::function<OX_Result()> Setting(const char* key, const char* value)
    {
        return [key, value] { return Set(key, value); };
    }

    /// A query as a call with a result: the code in the report of its failure.
    static std::function<OX_Result()> Asking(const char* key)
    {
        return [key] {
            EXPECT_STREQ(OX_GetOption(key), "");
            return LastCode();
        };
    }

    void MeasureGrey()
    {
        CalibrateIn("SingleReflectance");
        Show("sample");
        ASSERT_OK(OX_TriggerMeasurement());
    }
};

}

TEST_F(SpectrophotometerFailures, WithoutAnInstrumentNothingButTheLibraryAnswers)
{
    RegisterHandlers();
    std::array<float, 36> values{};
    values.fill(7);
    const std::string none = "No devices connected";
    const Failure failures[] = {
        {"OX_Calibrate", OX_Calibrate, 2, none},
        {"OX_TriggerMeasurement", OX_TriggerMeasurement, 2, none},
        {"OX_TriggerCountedScan", [] { return OX_TriggerCountedScan(5); }, 2, none},
        {"OX_GetNumberOfAvailableSamples", [] { return OX_GetNumberOfAvailableSamples() == -1 ? 2 : 0; }, 2, none},
        {"OX_KeyPressed", OX_KeyPressed, 2, none},
        {"OX_IsConnected", OX_IsConnected, 2, none},
        {"OX_GetSpectrum", [&] { return OX_GetSpectrum(values.data(), 0); }, 2, none},
        {"OX_GetTriStimulus", [&] { return OX_GetTriStimulus(values.data(), 0); }, 2, none},
        {"OX_GetDensity", [&] { return OX_GetDensity(values.data(), 0); }, 2, none},
        {"OX_SetSubstrate", [&] { return OX_SetSubstrate(values.data()); }, 2, none},
        {"OX_SetOption", Setting("MeasurementMode", "Foo"), 2, none},
        {"OX_SetOption", Setting("Colorimetric.Observer", "TenDegree"), 2, none},
        {"OX_SetOption", Setting("Recognition", "yes"), 2, none},
        {"OX_SetOption", Setting("Reset", "SingleEmission"), 2, none},
        {"OX_TriggerCountedScan", [] { return OX_TriggerCountedScan(0); }, 10, "count must be > 0 !!"},
        {"OX_SetOption", Setting("PhysicalFilter", "1"), 10, "The physical filter can not be set !!"},
    };
    for (const Failure& failure : failures)
        ExpectFailure(failure);
    EXPECT_THAT(values, Each(7.0F)) << "an array is left alone before there is a device";
    EXPECT_EQ(Option("Connection"), "no");
    EXPECT_EQ(Option("DeviceType"), "Orvex");
    EXPECT_OK(Set("Beep", "no"));
    EXPECT_OK(Set("Beep", "yes"));
    EXPECT_OK(Set("DeviceType", "Orvex3"));
    EXPECT_EQ(Option("DeviceType"), "Orvex3");
    EXPECT_OK(Set("Reset", "Orvex"));
    EXPECT_OK(Set("Reset", "All"));
}

TEST_F(SpectrophotometerFailures, EachHasItsCodeItsTextAndItsCallOfTheHandler)
{
    Plug();
    MeasureGrey();
    std::array<float, 36> values{};
    const std::string isNull = "parameter must not be null", isEmpty = "parameter must not be empty";
    const std::string noDensity =
        "density calculation only supported in reflectance mode. Current mode is SingleEmission";
    const Failure failures[] = {
        {"OX_GetSpectrum", [&] { return OX_GetSpectrum(values.data(), 1); }, 8, "index 1 out of range"},
        {"OX_GetTriStimulus", [&] { return OX_GetTriStimulus(values.data(), -2); }, 8, "index 4294967294 out of range"},
        {"OX_GetDensity", [&] { return OX_GetDensity(values.data(), 2147483647); }, 8, "index 2147483647 out of range"},
        {"OX_GetSpectrum", [] { return OX_GetSpectrum(nullptr, 0); }, 10, isNull},
        {"OX_GetTriStimulus", [] { return OX_GetTriStimulus(nullptr, 0); }, 10, isNull},
        {"OX_GetDensities", [] { return OX_GetDensities(nullptr, nullptr, 0); }, 10, isNull},
        {"OX_GetDensity", [] { return OX_GetDensity(nullptr, 0); }, 10, isNull},
        {"OX_SetSubstrate", [] { return OX_SetSubstrate(nullptr); }, 10, isNull},
        {"OX_SetOption", Setting(nullptr, "x"), 10, isNull},
        {"OX_SetOption", Setting("x", nullptr), 10, isNull},
        {"OX_SetOption", Setting("", "x"), 10, isEmpty},
        {"OX_SetOption", Setting("Reset", ""), 10, isEmpty},
        {"OX_GetOption", Asking(nullptr), 10, isNull},
        {"OX_GetOption", Asking(""), 10, isEmpty},
        {"OX_GetOption", Asking("Anything"), 10, "Unknown argument Anything"},
        {"OX_GetOption", Asking("version"), 10, "Unknown argument version"},
        {"OX_GetOption", Asking("70000"), 10, "Unknown argument 70000"},
        {"OX_TriggerCountedScan", [] { return OX_TriggerCountedScan(-2147483647 - 1); }, 10, "count must be > 0 !!"},
        {"OX_SetOption", Setting("MeasurementMode", "singleemission"), 10, "No such measure interface singleemission"},
        {"OX_SetOption", Setting("Reset", "Foo"), 6, "the connected device doesn't support \"Foo\" !"},
        {"OX_SetOption", Setting("Recognition", "no"), 6, "recoginition only supported in reflectance-scan mode"},
        {"OX_GetOption", Asking("Recognition"), 6, "recoginition only supported in reflectance-scan mode"},
        {"OX_SetOption", Setting("DeviceType", "Foo"), 12, "unknown device type \"Foo\""},
        {"OX_SetOption", Setting("DeviceType", "Orvex128"), 12, "unknown device type \"Orvex128\""},
        {"OX_SetOption", Setting("DeviceType", "Orvex-1"), 12, "unknown device type \"Orvex-1\""},
        {"OX_SetOption", Setting("Reset", "Orvex999"), 12, "unknown device type \"Orvex999\""},
    };
    for (const Failure& failure : failures) {
        ExpectFailure(failure);
        ASSERT_EQ(Option("DeviceType"), "Orvex");
    }
    ASSERT_OK(Set("Colorimetric.WhiteBase", "Paper"));
    ExpectFailure({"OX_GetDensity", [&] { return OX_GetDensity(values.data(), 0); }, 5, "no substrate set"});
    ExpectFailure(
        {"OX_GetDensities", [&] { return OX_GetDensities(values.data(), nullptr, 0); }, 5, "no substrate set"});
    EXPECT_EQ(OX_GetTriStimulus(values.data(), 0), OX_InternalError)
        << "no color relative to a paper that is not there";
    const Spectrum none = Flat(0), paper = Flat(0.85F);
    EXPECT_OK(OX_SetSubstrate(none.data()));
    EXPECT_EQ(OX_GetDensity(values.data(), 0), OX_NoSubstrate);
    EXPECT_OK(OX_SetSubstrate(paper.data()));
    EXPECT_OK(OX_GetDensity(values.data(), 0));

    ASSERT_OK(Set("MeasurementMode", "SingleEmission"));
    for (const auto& [function, call] : std::initializer_list<std::pair<const char*, std::function<OX_Result()>>>{
             {"OX_GetDensity", [&] { return OX_GetDensity(values.data(), 0); }},
             {"OX_GetDensities", [&] { return OX_GetDensities(values.data(), nullptr, 0); }},
             {"OX_SetSubstrate", [&] { return OX_SetSubstrate(paper.data()); }}})
        ExpectFailure({function, call, 6, noDensity});
    Show("source");
    ExpectFailure({"OX_TriggerMeasurement", OX_TriggerMeasurement, 3, "Sample calculation: Data not valid"});
    ExpectFailure({"OX_Calibrate", OX_Calibrate, 3, "Dark calculation: Data is not valid"});
}

TEST_F(SpectrophotometerFailures, ACallWithoutAClassOfItsOwnIsAnInternalError)
{
    Plug();
    RegisterHandlers();
    const std::pair<const char*, const char*> options[] = {
        {"Colorimetric.Observer", "ThreeDegree"}, {"Colorimetric.Illumination", "D51"}, {"DeviceType", "OrvexX"}};
    for (const auto& [key, value] : options) {
        SCOPED_TRACE(key);
        EXPECT_EQ(Set(key, value), OX_InternalError);
        const auto failures = TakeReports();
        ASSERT_EQ(failures.size(), 1U);
        EXPECT_EQ(failures[0].code, OX_InternalError);
        EXPECT_EQ(Option("LastError"), failures[0].text);
    }
    MeasureGrey();
    ASSERT_EQ(oxv_fault(device, "bulk-read", 1, 0, "timeout"), OXV_OK);
    EXPECT_EQ(OX_TriggerMeasurement(), OX_InternalError) << "an instrument that does not answer in time";
    EXPECT_THAT(TakeReports(), ElementsAre(testing::Field(&Report::text, StartsWith("read data failed (timeout)"))));
    oxv_faults_clear(device);
    EXPECT_OK(OX_TriggerMeasurement());
}

TEST_F(SpectrophotometerFailures, AnInstrumentWithoutAmbientHeadOrReflectanceSaysSo)
{
    Plug();
    ASSERT_EQ(oxv_set_number(device, "ambient-head", 0), OXV_OK);
    Restart();
    for (const char* mode : {"SingleAmbientLight", "ScanningAmbientLight"})
        ExpectFailure({"OX_SetOption", Setting("MeasurementMode", mode), 6,
                       "the connected device doesn't support ambient-light measurements !"});
    ASSERT_EQ(oxv_set_number(device, "device-type", 2), OXV_OK);
    Restart();
    for (const char* mode : {"SingleReflectance", "ScanningReflectance"})
        ExpectFailure({"OX_SetOption", Setting("MeasurementMode", mode), 6,
                       "the connected device is a ox-monitor and doesn't support reflectance measurements !"});
    ExpectFailure(
        {"OX_TriggerCountedScan", [] { return OX_TriggerCountedScan(5); }, 10, "No such mode (RemissionScanHandle)"});
    EXPECT_EQ(Option("MeasurementMode"), "SingleEmission");
    EXPECT_EQ(Option("AvailableMeasurementModes"), "SingleEmission");
    CalibrateIn("SingleEmission");
    Show("source");
    EXPECT_OK(OX_TriggerMeasurement());
}

TEST_F(SpectrophotometerFailures, ARefusalNamesItsRule)
{
    Plug();
    RegisterHandlers();
    std::set<std::string> lines;
    const std::pair<const char*, std::function<void()>> rules[] = {
        {"OrvexContextValidator::Validate(): ", [] { OX_TriggerCountedScan(0); }},
        {"OrvexContextValidator::Validate(): ", [] { Set("PhysicalFilter", "2"); }},
        {"OrvexContextValidator::ValidateRecognition(): ", [] { Set("Recognition", "yes"); }},
        {"OrvexContextValidator::ValidateResetMode(): ", [] { Set("Reset", "Foo"); }},
        {"OrvexSDKProxy::GetDeviceSpecificOption(): ", [] { Option("Anything"); }},
    };
    for (const auto& [location, call] : rules) {
        SCOPED_TRACE(location);
        call();
        const std::string trace = Option("ExtendedErrorInformation");
        EXPECT_THAT(trace, HasSubstr(location));
        EXPECT_TRUE(lines.insert(trace.substr(trace.find(location), trace.find('\n', trace.find(location)))).second)
            << trace;
    }
}

TEST_F(SpectrophotometerFailures, ARefusedArrayIsMarked)
{
    Plug();
    MeasureGrey();
    std::array<float, 38> values{};
    const std::pair<std::size_t, std::function<OX_Result(float*)>> calls[] = {
        {36, [](float* array) { return OX_GetSpectrum(array, 1); }},
        {3, [](float* array) { return OX_GetTriStimulus(array, 1); }},
        {4, [](float* array) { return OX_GetDensities(array, nullptr, 1); }},
        {1, [](float* array) { return OX_GetDensity(array, 1); }},
    };
    for (const auto& [size, call] : calls) {
        SCOPED_TRACE(size);
        values.fill(7);
        EXPECT_EQ(call(values.data() + 1), OX_IndexOutOfRange);
        for (std::size_t i = 0; i < values.size(); ++i)
            EXPECT_EQ(values[i], i >= 1 && i <= size ? -1000.0F : 7.0F) << i;
    }
    ASSERT_EQ(oxv_unplug(device), OXV_OK);
    ASSERT_EQ(oxv_settle(10000), OXV_OK);
    values.fill(7);
    EXPECT_EQ(OX_GetSpectrum(values.data(), 5), OX_IndexOutOfRange);
    EXPECT_EQ(values[35], -1000.0F) << "also when the instrument has gone";
    std::array<float, 36> paper{};
    paper.fill(0.8F);
    EXPECT_OK(OX_SetSubstrate(paper.data()));
    EXPECT_THAT(paper, Each(0.8F)) << "input is no array to be marked";
}

TEST_F(SpectrophotometerFailures, TheSpellingOfAValueDecidesItsType)
{
    Plug();
    struct Case {
        const char* value;
        const char* read; ///< null: no property, kept as a plain entry of the mode
    };
    const Case cases[] = {
        {"7", "7"},
        {" 7", "7 "},
        {"+7", "7"},
        {"-7", "-7"},
        {"1e-2", "1"},
        {"1,5", "1"},
        {"12ab", "12"},
        {"1.0", "1"},
        {"0.25", "0.25"},
        {"1.5e3", "1500"},
        {".5", "0.5"},
        {"1 2", "1 2 "},
        {"  1   2  ", "1 2 "},
        {"1.5 2", "1.5 2 "},
        {"abc", nullptr},
        {"2147483648", nullptr},
        {"1 x", nullptr},
        {"1.5 x", nullptr},
        {"1e99.", nullptr},
        {"\xC3\xA4", nullptr},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.value);
        ASSERT_OK(Set("2014", "99"));
        EXPECT_OK(Set("2014", c.value));
        EXPECT_EQ(Option("2014"), c.read == nullptr ? "99" : c.read);
        if (c.read != nullptr) {
            EXPECT_OK(Set("2014", Option("2014").c_str())) << "what was read can be written again";
        }
    }
    ASSERT_OK(Set("2011", "0"));
    EXPECT_EQ(Option("AdaptiveMode"), "no");
    ASSERT_OK(Set("AdaptiveMode", "yes"));
    EXPECT_EQ(Option("2011"), "1");
    EXPECT_OK(Set("70000", "5"));
    EXPECT_OK(Set("2011abc", "0"));
    EXPECT_EQ(Option("AdaptiveMode"), "no");
}

TEST_F(SpectrophotometerFailures, AnyTextIsTakenOrRefused)
{
    Plug();
    std::vector<std::string> texts = {std::string(1 << 20, 'x'), std::string(1 << 20, '7'), std::string(1 << 20, ' '),
                                      " 2009"};
    std::istringstream more("\xFF\xFE\x80 \xC3\xA4\xE2\x82\xAC %s%n%d -1 +2009 2009.5 99999999999999999999 nan inf. "
                            "1e400.0 0x10 All Orvex yes");
    for (std::string text; more >> text;)
        texts.push_back(text);
    for (const std::string& text : texts) {
        SCOPED_TRACE(text.substr(0, 30));
        RegisterHandlers();
        EXPECT_OK(Set(text.c_str(), "5"));
        EXPECT_NE(OX_GetOption(text.c_str()), nullptr);
        EXPECT_NE(OX_GetDeviceInfo(text.c_str()), nullptr);
        std::istringstream keys("MeasurementMode Colorimetric.Illumination Colorimetric.Observer DeviceType Reset "
                                "Recognition Beep AdaptiveMode 2009 2010 7014 SerialNumber");
        for (std::string key; keys >> key;)
            EXPECT_THAT(Set(key.c_str(), text.c_str()), isDocumented) << key;
        TakeReports();
        ASSERT_OK(Set("Reset", "All"));
    }
    RegisterHandlers();
    EXPECT_OK(OX_IsConnected());
}

TEST_F(SpectrophotometerFailures, AnyPropertyMayHoldAnythingAndDoesNoHarm)
{
    const char* const values[] = {"1", "-1", "2147483647", "0.0", "-1.5", "1e38.", "1 2 3", "1.5 2.5"};
    const std::pair<int, int> ranges[] = {{1000, 1012}, {1100, 1103}, {1200, 1216},   {2000, 2021},  {3000, 3013},
                                          {7014, 7014}, {9189, 9189}, {10000, 10024}, {20000, 20003}};
    for (const auto& [first, last] : ranges)
        for (int id = first; id <= last; ++id)
            for (std::size_t i = static_cast<std::size_t>(id) % 2; i < std::size(values); i += 2) {
                SCOPED_TRACE(testing::Message() << id << " = " << values[i]);
                oxv_reset();
                Plug();
                const std::string key = std::to_string(id);
                CalibrateIn("SingleReflectance");
                EXPECT_OK(Set(key.c_str(), values[i]));
                Show("sample");
                EXPECT_THAT(OX_TriggerMeasurement(), isDocumented);
                EXPECT_THAT(Set("MeasurementMode", "ScanningReflectance"), isDocumented);
                EXPECT_THAT(Set(key.c_str(), values[i]), isDocumented);
                Show("tile");
                EXPECT_THAT(OX_Calibrate(), isDocumented);
                EXPECT_NE(OX_GetOption(key.c_str()), nullptr);
                TakeReports();
                ASSERT_OK(Set("Reset", "All"));
            }
}
