// The sessions of tests/data/spectrophotometer_sessions.txt.

#include "tests/support/Places.h"
#include "tests/support/Sessions.h"
#include "tests/system/SystemBench.h"

#include <algorithm>

namespace {

/// " 0.30" for values that are equal in two digits, otherwise the smallest and the largest.
std::string Digits(const std::vector<float>& values)
{
    const auto digits = [](float value) {
        std::array<char, 40> text{};
        std::snprintf(text.data(), text.size(), " %.2f", value);
        return std::string(text.data());
    };
    const std::string least = digits(*std::ranges::min_element(values)),
                      most = digits(*std::ranges::max_element(values));
    return least == most ? least : least + most;
}

class SpectrophotometerScripts : public SystemBench, public testing::WithParamInterface<Session> {
protected:
    void SetUp() override
    {
        Plug();
        attached = {device};
    }

    /// What became of an exported call: its code, and what it told the error handler or gave. Whatever it told is found
    /// again where an application looks for it.
    static std::string Ended(const std::string& function, OX_Result code, const std::string& given = "")
    {
        const std::string number = std::to_string(code);
        const auto reports = TakeReports();
        if (reports.empty())
            return number + given;
        const std::string text = reports[0].text;
        EXPECT_THAT(reports, testing::ElementsAre(Report{"OX_" + function, code, text}));
        for (int i = 0; i < 2; ++i)
            EXPECT_EQ(Option("LastError"), text) << "it can be asked for twice";
        if (code != OX_InternalError) {
            EXPECT_THAT(Option("ExtendedErrorInformation"), testing::HasSubstr("::OX_" + function + "(): "));
        }
        std::istringstream places(Option("ExtendedErrorInformation"));
        for (std::string place; std::getline(places, place);)
            EXPECT_TRUE(IsPlace(place)) << place;
        return number + " " + text;
    }

    /// A call that fills an array, or refuses to.
    template<typename Get>
    static std::string Values(const char* function, std::size_t count, const std::string& index, Get get)
    {
        std::vector<float> values(count, 7);
        const bool isNull = index == "null";
        const OX_Result code = get(isNull ? nullptr : values.data(), isNull ? 0 : std::stoi(index));
        const std::string outcome = Ended(function, code, code == OX_NoError ? Digits(values) : "");
        return code == OX_NoError || values == std::vector<float>(count, 7) ? outcome
            : values == std::vector<float>(count, -1000)                    ? outcome + ", marked"
                                                                            : outcome + ", spoilt";
    }

    static std::string Densities(const std::string& index)
    {
        std::int32_t filter = -1;
        const std::string outcome = Values("GetDensities", 4, index, [&](float* values, std::int32_t sample) {
            return OX_GetDensities(values, &filter, sample);
        });
        return filter < 0 ? outcome : outcome + " by " + std::to_string(filter);
    }

    /// @param levels  of all bands, or of those below 580 nm and from there on
    std::string LaySample(const std::string& levels) const
    {
        const std::vector<double> numbers = Numbers(levels);
        Spectrum sample = Flat(static_cast<float>(numbers.front()));
        std::fill(sample.begin() + 20, sample.end(), static_cast<float>(numbers.back()));
        return ShowSample(sample), "0";
    }

    static std::string Taken(int status) { return status == OXV_OK ? "0" : oxv_last_error(); }

    std::string CurveOf(std::string arguments) const
    {
        const std::string level = CutRest(arguments);
        const Spectrum values = Flat(std::stof(level));
        return Taken(oxv_set_curve(device, arguments.c_str(), values.data(), values.size(), 380, 10));
    }

    static std::string Asked(const char* function, const char* answer)
    {
        const std::string text = answer;
        const std::int32_t code = LastCode();
        return code == OX_NoError ? (text.empty() ? "nothing" : text)
                                  : Ended(function, code) + (text.empty() ? "" : " but a text");
    }

    static std::string SetTo(std::string arguments)
    {
        const std::string value = CutRest(arguments);
        return Ended("SetOption",
                     OX_SetOption(arguments == "null"        ? nullptr
                                      : arguments == "empty" ? ""
                                                             : arguments.c_str(),
                                  value == "null" ? nullptr : value.c_str()));
    }

    std::string BreakAt(std::string point) const
    {
        std::istringstream words(CutRest(point));
        std::uint32_t nth = 0, times = 0;
        std::string how;
        words >> nth >> times >> how;
        return Taken(oxv_fault(device, point.c_str(), nth, times, how.c_str()));
    }

    std::string LayStrip() const
    {
        for (const float level : {0.2F, 0.6F, 0.1F, 0.4F}) {
            const Spectrum patch = Flat(level);
            EXPECT_EQ(oxv_strip_add(device, patch.data(), patch.size(), 380, 10, 0.3, 0.02), OXV_OK);
        }
        return Taken(oxv_set_text(device, "position", "strip"));
    }

    std::string Flash() const
    {
        const Spectrum light = Flat(25);
        return Taken(oxv_flash(device, 0.3, 0.05, light.data(), light.size(), 380, 10));
    }

