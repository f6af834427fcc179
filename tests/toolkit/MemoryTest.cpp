#include "tests/toolkit/OwnFolder.h"
#include "tests/toolkit/ScriptedSeam.h"

#include <clocale>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>

namespace {

constexpr double truth[9] = {0.41, 0.36, 0.18, 0.21, 0.72, 0.07, 0.02, 0.12, 0.95};

char version[9];

ZelYxyz FromXYZ(const double XYZ[3])
{
    const double sum = XYZ[0] + XYZ[1] + XYZ[2];
    return {XYZ[1], XYZ[0] / sum, XYZ[1] / sum, XYZ[2] / sum};
}

/// Channel vectors, and the colours that the true matrix makes of them.
struct Colours {
    std::vector<ZelVector> vectors;
    std::vector<ZelYxyz> reference;
};

Colours MakeColours(int count)
{
    std::mt19937 random(7);
    std::uniform_real_distribution<double> level(1.0, 100.0);
    Colours colours;
    for (int i = 0; i < count; ++i) {
        const ZelVector v = {level(random), level(random), level(random)};
        double XYZ[3];
        for (int row = 0; row < 3; ++row)
            XYZ[row] = truth[3 * row] * v.red + truth[3 * row + 1] * v.green + truth[3 * row + 2] * v.blue;
        colours.vectors.push_back(v);
        colours.reference.push_back(FromXYZ(XYZ));
    }
    return colours;
}

float FloatAt(const ScriptedInstrument& instrument, unsigned address)
{
    float value = 0;
    ZKConvertToFloat(instrument.cells.data() + address, &value);
    return value;
}

std::uint32_t LongAt(const ScriptedInstrument& instrument, unsigned address)
{
    std::uint32_t value = 0;
    ZKConvertToLong(instrument.cells.data() + address, &value);
    return value;
}

}

class MemoryTest : public ToolkitTest {
protected:
    /// Closes and opens the same instrument again.
    void Reopen()
    {
        AltrixClose_M(&device);
        ASSERT_EQ(ZEL_OK, zelOpenCalibrator_M(&device, 0, version));
    }

    OwnFolder folder; ///< for report files
};

TEST_F(MemoryTest, WorkingConstantsFollowTheType)
{
    Open(4, true);
    EXPECT_EQ(416667U, device.header.calCount[0]);
    EXPECT_DOUBLE_EQ(1.666668, device.header.calTime[2]);
    EXPECT_NEAR(3000000.007574, device.header.targetCount, 1e-5);
    EXPECT_EQ(0, device.header.activeCalibration);
    EXPECT_EQ(4.0e-3F, device.header.calMatrix[0]);
    EXPECT_FLOAT_EQ(0.251F, static_cast<float>(device.header.darkCurrent[0]));
    EXPECT_EQ(100, device.header.numPeriods);

    Open(19, true);
    EXPECT_EQ(1666667U, device.header.calCount[1]);
    EXPECT_NEAR(12000000.0303, device.header.targetCount, 1e-3);

    Open(14, true);
    EXPECT_EQ(31250U, device.header.calCount[0]);
    EXPECT_DOUBLE_EQ(1.0, device.header.calTime[0]);
    EXPECT_EQ(0.01F, device.header.redFactor);
    EXPECT_EQ(30, device.header.frequencySamples);
    EXPECT_EQ(0, device.header.numPeriods);

    Open(7, true);
    EXPECT_EQ(4.0e-3F, device.header.greenFactor);
    EXPECT_EQ(1.2e-3F, device.header.redFactor);
    EXPECT_EQ(5e-6, device.header.tickLength);

    Open(11, true);
    EXPECT_EQ(50, device.header.numDarkMeas);
    Open(22, true);
    EXPECT_EQ(2, device.header.syncMode);
    EXPECT_EQ(1, device.header.activeCalibration);
    Open(20, true);
    EXPECT_NEAR((4.0e-3 + 4.2e-3) * 0.5 * 0.5, device.header.ambientMatrix[0], 1e-9);
    EXPECT_NEAR((5.9e-3 + 6.195e-3) * 0.5 * 0.7, device.header.ambientMatrix[8], 1e-9);
}

