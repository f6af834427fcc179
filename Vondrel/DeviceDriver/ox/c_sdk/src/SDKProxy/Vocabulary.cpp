#include "Vondrel/DeviceDriver/ox/c_sdk/src/SDKProxy/Vocabulary.h"

#include "Vondrel/Utilities/Exceptions/SDKError.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"
#include "Vondrel/Utilities/Tools/LexicalCast.h"
#include "orvex/ox.h"

#include <algorithm>
#include <iterator>

namespace OrvexSDK {

using Vondrel::Utilities::Tools::lexical_cast;

namespace {

struct KeyRow {
    const char* key;
    unsigned short propertyId;
};

constexpr KeyRow deviceDriverKeys[] = {
    {"SerialNumber", 1211}, {"PhysicalFilter", 3012}, {"LastCalibrationTime", 10020}, {"LastCalibrationCounter", 10021},
    {"AdaptiveMode", 2011},
};

struct ModeRow {
    std::int32_t mode;
    const char* text;
};

constexpr ModeRow measureModes[] = {
    {SingleReflectance, "SingleReflectance"},
    {ScanningReflectance, "ScanningReflectance"},
    {SingleEmission, "SingleEmission"},
    {SingleAmbientLight, "SingleAmbientLight"},
    {ScanningAmbientLight, "ScanningAmbientLight"},
};

struct MessageRow {
    unsigned short device;
    std::int32_t application;
};

constexpr MessageRow deviceMessages[] = {
    {20011, 0}, // key pressed
    {20010, 1}, // removed
};

/// The row whose field equals a value, or null.
template<class Row, std::size_t size, class Field, class Value>
const Row* Find(const Row (&table)[size], Field Row::*field, const Value& value)
{
    const auto row = std::find_if(std::begin(table), std::end(table), [&](const Row& r) { return value == r.*field; });
    return row == std::end(table) ? nullptr : row;
}

}

unsigned short TranslateKey(const std::string& key)
try {
    if (const KeyRow* const row = Find(deviceDriverKeys, &KeyRow::key, key))
        return row->propertyId;
    throw SDKError(OX_InvalidParameter, "unknown key " + key, THROW_LOCATION("", "TranslateKey"));
}
TRACE_GUARD("", "TranslateKey")

std::int32_t TranslateMeasureMode(const std::string& mode)
try {
    if (const ModeRow* const row = Find(measureModes, &ModeRow::text, mode))
        return row->mode;
    throw SDKError(OX_InvalidParameter, "No such measure interface " + mode,
                   THROW_LOCATION("", "TranslateMeasureMode(string2key)"));
}
TRACE_GUARD("", "TranslateMeasureMode(string2key)")

std::string TranslateMeasureMode(std::int32_t mode)
try {
    if (const ModeRow* const row = Find(measureModes, &ModeRow::mode, mode))
        return row->text;
    throw SDKError(OX_InvalidParameter, "Unknown measure mode " + lexical_cast<std::string>(mode),
                   THROW_LOCATION("", "TranslateMeasureMode(key2string)"));
}
TRACE_GUARD("", "TranslateMeasureMode(key2string)")

std::int32_t TranslateDeviceMessage(unsigned short message)
try {
    if (const MessageRow* const row = Find(deviceMessages, &MessageRow::device, message))
        return row->application;
    throw SDKError(OX_InvalidParameter, "Unknown device message " + lexical_cast<std::string>(message),
                   THROW_LOCATION("", "TranslateDeviceMessage"));
}
TRACE_GUARD("", "TranslateDeviceMessage")

bool IsDeviceDriverKey(const std::string& key)
{
    return Find(deviceDriverKeys, &KeyRow::key, key) != nullptr;
}

}
