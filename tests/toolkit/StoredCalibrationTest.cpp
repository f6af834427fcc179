#include "tests/support/OwnFolder.h"
#include "tests/toolkit/ScriptedInstrument.h"

#include <algorithm>
#include <clocale>
#include <cmath>
#include <cstring>
#include <fstream>
#include <functional>
#include <random>

using ToolkitSeam::state;

namespace {

constexpr double truth[9] = {0.41, 0.36, 0.18, 0.21, 0.72, 0.07, 0.02, 0.12, 0.95};

const CalibrationRecord record = {{0.41, 0.36, 0.18, 0.21, 0.72, 0.07, 0.02, 0.12, 0.95}, 1234};

/// Channel vectors, the colours that the true matrix makes of them, and those colours at half their luminance.
struct Colours {
    std::vector<ZelVector> vectors;
    std::vector<ZelYxyz> reference, dimmer;

    explicit Colours(int count)
    {
        std::mt19937 random(7);
        std::uniform_real_distribution<double> level(1.0, 100.0);
        for (int i = 0; i < count; ++i) {
            const ZelVector v = {level(random), level(random), level(random)};
            double X[3];
            for (int row = 0; row < 3; ++row)
                X[row] = truth[3 * row] * v.red + truth[3 * row + 1] * v.green + truth[3 * row + 2] * v.blue;
            const double sum = X[0] + X[1] + X[2];
            vectors.push_back(v);
            reference.push_back({X[1], X[0] / sum, X[1] / sum, 0.0});
            dimmer.push_back({X[1] / 2, X[0] / sum, X[1] / sum, 0.0});
        }
    }
};

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

/// Which matrix has these for its first and its last number.
std::string MatrixName(double first, double last)
{
    const struct {
        const char* name;
        double first, last;
    } known[] = {{"works", 4e-3, 5.9e-3},
                 {"second", 4.2e-3, 6.195e-3},
                 {"new", 0.41, 0.95},
                 {"double", 8e-3, 11.8e-3},
                 {"none", 0, 0}};
    for (const auto& k : known)
        if (std::fabs(first - k.first) <= 1e-6 * k.first && std::fabs(last - k.last) <= 1e-6 * k.last)
            return k.name;
    return "?";
}

/// The works' dates of the slots are 10^9 and 10^9 + 1.
std::string DateName(std::uint32_t date)
{
    if (date == 1234)
        return "";
    if (date == static_cast<std::uint32_t>(state.clock / 1'000'000))
        return " now";
    return date == 1'000'000'000 ? " works" : date == 1'000'000'001 ? " second" : " ?";
}

}

class StoredCalibrationTest : public ToolkitTest {
protected:
    /// What a slot call has left: both slots, the format, the slot that is active, the matrix in force, the reports.
    std::string Left()
    {
        std::string left;
        for (const unsigned slot : {4U, 54U})
            left += MatrixName(FloatAt(instrument, slot), FloatAt(instrument, slot + 32))
                + DateName(LongAt(instrument, slot == 4 ? 50 : 90)) + ", ";
        left += std::to_string(instrument.cells[127]) + ", " + std::to_string(device.header.activeCalibration) + ", "
            + MatrixName(device.header.calMatrix[0], device.header.calMatrix[8]);
        for (const auto& file : std::filesystem::directory_iterator(folder.Path())) {
            left += ", " + file.path().filename().string();
            std::filesystem::remove(file.path());
        }
        return left;
    }

    OwnFolder folder; ///< for report files
};