    static std::string Told(std::size_t count)
    {
        AwaitMessages(count);
        std::vector<std::string> told;
        for (const Message& message : TakeMessages())
            told.push_back(std::to_string(message.message) + " " + message.text);
        std::ranges::sort(told);
        return Joined(told);
    }

    static std::string Joined(const std::vector<std::string>& parts)
    {
        std::string all;
        for (const std::string& part : parts)
            all += (all.empty() ? "" : ", ") + part;
        return all;
    }

    std::string Attach()
    {
        attached.push_back(device = oxv_attach("spectrophotometer", "usb"));
        return device > 0 ? "0" : oxv_last_error();
    }

    std::vector<oxv_device> attached;

    const StepTable steps = {
        // the application
        {"connected", [](auto&) { return Ended("IsConnected", OX_IsConnected()); }},
        {"calibrate", [](auto&) { return Ended("Calibrate", OX_Calibrate()); }},
        {"measure", [](auto&) { return Ended("TriggerMeasurement", OX_TriggerMeasurement()); }},
        {"scan", [](auto& count) { return Ended("TriggerCountedScan", OX_TriggerCountedScan(std::stoi(count))); }},
        {"key", [](auto&) { return Ended("KeyPressed", OX_KeyPressed()); }},
        {"samples",
         [](auto&) {
             const auto count = OX_GetNumberOfAvailableSamples();
             return count < 0 ? Ended("GetNumberOfAvailableSamples", LastCode()) : std::to_string(count);
         }},
        {"spectrum", [](auto& index) { return Values("GetSpectrum", 36, index, OX_GetSpectrum); }},
        {"color", [](auto& index) { return Values("GetTriStimulus", 3, index, OX_GetTriStimulus); }},
        {"density", [](auto& index) { return Values("GetDensity", 1, index, OX_GetDensity); }},
        {"densities", Densities},
        {"paper",
         [](auto& level) {
             const Spectrum paper = level == "null" ? Spectrum{} : Flat(std::stof(level));
             return Ended("SetSubstrate", OX_SetSubstrate(level == "null" ? nullptr : paper.data()));
         }},
        {"set", SetTo},
        {"mode", [](auto& mode) { return SetTo("MeasurementMode " + mode); }},
        {"get", [](auto& key) { return Asked("GetOption", OX_GetOption(key == "null" ? nullptr : key.c_str())); }},
        {"info", [](auto& key) { return Asked("GetDeviceInfo", OX_GetDeviceInfo(key.c_str())); }},
        {"ready", [this](auto& mode) { return CalibrateIn(mode), "0"; }},
        {"restart", [this](auto&) { return Restart(), "0"; }},
        {"handlers", [](auto&) { return RegisterHandlers(), "0"; }},
        {"messages", [](auto& count) { return Told(std::stoul(count)); }},
        // the bench
        {"show", [this](auto& position) { return Taken(oxv_set_text(device, "position", position.c_str())); }},
        {"sample", [this](auto& levels) { return LaySample(levels); }},
        {"curve", [this](auto& curve) { return CurveOf(curve); }},
        {"number",
         [this](std::string name) {
             const std::string value = CutRest(name);
             return Taken(oxv_set_number(device, name.c_str(), std::stod(value)));
         }},
        {"strip", [this](auto&) { return LayStrip(); }},
        {"flash", [this](auto&) { return Flash(); }},
        {"advance", [](auto& seconds) { return Taken(oxv_clock_advance(std::stoll(seconds) * 1'000'000)); }},
        {"break", [this](auto& fault) { return BreakAt(fault); }},
        {"repair", [this](auto&) { return Taken(oxv_faults_clear(device)); }},
        {"press", [this](auto&) { return Taken(oxv_press(device)); }},
        {"pull", [this](auto&) { return Taken(oxv_unplug(device) == OXV_OK ? oxv_settle(10000) : OXV_OK); }},
        {"plug", [this](auto&) { return Taken(oxv_plug(device)); }},
        {"remove", [this](auto&) { return Taken(oxv_remove(device)); }},
        {"attach", [this](auto&) { return Attach(); }},
        {"bench", [this](auto& number) { return device = attached.at(std::stoul(number) - 1), "0"; }},
        {"lines",
         [this](auto& beginning) {
             return std::to_string(
                 std::ranges::count_if(Trace(device), [&](const auto& line) { return line.starts_with(beginning); }));
         }},
    };
};

}

TEST_P(SpectrophotometerScripts, GoAsTheyAreTold)
{
    for (const Row& row : GetParam().rows) {
        SCOPED_TRACE(row[0]);
        oxv_trace_clear(device);
        ExpectText(DoSteps(steps, row[0], "0"), row.size() < 2 || row[1].empty() ? "0" : row[1]);
        if (row.size() > 2)
            ExpectText(Joined(MeasuringSteps()), row[2]);
    }
}

INSTANTIATE_TEST_SUITE_P(, SpectrophotometerScripts,
                         testing::ValuesIn(ReadSessions(ORVEX_TEST_DATA "/spectrophotometer_sessions.txt")),
                         TestNameOf);
