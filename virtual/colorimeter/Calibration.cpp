#include "virtual/colorimeter/Calibration.h"

#include <bit>
#include <span>

namespace Virtual::Colorimeter {
namespace {

constexpr std::uint16_t calibrationRate = 6000; // hundredths of a hertz
constexpr std::uint16_t calibrationPeriods = 100;
constexpr std::uint16_t ploverCounts = 31250;
constexpr std::uint16_t memoryFormat = 13;

// What the filters let pass overlaps: none of them sees less than nothing of any light, so that every colour has its
// counts, the primaries of the widest display too.
constexpr double filterMatrix[3][3] = {
    {4.0e-3, -4.0e-4, -1.0e-4}, {-3.0e-4, 3.6e-3, -1.0e-4}, {-2.0e-5, -4.0e-4, 5.9e-3}};
constexpr double secondSlot = 1.05; // slot 2 over slot 1
constexpr Triple ambientScale = {0.5, 0.6, 0.7};
constexpr Triple rangeFactors = {0.5, 0.05, 0.005};
constexpr double converterFactor = 0.010;
constexpr std::array<double, 4> modeFactors = {0.01, 0.02, 0.03, 0.04}; // of the type with one factor per mode

/// The true dark, and by how much the memory tells more, so that black comes out as black.
struct Dark {
    Triple values;
    double margin;
};

constexpr Dark filterDark = {{0.250, 0.300, 0.200}, 0.001};
constexpr Dark converterDark = {{0.2508, 0.3008, 0.2008}, 0.0002}; // hertz; some have few pulses to lose
constexpr Dark integratorDark = {{799.0, 899.0, 699.0}, 1.0};
constexpr Dark rangesDark = {{0.0, 0.0, 0.0}, 0.001};

const Dark& DarkOf(const Type& type)
{
    switch (type.optics) {
    case Optics::Integrator:
        return integratorDark;
    case Optics::ThreeRanges:
        return rangesDark;
    case Optics::OneConverter:
        return converterDark;
    default:
        return filterDark;
    }
}

bool HasMatrix(const Type& type)
{
    return type.optics == Optics::ThreeFilters || type.optics == Optics::Integrator;
}

bool HasModeFactors(const Type& type)
{
    return type.optics == Optics::OneConverter && (type.features & Wide) != 0;
}

/// Entry of a slot's matrix, as the memory holds it.
float MatrixEntry(const Type& type, std::size_t row, std::size_t column, double slotScale)
{
    const double sensitivity = type.optics == Optics::Integrator ? 1e-3 : 1.0;
    return static_cast<float>(filterMatrix[row][column] * sensitivity * slotScale);
}

/// Writes numbers where they belong, most significant byte first.
class Writer {
public:
    explicit Writer(std::vector<std::uint8_t>& bytes) : memory(bytes) { }

    void Word(std::size_t at, std::uint16_t value) const { Put(at, value, 2); }
    void Long(std::size_t at, std::uint32_t value) const { Put(at, value, 4); }
    void Float(std::size_t at, double value) const
    {
        Put(at, std::bit_cast<std::uint32_t>(static_cast<float>(value)), 4);
    }
    void Floats(std::size_t at, std::span<const double> values) const
    {
        for (std::size_t i = 0; i < values.size(); ++i)
            Float(at + 4 * i, values[i]);
    }

private:
    void Put(std::size_t at, std::uint32_t value, std::size_t size) const
    {
        for (std::size_t i = 0; i < size; ++i)
            memory[at + i] = static_cast<std::uint8_t>(value >> (8 * (size - 1 - i)));
    }

