#include "platform/Clock.h"
#include "toolkit/Matrix.h"
#include "toolkit/Slots.h"

#include <cstdio>
#include <cstring>

namespace Toolkit {

namespace {

constexpr int mostColours = 32;

/// Reference colours and what was measured of them: 3 rows with one column for each colour.
struct ColourSets {
    double targets[3 * mostColours];      ///< XYZ
    double measurements[3 * mostColours]; ///< XYZ, or channel vectors
    int count;
};

bool HasZero(const ZelYxyz& colour)
{
    return colour.Y == 0.0 || colour.x == 0.0 || colour.y == 0.0;
}
bool HasZero(const ZelVector& vector)
{
    return vector.red == 0.0 || vector.green == 0.0 || vector.blue == 0.0;
}

template<typename Entry>
bool AnyHasZero(const Entry* entries, int count)
{
    for (int i = 0; i < count; ++i)
        if (HasZero(entries[i]))
            return true;
    return false;
}

void SetColumn(double* rows, int count, int column, double first, double second, double third)
{
    rows[column] = first;
    rows[count + column] = second;
    rows[2 * count + column] = third;
}

void SetColumns(const ZelYxyz* colours, int count, double* rows)
{
    for (int i = 0; i < count; ++i) {
        const ZelYxyz& c = colours[i];
        SetColumn(rows, count, i, c.Y * c.x / c.y, c.Y, (1.0 - c.x - c.y) * c.Y / c.y);
    }
}

void SetColumns(const ZelVector* vectors, int count, double* rows)
{
    for (int i = 0; i < count; ++i)
        SetColumn(rows, count, i, vectors[i].red, vectors[i].green, vectors[i].blue);
}

template<typename Measured>
ColourSets MakeSets(const ZelYxyz* reference, const Measured* measured, int count)
{
    ColourSets sets = {};
    sets.count = count;
    SetColumns(reference, count, sets.targets);
    SetColumns(measured, count, sets.measurements);
    return sets;
}

/// The least-squares solution of M * measurements = targets.
void FitMatrix(const ColourSets& sets, double matrix[9])
{
    double transposed[mostColours * 3];
    double product[9];
    double square[9];
    Transpose(sets.measurements, 3, sets.count, transposed);
    Multiply(sets.targets, 3, sets.count, transposed, sets.count, 3, product);
    Multiply(sets.measurements, 3, sets.count, transposed, sets.count, 3, square);
    Invert(square, 3);
    Multiply(product, 3, 3, square, 3, 3, matrix);
}

// ---- report files

/// Prints a number with the decimal point of the classic locale, whatever the application's locale is.
void PrintNumber(std::FILE* report, double value, const char* end)
{
    char text[64];
    std::snprintf(text, sizeof text, "%le", value);
    const char* first = text + (*text == '-' ? 1 : 0);
    const char* second = first + 1;
    if (*first >= '0' && *first <= '9') { // otherwise an infinity, or not a number
        while (*second != '\0' && (*second < '0' || *second > '9'))
            ++second;
        std::fprintf(report, "%.*s.%s%s", static_cast<int>(first + 1 - text), text, second, end);
    } else {
        std::fprintf(report, "%s%s", text, end);
    }
}

void PrintNumbers(std::FILE* report, const char* title, const double* values, int count)
{
    std::fputs(title, report);
    for (int i = 0; i < count; ++i)
        PrintNumber(report, values[i], "\n");
}

void PrintColumns(std::FILE* report, const char* title, const double* rows, int count)
{
    std::fputs(title, report);
    for (int column = 0; column < count; ++column)
        for (int row = 0; row < 3; ++row)
            PrintNumber(report, rows[row * count + column], row == 2 ? "\n" : " ");
}

/// A calibration goes on without its report if the file cannot be made.
void WriteReport(const char* name, const ColourSets& sets, const double matrix[9])
{
    std::FILE* report = std::fopen(name, "w");
    if (report == nullptr)
        return;
    PrintNumbers(report, "XYZ\n", sets.targets, 3 * sets.count);
    PrintNumbers(report, "RGB\n", sets.measurements, 3 * sets.count);
    PrintNumbers(report, "Matrix:\n", matrix, 9);
    PrintColumns(report, "XYZ\n", sets.targets, sets.count);
    PrintColumns(report, "RGB\n", sets.measurements, sets.count);
    std::fclose(report);
}

// ---- storing

CalibrationRecord PresentRecord(const double matrix[9])
{
    CalibrationRecord record = {};
    std::memcpy(record.matrix, matrix, sizeof record.matrix);
    record.date = static_cast<std::int32_t>(Platform::NowMicroseconds() / 1'000'000);
    return record;
}

std::int32_t StoreUserMatrix(CalDataBlock* device, const double matrix[9])
{
    const CalibrationRecord record = PresentRecord(matrix);
    return StoreActiveSlot1(device, &record);
}

/// A user calibration from channel vectors. The slot tests are done.
std::int32_t CalibrateFromVectors(CalDataBlock* device, const ZelYxyz* reference, const ZelVector* vectors, int count,
                                  const char* reportName)
{
    if (AnyHasZero(reference, count) || AnyHasZero(vectors, count))
        return ZEL_ZERO_COMPONENT;
    if (const std::int32_t failure = EnsureSlot2(device))
        return failure;
    const ColourSets sets = MakeSets(reference, vectors, count);
    double matrix[9];
    FitMatrix(sets, matrix);
    if (reportName != nullptr)
        WriteReport(reportName, sets, matrix);
    return StoreUserMatrix(device, matrix);
}

constexpr int fewColours = 4;
constexpr int rgbColours = 8;

}

}