TEST_F(MemoryTest, TheFormatSaysWhatIsValid)
{
    const struct {
        std::uint16_t format;
        bool clock;
        bool dark;
    } cases[] = {{5, false, false}, {7, false, false}, {8, true, false}, {12, true, false}, {13, true, true}};
    for (const auto& c : cases) {
        instrument = SoundInstrument(4);
        instrument.PutWord(126, c.format);
        instrument.PutFloat(94, 5e-7F);
        attached = &instrument;
        for (const int port : {0, 1}) {
            device = {};
            ASSERT_EQ(ZEL_OK, zelOpenCalibrator_M(&device, port, version));
            EXPECT_EQ(c.clock ? double{5e-7F} : port == 0 ? 3.3333333e-7 : 2.5e-7, device.header.clockPeriod);
            EXPECT_EQ(c.dark, device.header.darkCurrent[0] != 0.0);
            AltrixClose_M(&device);
        }
    }
}

TEST_F(MemoryTest, AClockThatIsTalkedAwayBreaksNothing)
{
    Open(9, true);
    instrument.PutLong(90, 0xFFFFFFFF);
    Reopen();
    const CalibrationRecord record = {{1, 0, 0, 0, 1, 0, 0, 0, 1}, 5};
    ASSERT_EQ(ZEL_OK, zelStoreUserCalibrationDataToPodEx_M(&device, &record));
    EXPECT_EQ(7, device.eeprom.formatWord) << "was 13";
    Reopen();
    EXPECT_EQ(0.0, device.header.clockPeriod);
    EXPECT_TRUE(std::isinf(device.header.targetCount));
    ZelYxyz out;
    zelMeasureLCDYxySim_M(&device, 1, &out);
    EXPECT_NE(std::string::npos, instrument.TakeFrames().find("0D FF FF FF"));
    EXPECT_EQ(ZEL_OK, zelMeasureYxyProgressive_M(&device, 1, &out)) << "ends";
}

