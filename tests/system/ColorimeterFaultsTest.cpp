// One exchange of a session goes wrong, each in turn and in every way: a documented code, a record that is closed where
// it must be, no port left open, and the next session is good.

#include "orvex/zelcal.h"
#include "virtual/orvex-virtual.h"

#include <algorithm>
#include <array>
#include <gmock/gmock.h>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

namespace {

using testing::AnyOfArray;

const std::vector<std::int32_t> documentedCodes = {0,    -1,   -67,  -69,  -111, -112, -200, -500, -501,  -502,  -503,
                                                   -504, -506, -507, -509, -510, -513, -517, -600, -1000, -1001, -1002};

const std::vector<const char*> serialFaults = {
    "fail",      "timeout",     "short",      "one-short",          "empty", "garbage", "wrong-echo",
    "echo-only", "length-zero", "length-ten", "close-after-length", "unplug"};
const std::vector<const char*> usbFaults = {"fail",      "stall", "denied",  "busy",       "timeout",   "short",
                                            "one-short", "empty", "garbage", "wrong-echo", "echo-only", "unplug"};

struct Session {
    int type;
    bool usb;
    oxv_device instrument = 0;
    CalDataBlock device{};
    std::array<std::uint8_t, 128> memory{};

    Session(int calibratorType, bool onUsb) : type(calibratorType), usb(onUsb)
    {
        oxv_reset();
        instrument = oxv_attach(("colorimeter-" + std::to_string(type)).c_str(), usb ? "usb" : "serial:1");
        oxv_memory_read(instrument, 0, memory.data(), memory.size());
    }

    ~Session()
    {
        if (device.header.isOpen)
            zelCloseCalibrator_M(&device);
        oxv_reset();
    }

    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    std::int32_t Open()
    {
        std::array<char, 16> version{};
        return zelOpenCalibrator_M(&device, usb ? 0 : 1, version.data());
    }

    std::int32_t Measure()
    {
        ZelYxyz seen{};
        double luminance = 0;
        const bool luminanceOnly = type == 14 || type == 21;
        return luminanceOnly ? zelAutoMeasureLuminance_M(&device, 1, &luminance)
                             : zelAutoMeasureYxy_M(&device, 1, &seen);
    }

    std::int32_t SetDark() { return zelSetDarkCurrentEx_M(&device); }

    /// Puts twice the matrix into slot 1.
    std::int32_t Store()
    {
        CalibrationRecord record{};
        for (std::size_t i = 0; i < 9; ++i)
            record.matrix[i] = 2.0 * device.eeprom.eepromMatrix1[i];
        record.date = 0x12345678;
        return zelStoreUserCalibrationDataToPodEx_M(&device, &record);
    }

    /// How often the trace has a line; an opening that fails has none.
    std::ptrdiff_t Lines(const std::string& line) const
    {
        std::string text(static_cast<std::size_t>(oxv_trace(instrument, "", nullptr, 0)) + 1, '\0');
        oxv_trace(instrument, "", text.data(), text.size());
        std::istringstream lines(text);
        return std::count(std::istream_iterator<std::string>(lines), {}, line);
    }

