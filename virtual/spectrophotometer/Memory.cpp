#include "virtual/spectrophotometer/Memory.h"

#include "virtual/spectrophotometer/Converter.h"
#include "virtual/spectrophotometer/Scene.h"

#include <bit>
#include <vector>

namespace Virtual {

namespace {

constexpr std::size_t firstLog = 0x0000;
constexpr std::size_t secondLog = 0x0800;
constexpr std::size_t tableStart = 0x1000;
constexpr std::size_t calibrationStart = 0x1200;

constexpr std::uint16_t firstLogEnd = 1; // ids of the table that mark an end
constexpr std::uint16_t calibrationEnd = 2;
constexpr std::uint16_t secondLogEnd = 3;
constexpr std::uint16_t secondLogOffset = 1000; // what is added to an id for the second log

constexpr std::int32_t uvCutFilter = 130; // value of the filter cell
constexpr std::int32_t ambientBits = 0x6000;

/// One item of a section: an id and its cells of 32 bits.
struct Item {
    std::uint16_t id;
    std::vector<std::uint32_t> cells;
};

using Section = std::vector<Item>;

std::uint32_t Cell(double value)
{
    return std::bit_cast<std::uint32_t>(static_cast<float>(value));
}

std::vector<std::uint32_t> Cells(std::initializer_list<double> values)
{
    std::vector<std::uint32_t> cells;
    for (const double value : values)
        cells.push_back(Cell(value));
    return cells;
}

std::vector<std::uint32_t> Polynomial(Gain gain)
{
    const auto [constant, linear, quadratic] = LinearisationOf(gain);
    return Cells({constant, linear, quadratic});
}

/// One cell for each band.
template<class Value>
std::vector<std::uint32_t> ForEachBand(Value value)
{
    std::vector<std::uint32_t> cells;
    for (std::size_t band = 0; band < bandCount; ++band)
        cells.push_back(value(band));
    return cells;
}

Section FreshLog()
{
    static constexpr std::uint16_t scalars[] = {10000, 10001, 10002, 10003, 10004, 10005};
    Section log;
    for (const std::uint16_t id : scalars)
        log.push_back({id, {0}});
    log.push_back({10010, std::vector<std::uint32_t>(pixelCount, 0)});
    log.push_back({10011, std::vector<std::uint32_t>(pixelCount, 0)});
    for (const int id : {10012, 10013, 10020, 10021})
        log.push_back({static_cast<std::uint16_t>(id), {0}});
    return log;
}

std::vector<std::uint32_t> AllWeights()
{
    std::vector<std::uint32_t> cells;
    for (std::size_t band = 0; band < bandCount; ++band)
        for (const double weight : Optics::WeightsOf(band).weights)
            cells.push_back(Cell(weight));
    return cells;
}

/// The calibration, in the order of its section. Cells without a known use hold 0.
Section Calibration(const Optics& optics)
{
    const Curve tile = Scene::BuiltTile();
    return {
        {1000, Polynomial(Gain::normal)},
        {1001, Polynomial(Gain::high)},
        {1002,
         ForEachBand([](std::size_t band) { return static_cast<std::uint32_t>(Optics::WeightsOf(band).firstPixel); })},
        {1003, ForEachBand([](std::size_t band) {
             return static_cast<std::uint32_t>(Optics::WeightsOf(band).weights.size());
         })},
        {1004, AllWeights()},
        {3001, {0}},
        {1100, ForEachBand([&](std::size_t band) { return Cell(tile.At(BandWavelength(band))); })},
        {1101, ForEachBand([&](std::size_t band) { return Cell(optics.RadiancePerRate(band)); })},
        {3002, {0}},
        {1102, ForEachBand([](std::size_t band) { return Cell(Optics::DiffuserFactor(BandWavelength(band))); })},
        {1221, Cells({0.01})},
        {1222, Cells({4.0})},
        {1204, {40000}},
        {1205, {600}},
        {1207, {50000}},
        {1208, {48000}},
        {1213, Cells({gainRatio})},
        {1211, {100001}},
        {4000, {0}},
        {1212, {0}},
        {3007, {0}},
        {3014, {0}},
        {3008, {0}},
        {3009, {0, 0}},
        {3010, {static_cast<std::uint32_t>(ambientBits)}},
        {3011, {0}},
        {3012, {0}},
        {3013, {0}},
    };
}

class Writer {
public:
    explicit Writer(MemoryImage& image) : memory(image) { }

    void Put(std::size_t address, std::uint32_t value, std::size_t size)
    {
        for (std::size_t i = 0; i < size; ++i)
            memory[address + i] = static_cast<std::uint8_t>(value >> (8 * (size - 1 - i)));
    }

    /// Writes a section's cells and one entry of the table for each item, and one for the end.
    void PutSection(const Section& section, std::size_t address, std::uint16_t idOffset, std::uint16_t endMarker)
    {
        for (const auto& item : section) {
            PutEntry(static_cast<std::uint16_t>(item.id + idOffset), address);
            for (const std::uint32_t cell : item.cells) {
                Put(address, cell, 4);
                address += 4;
            }
        }
        PutEntry(endMarker, address);
    }

    void FinishTable()
    {
        Put(tableStart, 1, 2); // version
        Put(tableStart + 2, static_cast<std::uint32_t>(entryAddress - tableStart), 2);
    }

private:
    void PutEntry(std::uint16_t id, std::size_t address)
    {
        Put(entryAddress, id, 2);
        Put(entryAddress + 2, static_cast<std::uint32_t>(address), 4);
        entryAddress += 6;
    }

    MemoryImage& memory;
    std::size_t entryAddress = tableStart + 4;
};

/// Where a calibration item of a memory as built lies.
std::size_t AddressOf(std::uint16_t id)
{
    static const Section& calibration = *new Section(Calibration(Optics())); // never destroyed
    std::size_t address = calibrationStart;
    for (const auto& item : calibration) {
        if (item.id == id)
            break;
        address += 4 * item.cells.size();
    }
    return address;
}

}

MemoryImage BuiltMemory(const Optics& optics)
{
    MemoryImage memory;
    memory.fill(0xFF);
    Writer writer(memory);
    writer.PutSection(FreshLog(), firstLog, 0, firstLogEnd);
    writer.PutSection(FreshLog(), secondLog, secondLogOffset, secondLogEnd);
    writer.PutSection(Calibration(optics), calibrationStart, 0, calibrationEnd);
    writer.FinishTable();
    return memory;
}

void StoreSerialNumber(MemoryImage& memory, std::int32_t number)
{
    Writer(memory).Put(AddressOf(1211), static_cast<std::uint32_t>(number), 4);
}

void StoreUvCut(MemoryImage& memory, bool uvCut)
{
    Writer(memory).Put(AddressOf(3012), uvCut ? uvCutFilter : 0, 4);
}

void StoreAmbientHead(MemoryImage& memory, bool ambientHead)
{
    Writer(memory).Put(AddressOf(3010), ambientHead ? ambientBits : 0, 4);
}

}