using namespace Toolkit;

extern "C" {

int32_t ZELCAL_CALL zelStoreUserCalibration_M(CalDataBlock* device, const ZelYxyz* reference, const ZelYxyz* measured)
{
    if (const int32_t refusal = EnterSlots(device, reference, measured))
        return refusal;
    if (AnyHasZero(reference, fewColours) || AnyHasZero(measured, fewColours))
        return ZEL_ZERO_COMPONENT;
    if (const int32_t failure = EnsureSlot2(device))
        return failure;
    double correction[9];
    double matrix[9];
    FitMatrix(MakeSets(reference, measured, fewColours), correction);
    Multiply(correction, 3, 3, device->header.calMatrix, 3, 3, matrix);
    return StoreUserMatrix(device, matrix);
}

int32_t ZELCAL_CALL zelStoreUserCalibrationEx_M(CalDataBlock* device, const ZelYxyz* reference,
                                                const ZelVector* vectors)
{
    if (const int32_t refusal = EnterSlots(device, reference, vectors))
        return refusal;
    return CalibrateFromVectors(device, reference, vectors, fewColours, nullptr);
}

int32_t ZELCAL_CALL zelStoreUserCalibrationRGB_M(CalDataBlock* device, const ZelYxyz* reference,
                                                 const ZelVector* vectors)
{
    if (const int32_t refusal = EnterSlots(device, reference, vectors))
        return refusal;
    return CalibrateFromVectors(device, reference, vectors, rgbColours, "rgbmat.txt");
}

int32_t ZELCAL_CALL zelStoreUserCalibrationNColors_M(CalDataBlock* device, const ZelYxyz* reference,
                                                     const ZelVector* vectors, int32_t n)
{
    if (const int32_t refusal = Enter(device, allTypes))
        return refusal;
    if (n < 1 || n > mostColours)
        return ZEL_OUT_OF_RANGE;
    if (const int32_t refusal = EnterSlots(device, reference, vectors))
        return refusal;
    return CalibrateFromVectors(device, reference, vectors, n, "rgbmatN.txt");
}

int32_t ZELCAL_CALL zelStoreCalibrationData_M(CalDataBlock* device, const ZelYxyz* reference, const ZelVector* vectors,
                                              int32_t n, int32_t slot)
{
    if (const int32_t refusal = Enter(device, Gate::userCalibration))
        return refusal;
    const bool noLetter = device->eeprom.modelLetter == blankByte;
    if (noLetter && slot == 0)
        return ZEL_NO_MODEL_LETTER;
    if (const int32_t refusal = EnterSlots(device))
        return refusal;
    if (n < fewColours || n > mostColours)
        return ZEL_OUT_OF_RANGE;
    if (reference == nullptr || vectors == nullptr)
        return ZEL_BAD_ARGUMENT;
    if (AnyHasZero(reference, n))
        return ZEL_ZERO_COMPONENT;
    if (noLetter)
        if (const int32_t failure = EnsureSlot2(device))
            return failure;
    const ColourSets sets = MakeSets(reference, vectors, n);
    double matrix[9];
    FitMatrix(sets, matrix);
    WriteReport("caldataN.txt", sets, matrix);
    const CalibrationRecord record = PresentRecord(matrix);
    return slot == 0 ? StoreActiveSlot2(device, &record, 0) : StoreActiveSlot1(device, &record);
}
}