    /// Everything is mended: the record, as the failure has left it, serves for a good session.
    void ExpectRecovery()
    {
        oxv_faults_clear(instrument);
        oxv_plug(instrument);
        oxv_memory_write(instrument, 0, memory.data(), memory.size());
        oxv_clock_advance(120'000'000); // whatever was late has come by now, and goes with the old port
        if (device.header.isOpen) {
            ASSERT_EQ(zelCloseCalibrator_M(&device), 0);
        }
        ASSERT_EQ(Open(), 0);
        ASSERT_EQ(zelGetCalibratorType_M(&device), type);
        ASSERT_EQ(Measure(), 0);
        ASSERT_EQ(zelCloseCalibrator_M(&device), 0);
        ASSERT_EQ(Lines("open"), Lines("close")) << "a port was left open";
    }
};

/// Whether the armed fault has been met by now, or the session ended before it.
bool Met(const Session& session, std::int64_t before, std::uint32_t nth)
{
    return oxv_count(session.instrument, "command") >= before + nth;
}

enum class Which { every, fewer };

/// Breaks the nth exchange of a step, for every n and every fault, until the step is over before the fault comes.
/// @param which  every exchange, or fewer and fewer of a long step
template<typename Prepare, typename Step, typename Check>
void BreakEach(int type, bool usb, Which which, Prepare prepare, Step step, Check check)
{
    for (const char* fault : usb ? usbFaults : serialFaults)
        for (std::uint32_t nth = 1;; nth += which == Which::every ? 1 : 1 + nth / 6) {
            SCOPED_TRACE(testing::Message()
                         << "type " << type << (usb ? ", usb, " : ", serial, ") << fault << " at " << nth);
            Session session(type, usb);
            ASSERT_EQ(prepare(session), 0);
            const auto before = oxv_count(session.instrument, "command");
            ASSERT_EQ(oxv_fault(session.instrument, "command", nth, 1, fault), 0) << oxv_last_error();
            const std::int32_t status = step(session);
            if (!Met(session, before, nth)) {
                ASSERT_EQ(status, 0);
                ASSERT_GT(nth, 1U);
                break;
            }
            ASSERT_THAT(status, AnyOfArray(documentedCodes));
            ASSERT_NO_FATAL_FAILURE(check(session, status));
            ASSERT_NO_FATAL_FAILURE(session.ExpectRecovery());
        }
}

const auto nothing = [](Session&) { return 0; };
const auto open = [](Session& session) { return session.Open(); };

/// A failure over USB closes the record; over a serial line the connection stands.
void ExpectConnection(const Session& session, std::int32_t status)
{
    if (status == -510 || !session.usb) {
        ASSERT_EQ(session.device.header.isOpen, session.usb ? 0 : 1);
    }
}

TEST(ColorimeterFaults, InOpening)
{
    for (const int type : {4, 11, 14, 20})
        for (const bool usb : {false, true})
            ASSERT_NO_FATAL_FAILURE(
                BreakEach(type, usb, Which::fewer, nothing, open, [](Session& session, std::int32_t status) {
                    ASSERT_EQ(session.device.header.isOpen, status == 0 ? 1 : 0);
                    if (status != 0) {
                        ASSERT_EQ(session.device.header.calibratorType, 0);
                        ASSERT_EQ(session.device.comm.portHandle, nullptr);
                    }
                }));
}

TEST(ColorimeterFaults, InMeasuring)
{
    const auto measure = [](Session& session) { return session.Measure(); };
    for (const int type : {2, 4, 9, 11, 14, 20, 21})
        for (const bool usb : {false, true})
            ASSERT_NO_FATAL_FAILURE(BreakEach(type, usb, Which::every, open, measure, ExpectConnection));
}

TEST(ColorimeterFaults, InTheDarkReference)
{
    const auto setDark = [](Session& session) {
        for (const char* name : {"X", "Y", "Z"})
            oxv_set_number(session.instrument, name, 0);
        return session.SetDark();
    };
    for (const int type : {4, 11, 14, 21})
        for (const bool usb : {false, true})
            ASSERT_NO_FATAL_FAILURE(
                BreakEach(type, usb, Which::fewer, open, setDark, [](Session& session, std::int32_t status) {
                    ExpectConnection(session, status);
                    for (const char* name : {"X", "Y", "Z"})
                        oxv_set_number(session.instrument, name, 50);
                }));
}

TEST(ColorimeterFaults, InAStoreTheCellsWrittenSoFarStay)
{
    const auto store = [](Session& session) { return session.Store(); };
    const auto check = [](Session& session, std::int32_t status) {
        ExpectConnection(session, status);
        std::array<std::uint8_t, 128> after{};
        oxv_memory_read(session.instrument, 0, after.data(), after.size());
        const auto changed = [&](std::size_t at) { return after[at] != session.memory[at]; };
        for (std::size_t at = 0; at < after.size(); ++at) {
            const bool inSlot = (at >= 4 && at < 40) || (at >= 50 && at < 54);
            if (!inSlot) {
                ASSERT_FALSE(changed(at)) << "cell " << at;
            }
        }
        if (status != 0 && !changed(4)) // twice a float differs in its first byte, and that goes first
            for (std::size_t at = 4; at < 54; ++at) {
                ASSERT_FALSE(changed(at)) << "cell " << at;
            }
    };
    for (const int type : {4, 20})
        for (const bool usb : {false, true})
            ASSERT_NO_FATAL_FAILURE(BreakEach(type, usb, Which::fewer, open, store, check));
}

TEST(ColorimeterFaults, APortOfTheApplicationIsWaitedOnForThreeSeconds)
{
    const struct {
        const char* how;
        std::int32_t status;
        double seconds;
    } cases[] = {{"timeout", -112, 3.0}, {"one-short", -112, 3.0}, {"unplug", -112, 3.0}};
    for (const auto& c : cases)
        for (const bool opened : {false, true}) {
            SCOPED_TRACE(testing::Message() << c.how << (opened ? " in a measurement" : " in opening"));
            oxv_reset();
            const oxv_device instrument = oxv_attach("colorimeter-4", "serial:2");
            const auto port = reinterpret_cast<ZelHandle>(static_cast<std::intptr_t>(oxv_port_descriptor(instrument)));
            CalDataBlock device{};
            std::array<char, 16> version{};
            if (opened) {
                ASSERT_EQ(zelOpenExistingSerialAltrix_M(&device, port, version.data()), 0);
            }
            ASSERT_EQ(oxv_fault(instrument, "command", 1, 1, c.how), 0) << oxv_last_error();
            const std::int64_t start = oxv_clock_now();
            std::uint32_t ticks = 0;
            EXPECT_EQ(opened ? AltrixGetIntegrationTime_M(&device, &ticks)
                             : zelOpenExistingSerialAltrix_M(&device, port, version.data()),
                      c.status);
            EXPECT_NEAR(static_cast<double>(oxv_clock_now() - start) * 1e-6, c.seconds, 0.1);
            oxv_reset();
        }
}

}