TEST_F(StoredCalibrationTest, StoringLeavesTheWorksCalibrationWhereItCanBeFound)
{
    const Colours c(8);
    const ZelYxyz* r = c.reference.data();
    const ZelVector* v = c.vectors.data();
    const auto data = [&](int slot) { return [=](auto* d) { return zelStoreCalibrationData_M(d, r, v, 4, slot); }; };
    const std::function<std::int32_t(CalDataBlock*)>
        byMeasuring = [&](auto*d) { return zelStoreUserCalibration_M(d, r, c.dimmer.data()); },
        fromFour = [&](auto*d) { return zelStoreUserCalibrationEx_M(d, r, v); },
        fromEight = [&](auto*d) { return zelStoreUserCalibrationRGB_M(d, r, v); },
        fromAny = [&](auto*d) { return zelStoreUserCalibrationNColors_M(d, r, v, 5); },
        record1 = [](auto*d) { return zelStoreUserCalibrationDataToPod_M(d, record); },
        record1Ex = [](auto*d) { return zelStoreUserCalibrationDataToPodEx_M(d, &record); },
        lcd = [](auto*d) { return zelStoreLCDCalibrationDataToPod_M(d, &record); },
        crt = [](auto*d) { return zelStoreCRTCalibrationDataToPod_M(d, &record); };
    const struct {
        const char* what;
        const char* cells;
        std::function<std::int32_t(CalDataBlock*)> store;
        const char* left; // slot 1, slot 2, format, active, in force, report
    } cases[] = {
        {"measured", "", byMeasuring, "double now, second second, 13, 1, double"},
        {"4", "", fromFour, "new now, second second, 13, 1, new"},
        {"8", "", fromEight, "new now, second second, 13, 1, new, rgbmat.txt"},
        {"n", "", fromAny, "new now, second second, 13, 1, new, rgbmatN.txt"},
        {"record", "", record1, "new, second second, 13, 1, new"},
        {"LCD", "", lcd, "new, second second, 13, 1, new"},
        {"CRT", "", crt, "works works, new, 13, 1, works"},
        {"slot 1", "", data(1), "new now, second second, 13, 1, new, caldataN.txt"},
        {"any slot", "", data(7), "new now, second second, 13, 1, new, caldataN.txt"},
        {"slot 0", "", data(0), "works works, new now, 13, 0, works, caldataN.txt"},
        {"old format: measured", " @126=0005", byMeasuring, "double now, works works, 7, 1, double"},
        {"old format: 4", " @126=0005", fromFour, "new now, works works, 7, 1, new"},
        {"old format: 8", " @126=0005", fromEight, "new now, works works, 7, 1, new, rgbmat.txt"},
        {"old format: record", " @126=0002", record1Ex, "new, works works, 7, 1, new"},
        {"old format: LCD", " @126=0005", lcd, "new, second second, 5, 1, new"},
        {"old format: CRT", " @126=0005", crt, "works works, new, 5, 1, works"},
        {"old format: slot 1", " @126=0005", data(1), "new now, second second, 5, 1, new, caldataN.txt"},
        {"blank slot 2: n", " @90=ffffffff", fromAny, "new now, works works, 7, 1, new, rgbmatN.txt"},
        {"no letter: slot 1", " @121=ff", data(1), "new now, second second, 13, 1, new, caldataN.txt"},
        {"no letter, old format", " @121=ff @126=0005", data(1), "new now, works works, 7, 1, new, caldataN.txt"},
    };
    for (const auto& k : cases) {
        SCOPED_TRACE(k.what);
        AttachBy("4" + std::string(k.cells));
        ASSERT_EQ(ZEL_OK, zelOpenCalibrator_M(&device, 0, version));
        EXPECT_EQ(ZEL_OK, k.store(&device));
        EXPECT_EQ(k.left, Left());
    }
}

