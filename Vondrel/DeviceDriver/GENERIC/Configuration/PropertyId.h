#pragma once

#include <cstdint>
#include <optional>

namespace Vondrel::DeviceDriver::Generic::Configuration {

/// The numbers under which the library keeps what it knows about an instrument and a measurement.
enum PropertyId : std::uint16_t {
#define PROPERTY(id, name, shape, defaultValue, category, store, flags) name = id,
#include "Vondrel/DeviceDriver/GENERIC/Configuration/PropertyTable.inc"
#undef PROPERTY
};

/// The value of PhysicalFilter of an instrument whose filter lets no ultraviolet through.
inline constexpr std::int32_t ultravioletFilter = 130;

/// One row of the table of all properties.
struct PropertyRow {
    /// Type and default length; the real length of a vector is what the stored data has.
    enum class Shape { Long, Float, LongPair, FloatPair, Long128 };
    enum class Category { None, Calibration, Log, Measure, Misc, Reset, Cpld, Firmware };
    enum class Store { CalibrationSection, LogSection, Conditions, Command };
    enum Flags : unsigned {
        NoFlags = 0,
        ModeDependent = 1, ///< each measure mode has its own, besides all of category Measure
        Special = 2,
        Untyped = 4, ///< occurs in containers, but has no type to parse it by
    };

    std::uint16_t id;
    const char* name;
    Shape shape;
    std::optional<int> defaultValue; ///< of every element in the default container; nothing: the id is in none
    Category category;
    Store store;
    unsigned flags;
};

inline constexpr PropertyRow propertyTable[] = {
#define NoDefault std::nullopt
#define PROPERTY(id, name, shape, defaultValue, category, store, flags)                                                \
    {id,                                                                                                               \
     #name,                                                                                                            \
     PropertyRow::Shape::shape,                                                                                        \
     defaultValue,                                                                                                     \
     PropertyRow::Category::category,                                                                                  \
     PropertyRow::Store::store,                                                                                        \
     PropertyRow::flags},
#include "Vondrel/DeviceDriver/GENERIC/Configuration/PropertyTable.inc"
#undef PROPERTY
#undef NoDefault
};

}
