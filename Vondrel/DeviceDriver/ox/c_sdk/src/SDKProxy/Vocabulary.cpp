#include "Vondrel/DeviceDriver/ox/c_sdk/src/SDKProxy/Vocabulary.h"

#include "Vondrel/DeviceDriver/GENERIC/EventListener.h"
#include "Vondrel/Utilities/Exceptions/SDKError.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"
#include "Vondrel/Utilities/Tools/LexicalCast.h"
#include "orvex/ox.h"

#include <algorithm>
#include <iterator>

namespace OrvexSDK {

using Vondrel::Utilities::Tools::lexical_cast;

namespace {

struct MessageRow {
    unsigned short device;
    std::int32_t application;
};

constexpr MessageRow deviceMessages[] = {
    {Vondrel::DeviceDriver::Generic::buttonPressedMessage, 0},
    {Vondrel::DeviceDriver::Generic::deviceGoneMessage, 1},
};

/// The row whose field equals a value, or null.
template<class Row, std::size_t size, class Field, class Value>
const Row* Find(const Row (&table)[size], Field Row::*field, const Value& value)
{
    const auto row = std::find_if(std::begin(table), std::end(table), [&](const Row& r) { return value == r.*field; });
    return row == std::end(table) ? nullptr : row;
}

}

const OptionRow* FindOption(std::string_view key)
{
    return Find(optionTable, &OptionRow::key, key);
}

const ModeRow* FindMode(std::int32_t mode)
{
    return Find(modeTable, &ModeRow::mode, mode);
}

const ModeRow* FindMode(std::string_view text)
{
    return Find(modeTable, &ModeRow::text, text);
}

std::string ListModes(const std::function<bool(const ModeRow&)>& can)
{
    std::string list;
    for (const auto needs : {ModeRow::Needs::Nothing, ModeRow::Needs::Reflectance, ModeRow::Needs::AmbientHead})
        for (const ModeRow& row : modeTable)
            if (row.needs == needs && can(row))
                list += (list.empty() ? "" : ";") + std::string(row.text);
    return list;
}

unsigned short TranslateKey(const std::string& key)
try {
    if (IsDeviceDriverKey(key))
        return FindOption(key)->property;
    throw SDKError(OX_InvalidParameter, "unknown key " + key, THROW_LOCATION("", "TranslateKey"));
}
TRACE_GUARD("", "TranslateKey")

std::int32_t TranslateMeasureMode(const std::string& mode)
try {
    if (const ModeRow* const row = FindMode(mode))
        return row->mode;
    throw SDKError(OX_InvalidParameter, "No such measure interface " + mode,
                   THROW_LOCATION("", "TranslateMeasureMode(string2key)"));
}
TRACE_GUARD("", "TranslateMeasureMode(string2key)")

std::string TranslateMeasureMode(std::int32_t mode)
try {
    if (const ModeRow* const row = FindMode(mode))
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
    const OptionRow* const row = FindOption(key);
    return row != nullptr && row->property != 0;
}

}
