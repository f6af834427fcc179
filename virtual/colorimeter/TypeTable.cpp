#include "virtual/colorimeter/TypeTable.h"

#include <algorithm>

namespace Virtual::Colorimeter {
namespace {

constexpr std::uint16_t altrix = FinePeriod | Edges;
constexpr std::uint16_t fixedLoop = FinePeriod | LoopPeriod | Integration | Extended;
constexpr std::uint16_t registerLoop = FinePeriod | LoopRegisters | Integration | Extended | Trigger;
constexpr std::uint16_t osprey = FinePeriod | Edges | Wide;

constexpr float clock1MHz = 1e-6F;
constexpr float clock3MHz = 3.3333333e-7F;
constexpr float clock4MHz = 2.5e-7F;
constexpr float clock12MHz = 8.3333333e-8F;

using enum Optics;
using enum Layout;

// clang-format off
constexpr Type types[] = {
    // no  version letter optics      lum features      layout  cells writable tickWord serial    usb  clock  counts*2 usb*2 ambient
    { 2, "3.50", 'C', ThreeFilters, 0, Basic,           Main,   128,  true,   1000,  1000,  1000, clock1MHz,  false, false, false},
    { 4, "4.10", 'C', ThreeFilters, 0, altrix,          Main,   128,  true,   4000,  4000,  4000, clock3MHz,  false, false, false},
    { 5, "1.20", 'B', OneConverter, 1, altrix,          Main,   128,  false, 32000, 32000,  1000, clock1MHz,  false, true,  false},
    { 6, "1.20", 'B', OneConverter, 1, altrix,          Main,   128,  true,  32000, 32000, 32000, clock1MHz,  false, true,  false},
    { 7, "5.12", 'W', ThreeRanges,  0, altrix,          Main,   128,  true,   3750,  3750,  5000, clock3MHz,  false, false, false},
    { 8, "5.12", 'l', OneConverter, 1, altrix,          Main,   128,  true,   4000,  4000,  4000, clock3MHz,  false, false, false},
    { 9, "5.01", 'L', ThreeFilters, 0, altrix,          Main,   128,  true,   4000,  4000,  4000, clock3MHz,  false, false, false},
    {10, "3.01", 'C', Integrator,   0, fixedLoop,       Main,   8192, true,   2500,  2500,  2500, clock4MHz,  false, false, false},
    {11, "3.10", 'C', Integrator,   0, registerLoop,    Main,   8192, true,   2500,  2500,  2500, clock3MHz,  false, false, false},
    {13, "1.20", 'F', OneConverter, 0, altrix,          Main,   128,  true,  32000, 32000, 32000, clock1MHz,  false, false, false},
    {14, "1.20", 'D', OneConverter, 0, altrix,          Plover, 128,  true,  32000, 32000, 32000, clock1MHz,  false, false, false},
    {16, "1.50", 'D', ThreeRanges,  0, altrix,          Plover, 128,  true,  32000, 32000, 32000, clock1MHz,  false, false, false},
    {19, "6.05", 'X', ThreeFilters, 0, osprey,          Main,   256,  true,   1000,  1000,  1000, clock12MHz, true,  false, false},
    {20, "6.05", 'L', ThreeFilters, 0, osprey,          Main,   256,  true,   1000,  1000,  1000, clock12MHz, true,  false, true},
    {21, "6.05", 'U', OneConverter, 1, osprey,          Main,   256,  true,   1000,  1000,  1000, clock1MHz,  false, false, false},
    {22, "6.05", 'T', ThreeFilters, 0, osprey,          Main,   256,  true,   1000,  1000,  1000, clock12MHz, true,  false, false},
};
// clang-format on

}

std::span<const Type> AllTypes()
{
    return types;
}

const Type* FindType(std::int32_t number)
{
    const auto* found = std::ranges::find(types, number, &Type::number);
    return found == std::end(types) ? nullptr : found;
}

}