TEST_F(StoredCalibrationTest, SlotsAreRefusedInTheirOrder)
{
    const Colours c(33);
    const ZelYxyz* r = c.reference.data();
    const ZelVector* v = c.vectors.data();
    EXPECT_EQ(ZEL_NOT_OPEN, zelStoreUserCalibrationNColors_M(&device, r, v, 33));
    Open(7);
    EXPECT_EQ(ZEL_OUT_OF_RANGE, zelStoreUserCalibrationNColors_M(&device, r, v, 33));
    EXPECT_EQ(ZEL_NOT_AVAILABLE, zelStoreUserCalibrationNColors_M(&device, r, v, 32));
    Open(4);
    for (const int n : {-1, 0, 33})
        EXPECT_EQ(ZEL_OUT_OF_RANGE, zelStoreUserCalibrationNColors_M(&device, r, v, n));
    for (const int n : {3, 33})
        EXPECT_EQ(ZEL_OUT_OF_RANGE, zelStoreCalibrationData_M(&device, r, v, n, 1));
    for (int zero = 0; zero < 9; ++zero) { // Y, x, y of the reference and of the measured colours; red, green, blue
        SCOPED_TRACE(zero);
        std::vector<ZelYxyz> reference = c.reference, measured = c.dimmer;
        std::vector<ZelVector> vectors = c.vectors;
        double* const last[] = {&reference[3].Y, &reference[3].x, &reference[3].y,   &measured[3].Y,  &measured[3].x,
                                &measured[3].y,  &vectors[3].red, &vectors[3].green, &vectors[3].blue};
        *last[zero] = 0.0;
        const auto expected = [&](int from, int to) { return zero >= from && zero < to ? ZEL_ZERO_COMPONENT : ZEL_OK; };
        for (const bool longer : {false, true}) { // the fifth colour does not count
            const int n = longer ? 4 : 3;
            if (zero < 6 && longer) {
                EXPECT_EQ(expected(0, 6), zelStoreUserCalibration_M(&device, reference.data(), measured.data()));
            }
            if (zero < 3 || zero >= 6) {
                EXPECT_EQ(longer ? ZEL_ZERO_COMPONENT : ZEL_OK,
                          zelStoreUserCalibrationNColors_M(&device, reference.data(), vectors.data(), n));
            }
        }
        if (expected(0, 3) != ZEL_OK) {
            instrument.TakeFrames();
            Left();
            EXPECT_EQ(ZEL_ZERO_COMPONENT, zelStoreCalibrationData_M(&device, reference.data(), v, 4, 1));
            EXPECT_EQ(instrument.TakeFrames(), "") << "nothing written";
            EXPECT_TRUE(std::filesystem::is_empty(folder.Path())) << "no report";
        } else {
            EXPECT_EQ(ZEL_OK, zelStoreCalibrationData_M(&device, r, vectors.data(), 4, 1)) << "vectors are not tested";
        }
    }
    for (const std::uint16_t format : {std::uint16_t{3}, std::uint16_t{6}}) {
        device.eeprom.formatWord = format;
        device.eeprom.modelLetter = 0xFF;
        EXPECT_EQ(ZEL_NO_MODEL_LETTER, zelStoreCalibrationData_M(&device, r, v, 3, 0));
        EXPECT_EQ(ZEL_NO_SECOND_SLOT, zelStoreCalibrationData_M(&device, r, v, 3, 1));
    }
}