    std::vector<std::uint8_t>& memory;
};

void WriteMatrix(const Writer& write, const Type& type, std::size_t at, double slotScale)
{
    for (std::size_t row = 0; row < 3; ++row)
        for (std::size_t column = 0; column < 3; ++column)
            write.Float(at + 4 * (3 * row + column), MatrixEntry(type, row, column, slotScale));
}

void WriteFactors(const Writer& write, const Type& type)
{
    if (HasMatrix(type)) {
        WriteMatrix(write, type, 4, 1.0);
        WriteMatrix(write, type, 54, secondSlot);
    } else if (HasModeFactors(type)) {
        write.Floats(4, modeFactors);
        write.Floats(20, modeFactors);
    } else if (type.optics == Optics::ThreeRanges) {
        write.Floats(4, Triple{rangeFactors[1], rangeFactors[0], rangeFactors[2]}); // green comes first here
    } else {
        write.Float(4, converterFactor);
    }
}

void WriteDark(const Writer& write, const Type& type, std::size_t at)
{
    const auto& [values, margin] = DarkOf(type);
    for (std::size_t i = 0; i < 3; ++i)
        if (type.optics == Optics::Integrator)
            write.Long(at + 4 * i, static_cast<std::uint32_t>(values[i] + margin));
        else
            write.Float(at + 4 * i, values[i] + margin);
}

void WriteMainLayout(const Writer& write, const Type& type)
{
    write.Long(0, 20000U + static_cast<std::uint32_t>(type.number));
    WriteFactors(write, type);
    write.Word(40, type.tickWord);
    write.Word(42, calibrationRate);
    for (std::size_t at = 44; at < 50; at += 2)
        write.Word(at, calibrationPeriods);
    write.Long(50, 1000000000U);
    write.Long(90, 1000000001U);
    write.Float(94, type.clock);
    write.Long(98, 1000000002U);
    WriteDark(write, type, 103);
}

void WritePloverLayout(const Writer& write, const Type& type)
{
    const Triple factors = MakeCalibration(type).footLambertsPerUnit;
    write.Float(0, factors[0]);
    write.Word(6, ploverCounts);
    write.Long(8, 20000U + static_cast<std::uint32_t>(type.number));
    write.Long(12, 1000000000U);
    write.Float(16, factors[0] * secondSlot);
    write.Long(24, 1000000001U);
    write.Floats(28, std::span(factors).last(2));
    write.Float(36, factors[1] * secondSlot);
    write.Float(40, factors[2] * secondSlot);
    WriteDark(write, type, 44);
}

void SetCalibratedTime(Calibration& calibration, const Type& type)
{
    if (type.layout == Layout::Plover) {
        calibration.counts = ploverCounts;
        calibration.seconds = ploverCounts * (type.serialTick * 1e-9);
    } else {
        const double periodTicks = 1e11 / (double{calibrationRate} * type.tickWord);
        calibration.counts = static_cast<std::uint32_t>(periodTicks * calibrationPeriods + 0.5);
        calibration.seconds = calibration.counts * (type.tickWord * 1e-9);
    }
}

}

Calibration MakeCalibration(const Type& type)
{
    Calibration made;
    SetCalibratedTime(made, type);
    for (std::size_t row = 0; row < 3; ++row)
        for (std::size_t column = 0; column < 3; ++column) {
            const double first = MatrixEntry(type, row, column, 1.0);
            const double second = MatrixEntry(type, row, column, secondSlot);
            made.toXYZ[row][column] = first;
            made.toAmbientXYZ[row][column] = (first + second) * 0.5 * static_cast<float>(ambientScale[row]);
        }

    if (type.optics == Optics::ThreeRanges)
        made.footLambertsPerUnit = rangeFactors;
    else
        made.footLambertsPerUnit.fill(HasModeFactors(type) ? modeFactors.back() : converterFactor);
    for (double& factor : made.footLambertsPerUnit)
        factor = static_cast<float>(factor);

    made.dark = DarkOf(type).values;
    return made;
}

std::vector<std::uint8_t> MakeMemory(const Type& type)
{
    std::vector<std::uint8_t> memory(type.cells, 0xFF);
    const Writer write(memory);
    if (type.layout == Layout::Plover) {
        WritePloverLayout(write, type);
    } else {
        WriteMainLayout(write, type);
        memory[102] = 1;
        memory[115] = 2;
    }
    memory[121] = static_cast<std::uint8_t>(type.modelLetter);
    write.Word(126, memoryFormat);
    if (type.cells > 128) {
        write.Floats(128, Triple{1.5, 2.5, 3.5});
        write.Floats(144, ambientScale);
    }
    return memory;
}

}
