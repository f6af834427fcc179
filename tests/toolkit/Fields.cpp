#include "tests/toolkit/Fields.h"

#include "tests/support/Rows.h"

#include <cmath>
#include <gtest/gtest.h>
#include <map>
#include <type_traits>

namespace {

/// A field of the record: its number at a place, and setting it.
struct Field {
    double (*get)(const CalDataBlock&, std::size_t);
    void (*set)(CalDataBlock&, std::size_t, double);
};

const std::map<std::string, Field> fields = {
#define FIELD(part, name)                                                                                              \
    {#name,                                                                                                            \
     {[](const CalDataBlock& d, std::size_t i) {                                                                       \
          using Number = std::remove_cvref_t<std::remove_all_extents_t<decltype(d.part.name)>>;                        \
          return static_cast<double>(reinterpret_cast<const Number*>(&d.part.name)[i]);                                \
      },                                                                                                               \
      [](CalDataBlock& d, std::size_t i, double number) {                                                              \
          using Number = std::remove_cvref_t<std::remove_all_extents_t<decltype(d.part.name)>>;                        \
          reinterpret_cast<Number*>(&d.part.name)[i] = static_cast<Number>(number);                                    \
      }}},
    // clang-format off
    FIELD(header, activeCalibration) FIELD(header, ambientMatrix) FIELD(header, bassixRevision) FIELD(header, blueFactor)
    FIELD(header, calCount) FIELD(header, calMatrix) FIELD(header, calTime) FIELD(header, calibratorType)
    FIELD(header, channel1Factors) FIELD(header, channelCount) FIELD(header, clockPeriod) FIELD(header, darkCurrent)
    FIELD(header, edgeCount) FIELD(header, edgeRGB) FIELD(header, edgeTimeLimit) FIELD(header, edgesRGB)
    FIELD(header, eepromState) FIELD(header, firmwareRevision) FIELD(header, frequencySamples) FIELD(header, greenFactor)
    FIELD(header, integrationTicks) FIELD(header, isOpen) FIELD(header, lumChannel) FIELD(header, lumFactor)
    FIELD(header, monitorFrequency) FIELD(header, numDarkMeas) FIELD(header, numMeasToAvg) FIELD(header, numPeriods)
    FIELD(header, periodCount) FIELD(header, periodRGB) FIELD(header, periodsLeft) FIELD(header, periodsRGB)
    FIELD(header, portType) FIELD(header, redFactor) FIELD(header, repeatCount) FIELD(header, scaledRGB)
    FIELD(header, sweepCount) FIELD(header, syncMode) FIELD(header, targetCount) FIELD(header, tickLength)
    FIELD(header, timingFlags) FIELD(header, usbIndex) FIELD(header, wideCount) FIELD(header, wideEdges)
    FIELD(eeprom, ambientScale) FIELD(eeprom, calRateWord) FIELD(eeprom, darkFloats) FIELD(eeprom, date1)
    FIELD(eeprom, date2) FIELD(eeprom, date3) FIELD(eeprom, eepromMatrix1) FIELD(eeprom, eepromMatrix2)
    FIELD(eeprom, formatWord) FIELD(eeprom, modelLetter) FIELD(eeprom, page2Floats) FIELD(eeprom, serialNumber)
    FIELD(comm, commTimeouts) FIELD(comm, deviceControlBlock) FIELD(comm, timeOutActive) FIELD(comm, timeOutApplied)
    FIELD(comm, timeOutSeconds)
// clang-format on
#undef FIELD
};

template<typename NumberAt>
void ExpectNumbers(const std::string& expected, NumberAt numberAt)
{
    const std::size_t roughly = expected.find('~');
    const std::vector<double> numbers = Numbers(expected.substr(roughly == std::string::npos ? 0 : roughly + 1));
    for (std::size_t i = 0; i < numbers.size(); ++i)
        if (std::isnan(numbers[i])) {
            EXPECT_TRUE(std::isnan(numberAt(i)));
        } else {
            EXPECT_NEAR(numbers[i], numberAt(i), std::fabs(numbers[i]) * (roughly == std::string::npos ? 1e-10 : 1e-5))
                << expected << ", " << i;
        }
}

}

void ExpectField(const std::string& name, const std::string& numbers, const CalDataBlock& device)
{
    SCOPED_TRACE(name);
    ExpectNumbers(numbers, [&](std::size_t i) { return fields.at(name).get(device, i); });
}

void SetField(const std::string& text, CalDataBlock& device)
{
    std::istringstream words(text);
    std::string name, numbers;
    words >> name;
    std::getline(words, numbers);
    std::size_t place = 0;
    for (const double number : Numbers(numbers))
        fields.at(name).set(device, place++, number);
}

void ExpectResults(const std::string& expected, const Arguments& arguments)
{
    std::istringstream groups(expected);
    std::size_t pointer = 0;
    for (std::string group; std::getline(groups, group, '/'); ++pointer)
        ExpectNumbers(group, arguments.results.at(pointer));
}