TEST_F(StoredCalibrationTest, SlotsAreStoredChosenAndCopiedOneByOne)
{
    Open(4);
    ASSERT_EQ(ZEL_OK, zelStoreCRTCalibrationDataToPod_M(&device, &record));
    ASSERT_EQ(ZEL_OK, zelSelectCalibration_M(&device, 100));
    EXPECT_EQ(Left(), "works works, new, 13, 100, new");
    CalibrationRecord read{};
    ASSERT_EQ(ZEL_OK, zelRetrieveCRTCalibrationDataFromPod_M(&device, &read));
    EXPECT_EQ(read.date, 1234);
    for (int i = 0; i < 9; ++i)
        EXPECT_EQ(static_cast<float>(truth[i]), read.matrix[i]);
    for (const auto retrieve : {zelRetrieveUserCalibrationDataFromPod_M, zelRetrieveLCDCalibrationDataFromPod_M}) {
        device.eeprom.date1 = 0;
        ASSERT_EQ(ZEL_OK, retrieve(&device, &read));
        EXPECT_EQ(MatrixName(read.matrix[0], read.matrix[8]), "works");
        EXPECT_EQ(read.date, 1'000'000'000);
        EXPECT_EQ(device.eeprom.date1, 1'000'000'000U);
    }
    ASSERT_EQ(ZEL_OK, zelRestoreFactoryCalibration_M(&device));
    EXPECT_EQ(Left(), "new, new, 13, 0, new");
    EXPECT_EQ(device.eeprom.date1, 1234U);

    Open(4);
    ASSERT_EQ(ZEL_OK, AltrixStoreCalData_1_ToEEPROM_M(&device, &record));
    EXPECT_EQ(Left(), "new, second second, 13, 0, works") << "not in force";
    EXPECT_EQ(device.eeprom.eepromMatrix1[0], 0.41F);
    ASSERT_EQ(ZEL_OK, AltrixCopyCalData_1_To_2_M(&device));
    EXPECT_EQ(Left(), "new, new, 13, 0, works");
    EXPECT_EQ(device.eeprom.eepromMatrix2[8], 0.95F);
    EXPECT_EQ(device.eeprom.date2, 1234U);

    Open(4);
    ASSERT_EQ(ZEL_OK, AltrixStoreCalData_2_ToEEPROM_M(&device, &record));
    ASSERT_EQ(ZEL_OK, AltrixRestoreCalData_2_To_1_M(&device));
    EXPECT_EQ(Left(), "new, new, 13, 0, works");
    EXPECT_EQ(device.eeprom.eepromMatrix1[8], 0.95F);
    ASSERT_EQ(ZEL_OK, AltrixResetCalData_2_M(&device));
    EXPECT_EQ(0xFFFFFFFF, device.eeprom.date2);
    EXPECT_TRUE(std::isnan(device.eeprom.eepromMatrix2[0]));
    const std::vector<std::uint8_t> blank(40, 0xFF);
    EXPECT_EQ(std::memcmp(blank.data(), instrument.cells.data() + 54, 40), 0);
    EXPECT_NE(0xFF, instrument.cells[94]);
    EXPECT_EQ(ZEL_SLOT_BLANK, zelSelectCalibration_M(&device, 1));
}

TEST_F(StoredCalibrationTest, ReportsTellWhatWasFitted)
{
    Open(4);
    const Colours c(4);
    for (const char* locale : {"C", "de_DE.UTF-8"}) {
        std::setlocale(LC_ALL, locale);
        ASSERT_EQ(ZEL_OK, zelStoreCalibrationData_M(&device, c.reference.data(), c.vectors.data(), 4, 1));
        std::setlocale(LC_ALL, "C");
        std::ifstream report("caldataN.txt");
        std::vector<std::string> words{std::istream_iterator<std::string>(report), {}};
        ASSERT_EQ(5U + 12 + 12 + 9 + 12 + 12, words.size());
        EXPECT_EQ(words[0], "XYZ");
        EXPECT_EQ(words[13], "RGB");
        EXPECT_EQ(words[26], "Matrix:");
        EXPECT_EQ(words[36], "XYZ");
        EXPECT_EQ(words[49], "RGB");
        EXPECT_EQ(words[27], "4.100000e-01");
        EXPECT_NEAR(c.vectors[1].red, std::stod(words[15]), 1e-4) << "row by row";
        EXPECT_NEAR(c.vectors[0].green, std::stod(words[51]), 1e-4) << "colour by colour";
        EXPECT_NEAR(c.reference[0].Y, std::stod(words[38]), 1e-4);
        report.clear();
        report.seekg(0);
        std::vector<std::string> lines;
        for (std::string line; std::getline(report, line);)
            lines.push_back(line);
        EXPECT_EQ(5U + 12 + 12 + 9 + 4 + 4, lines.size());
    }
    std::filesystem::remove("caldataN.txt");
    std::filesystem::create_directory("caldataN.txt"); // cannot be written
    EXPECT_EQ(ZEL_OK, zelStoreCalibrationData_M(&device, c.reference.data(), c.vectors.data(), 4, 1));

    const ZelVector ones = {1, 1, 1};
    EXPECT_EQ(ZEL_OK, zelStoreUserCalibrationNColors_M(&device, c.reference.data(), &ones, 1));
    EXPECT_FALSE(std::isfinite(device.header.calMatrix[0])) << "one colour fits nothing";
    std::ifstream report("rgbmatN.txt");
    const std::vector<std::string> words{std::istream_iterator<std::string>(report), {}};
    EXPECT_TRUE(words.at(9).ends_with("inf") || words.at(9).ends_with("nan")) << words.at(9);
}

TEST_F(StoredCalibrationTest, TheMemoryCanBeReadInReadableForm)
{
    for (const char* text : {"4 @44=006400c80190", "11 @103=000003200000032100000322"}) {
        AttachBy(text);
        ASSERT_EQ(ZEL_OK, zelOpenCalibrator_M(&device, 0, version));
        const bool integers = device.header.calibratorType == 11;
        ParsedEEPROMEx forms[2] = {};
        std::uint8_t bytes[256];
        ASSERT_EQ(ZEL_OK, AltrixReadEntireEEPROM_M(&device, bytes));
        std::copy_n(instrument.cells.begin() + 128, 128, bytes + 128);
        instrument.TakeFrames();
        ASSERT_EQ(ZEL_OK, AltrixReadExtendedEEPROMStruct_M(&device, &forms[0]));
        EXPECT_EQ(integers, instrument.TakeFrames().find("14 00 80") != std::string::npos);
        ASSERT_EQ(ZEL_OK, AltrixParseExtendedEEPROMStruct_M(&device, &forms[1], bytes));
        ParsedEEPROM shorter[2] = {};
        ASSERT_EQ(ZEL_OK, AltrixReadEEPROMStruct_M(&device, &shorter[0]));
        ASSERT_EQ(ZEL_OK, AltrixParseEEPROMStruct_M(&device, &shorter[1], bytes));
        for (const ParsedEEPROM& p : {forms[0].base, forms[1].base, shorter[0], shorter[1]}) {
            EXPECT_EQ(integers ? 20011U : 20004U, p.serialNumber);
            EXPECT_DOUBLE_EQ(integers ? 2.5e-6 : 4e-6, p.tick);
            EXPECT_DOUBLE_EQ(p.refreshRate, 60.0);
            EXPECT_EQ(integers ? 100 : 400, p.calPeriods[2]);
            EXPECT_EQ(MatrixName(p.matrix1[0], p.matrix1[8]), "works");
            EXPECT_EQ(MatrixName(p.matrix2[0], p.matrix2[8]), "second");
            EXPECT_STREQ(p.date1Text, "Sun Sep  9 01:46:40 2001");
            EXPECT_STREQ(p.date2Text, "Sun Sep  9 01:46:41 2001");
            EXPECT_STREQ(p.date3Text, "Sun Sep  9 01:46:42 2001");
            EXPECT_EQ(p.clock, 3.3333333e-7F);
            EXPECT_EQ(p.extraByte102, 1);
            EXPECT_EQ(p.extraByte115, 2);
            EXPECT_EQ(integers ? 0.0 : 0.251F, p.dark[0]);
            EXPECT_EQ(integers ? 802U : 0U, p.darkInteger[2]);
            EXPECT_EQ(p.modelLetter, 'C');
            EXPECT_EQ(p.formatWord, 13);
        }
        EXPECT_EQ(forms[0].page2[1], 2.5);
        EXPECT_EQ(forms[1].page2[2], 3.5);
        char date[64];
        ASSERT_EQ(ZEL_OK, zelGetCalibrationDate_M(&device, date));
        EXPECT_STREQ(date, "Sun Sep  9 01:46:40 2001\n");
    }
    AttachBy("4 @50=ffffffff");
    ASSERT_EQ(ZEL_OK, zelOpenCalibrator_M(&device, 0, version));
    char date[64] = "before";
    ASSERT_EQ(ZEL_OK, zelGetCalibrationDate_M(&device, date));
    EXPECT_STREQ(date, "") << "blank";
}

TEST_F(StoredCalibrationTest, TheRecordIsCopiedAndTheMemoryWrittenAsAWhole)
{
    Open(19);
    ZelEEPROM eeprom{};
    ASSERT_EQ(ZEL_OK, AltrixReturnEEPROMStructure_M(&device, &eeprom));
    EXPECT_EQ(std::memcmp(&eeprom, &device.eeprom, sizeof eeprom), 0);
    ZelCalHeader header{};
    ASSERT_EQ(ZEL_OK, AltrixReturnCalHeader_M(&device, &header));
    EXPECT_EQ(std::memcmp(&header, &device.header, sizeof header), 0);

    Open(4);
    std::uint8_t image[128];
    std::copy_n(instrument.cells.begin(), 128, image);
    image[0] ^= 1;
    image[127] ^= 1;
    ASSERT_EQ(ZEL_OK, AltrixWriteEntireEEPROM_M(&device, image));
    EXPECT_TRUE(std::equal(image, image + 128, instrument.cells.begin()));
    const std::string frames = instrument.TakeFrames();
    EXPECT_EQ(std::ranges::count(frames, ',') + 1, 128 + 2) << "writes what differs";
}