TEST_F(MemoryTest, TheFirstUserCalibrationSavesTheFactorys)
{
    Open(4, true);
    instrument.PutWord(126, 5);
    instrument.PutLong(90, 0xFFFFFFFF);
    Reopen();
    const Colours colours = MakeColours(4);
    ASSERT_EQ(ZEL_OK, zelStoreUserCalibrationEx_M(&device, colours.reference.data(), colours.vectors.data()));
    EXPECT_EQ(7, instrument.cells[127]);
    EXPECT_EQ(4.0e-3F, FloatAt(instrument, 54)) << "slot 1 of the factory";
    EXPECT_EQ(1'000'000'000U, LongAt(instrument, 90));
    for (int i = 0; i < 9; ++i)
        EXPECT_NEAR(truth[i], device.header.calMatrix[i], 1e-6);
    EXPECT_NEAR(static_cast<double>(seamClock) * 1e-6, LongAt(instrument, 50), 2.0);

    ASSERT_EQ(ZEL_OK, zelStoreUserCalibrationEx_M(&device, colours.reference.data(), colours.vectors.data()));
    EXPECT_EQ(4.0e-3F, FloatAt(instrument, 54)) << "once";
    Reopen();
    EXPECT_FLOAT_EQ(0.41F, static_cast<float>(device.header.calMatrix[0])) << "in force after the next start";

    ASSERT_EQ(ZEL_OK, zelSelectCalibration_M(&device, 0));
    EXPECT_EQ(4.0e-3F, device.header.calMatrix[0]);
    ASSERT_EQ(ZEL_OK, zelRestoreFactoryCalibration_M(&device));
    EXPECT_EQ(4.0e-3F, FloatAt(instrument, 4));
    EXPECT_EQ(0, device.header.activeCalibration);
}

TEST_F(MemoryTest, ACorrectionMultipliesTheMatrixInForce)
{
    Open(9, true);
    const Colours colours = MakeColours(4);
    std::vector<ZelYxyz> measured;
    for (const ZelYxyz& c : colours.reference)
        measured.push_back({c.Y / 2, c.x, c.y, c.z});
    ASSERT_EQ(ZEL_OK, zelStoreUserCalibration_M(&device, colours.reference.data(), measured.data()));
    EXPECT_NEAR(8.0e-3, device.header.calMatrix[0], 1e-8);
    EXPECT_NEAR(11.8e-3, device.header.calMatrix[8], 1e-8);
}

TEST_F(MemoryTest, SlotsAreRefusedInTheirOrder)
{
    const Colours colours = MakeColours(33);
    const ZelYxyz* reference = colours.reference.data();
    const ZelVector* vectors = colours.vectors.data();
    std::vector<ZelYxyz> zeroX = colours.reference;
    zeroX[2].x = 0.0;
    std::vector<ZelVector> zeroBlue = colours.vectors;
    zeroBlue[3].blue = 0.0;

    EXPECT_EQ(ZEL_NOT_OPEN, zelStoreUserCalibrationNColors_M(&device, reference, vectors, 33));
    Open(7, true);
    EXPECT_EQ(ZEL_OUT_OF_RANGE, zelStoreUserCalibrationNColors_M(&device, reference, vectors, 33));
    EXPECT_EQ(ZEL_NOT_AVAILABLE, zelStoreUserCalibrationNColors_M(&device, reference, vectors, 32));

    Open(4, true);
    EXPECT_EQ(ZEL_ZERO_COMPONENT, zelStoreUserCalibrationNColors_M(&device, zeroX.data(), vectors, 5));
    EXPECT_EQ(ZEL_ZERO_COMPONENT, zelStoreUserCalibrationNColors_M(&device, reference, zeroBlue.data(), 5));
    EXPECT_EQ(ZEL_OUT_OF_RANGE, zelStoreCalibrationData_M(&device, reference, vectors, 3, 1));
    EXPECT_EQ(ZEL_ZERO_COMPONENT, zelStoreCalibrationData_M(&device, zeroX.data(), vectors, 4, 1));
    EXPECT_EQ("", instrument.TakeFrames()) << "nothing written";
    EXPECT_TRUE(std::filesystem::is_empty(folder.Path())) << "no report";
    EXPECT_EQ(ZEL_OK, zelStoreCalibrationData_M(&device, reference, zeroBlue.data(), 6, 1));

    for (const int format : {3, 6}) {
        device.eeprom.formatWord = static_cast<std::uint16_t>(format);
        device.eeprom.modelLetter = 0xFF;
        EXPECT_EQ(ZEL_NO_SECOND_SLOT, zelSelectCalibration_M(&device, 1));
        EXPECT_EQ(ZEL_NO_SECOND_SLOT, zelStoreUserCalibrationNColors_M(&device, zeroX.data(), vectors, 5));
        EXPECT_EQ(ZEL_NO_MODEL_LETTER, zelStoreCalibrationData_M(&device, reference, vectors, 3, 0));
        EXPECT_EQ(ZEL_NO_SECOND_SLOT, zelStoreCalibrationData_M(&device, reference, vectors, 3, 1));
    }
    device.eeprom.formatWord = 5;
    EXPECT_EQ(ZEL_SLOT_BLANK, zelSelectCalibration_M(&device, 1));
    EXPECT_EQ(ZEL_SLOT_BLANK, zelRestoreFactoryCalibration_M(&device));
    device.eeprom.formatWord = 13;
    device.eeprom.date2 = 0xFFFFFFFF;
    EXPECT_EQ(ZEL_SLOT_BLANK, zelSelectCalibration_M(&device, 0));
}

TEST_F(MemoryTest, TheSlotForOtherScreensIsStoredAndChosenByItself)
{
    Open(4, true);
    ASSERT_EQ(ZEL_OK, zelSelectCalibration_M(&device, 100));
    ZelYxyz out;
    EXPECT_EQ(ZEL_NO_COLOUR, zelMeasureYxy_M(&device, 1, &out)) << "nothing stored there yet";
    ASSERT_EQ(ZEL_OK, zelSelectCalibration_M(&device, 1));
    const CalibrationRecord record = {{1, 2, 3, 4, 5, 6, 7, 8, 10}, 1234};
    ASSERT_EQ(ZEL_OK, zelStoreCRTCalibrationDataToPod_M(&device, &record));
    EXPECT_EQ(1, device.header.activeCalibration);
    EXPECT_EQ(4.0e-3F, device.header.calMatrix[0]);
    ASSERT_EQ(ZEL_OK, zelSelectCalibration_M(&device, 2));
    EXPECT_EQ(1, device.header.activeCalibration);
    ASSERT_EQ(ZEL_OK, zelSelectCalibration_M(&device, 100));
    EXPECT_EQ(10.0, device.header.calMatrix[8]);
    CalibrationRecord read{};
    ASSERT_EQ(ZEL_OK, zelRetrieveCRTCalibrationDataFromPod_M(&device, &read));
    EXPECT_EQ(0, std::memcmp(&record, &read, offsetof(CalibrationRecord, date) + 4));

    ASSERT_EQ(ZEL_OK, AltrixResetCalData_2_M(&device));
    EXPECT_EQ(ZEL_SLOT_BLANK, AltrixInitCalData_2_M(&device));
    EXPECT_EQ(ZEL_SLOT_BLANK, zelSelectCalibration_M(&device, 1));
}

TEST_F(MemoryTest, ReportsTellWhatWasFitted)
{
    Open(4, true);
    const Colours colours = MakeColours(4);
    for (const char* locale : {"C", "de_DE.UTF-8"}) {
        std::setlocale(LC_ALL, locale);
        ASSERT_EQ(ZEL_OK, zelStoreCalibrationData_M(&device, colours.reference.data(), colours.vectors.data(), 4, 1));
        std::setlocale(LC_ALL, "C");
        std::ifstream report("caldataN.txt");
        std::string word;
        std::vector<std::string> words;
        while (report >> word)
            words.push_back(word);
        ASSERT_EQ(5U + 12 + 12 + 9 + 12 + 12, words.size());
        EXPECT_EQ("XYZ", words[0]);
        EXPECT_EQ("RGB", words[13]);
        EXPECT_EQ("Matrix:", words[26]);
        EXPECT_EQ("XYZ", words[36]);
        EXPECT_EQ("RGB", words[49]);
        EXPECT_NEAR(0.41, std::stod(words[27]), 1e-6);
        EXPECT_EQ("4.100000e-01", words[27]);
        EXPECT_NEAR(colours.vectors[1].red, std::stod(words[15]), 1e-4) << "row by row";
        EXPECT_NEAR(colours.vectors[0].green, std::stod(words[51]), 1e-4) << "colour by colour";
    }
    const Colours eight = MakeColours(8);
    ASSERT_EQ(ZEL_OK, zelStoreUserCalibrationRGB_M(&device, eight.reference.data(), eight.vectors.data()));
    ASSERT_EQ(ZEL_OK, zelStoreUserCalibrationNColors_M(&device, eight.reference.data(), eight.vectors.data(), 8));
    EXPECT_TRUE(std::filesystem::exists("rgbmat.txt"));
    EXPECT_TRUE(std::filesystem::exists("rgbmatN.txt"));

    std::filesystem::remove("rgbmat.txt");
    std::filesystem::create_directory("rgbmat.txt"); // cannot be written
    EXPECT_EQ(ZEL_OK, zelStoreUserCalibrationRGB_M(&device, eight.reference.data(), eight.vectors.data()));
}

TEST_F(MemoryTest, TooFewColoursFitNothing)
{
    Open(4, true);
    const ZelYxyz white = {100, 0.25, 0.5, 0.25};
    const ZelVector ones = {1, 1, 1};
    EXPECT_EQ(ZEL_OK, zelStoreUserCalibrationNColors_M(&device, &white, &ones, 1));
    EXPECT_FALSE(std::isfinite(device.header.calMatrix[0]));
}

TEST_F(MemoryTest, TheMemoryCanBeReadInReadableForm)
{
    Open(4, true);
    ParsedEEPROMEx read{};
    ParsedEEPROMEx parsed{};
    std::uint8_t bytes[256];
    ASSERT_EQ(ZEL_OK, AltrixReadEntireEEPROM_M(&device, bytes));
    std::copy_n(instrument.cells.begin() + 128, 128, bytes + 128);
    ASSERT_EQ(ZEL_OK, AltrixReadExtendedEEPROMStruct_M(&device, &read));
    ASSERT_EQ(ZEL_OK, AltrixParseExtendedEEPROMStruct_M(&device, &parsed, bytes));
    for (const ParsedEEPROMEx& p : {read, parsed}) {
        EXPECT_EQ(20004U, p.base.serialNumber);
        EXPECT_DOUBLE_EQ(4e-6, p.base.tick);
        EXPECT_DOUBLE_EQ(60.0, p.base.refreshRate);
        EXPECT_STREQ("Sun Sep  9 01:46:40 2001", p.base.date1Text);
        EXPECT_EQ(0.251F, p.base.dark[0]);
        EXPECT_EQ(0U, p.base.darkInteger[0]);
        EXPECT_EQ(13, p.base.formatWord);
        EXPECT_EQ(2.5, p.page2[1]);
    }
    char date[64];
    ASSERT_EQ(ZEL_OK, zelGetCalibrationDate_M(&device, date));
    EXPECT_STREQ("Sun Sep  9 01:46:40 2001\n", date);

    Open(11, true);
    ASSERT_EQ(ZEL_OK, TenrixSetDarkCurrent_M(&device, 1, 2, 3));
    for (unsigned i = 0; i < 3; ++i)
        instrument.PutLong(103 + 4 * i, 800 + i);
    read = {};
    ASSERT_EQ(ZEL_OK, AltrixReadEEPROMStruct_M(&device, &read.base));
    EXPECT_EQ(801U, read.base.darkInteger[1]);
    EXPECT_EQ(0.0, read.base.dark[1]);
    double dark[3];
    ASSERT_EQ(ZEL_OK, zelGetDarkCurrentEx_M(&device, dark));
    EXPECT_EQ(802.0, dark[2]);

    Open(10, true);
    dark[0] = -7.0;
    ASSERT_EQ(ZEL_OK, zelGetDarkCurrentEx_M(&device, dark));
    EXPECT_EQ(-7.0, dark[0]) << "not told by this type";
}

TEST_F(MemoryTest, WritingSendsOnlyWhatDiffers)
{
    Open(4, true);
    ASSERT_EQ(ZEL_OK, AltrixWriteEEPROMByte_M(&device, 121, 'C'));
    EXPECT_EQ("08 79", instrument.TakeFrames());
    ASSERT_EQ(ZEL_OK, AltrixSetPodID_M(&device, 'D'));
    EXPECT_EQ("08 79, 07 79 44", instrument.TakeFrames());
    std::uint8_t cells[20] = {};
    Open(11, true);
    EXPECT_EQ(ZEL_OK, AltrixReadEEPROM_M(&device, 126, 129, cells));
    EXPECT_EQ("14 00 7E, 14 00 7F, 14 00 80", instrument.TakeFrames()) << "up to the end";
    EXPECT_EQ(ZEL_OK, TenrixReadEEPROM_M(&device, 126, 2, cells));
    EXPECT_EQ("14 00 7E, 14 00 7F", instrument.TakeFrames()) << "so many";
    EXPECT_EQ(ZEL_BAD_ARGUMENT, TenrixReadEEPROM_M(&device, 0, 8193, cells));
    EXPECT_EQ(ZEL_OK, TenrixReadEEPROM_M(&device, 0, 0, cells));
}
