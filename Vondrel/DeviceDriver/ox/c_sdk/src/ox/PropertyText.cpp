#include "Vondrel/DeviceDriver/ox/c_sdk/src/ox/PropertyText.h"

#include "Vondrel/Utilities/Tools/LexicalCast.h"

#include <algorithm>
#include <cstdint>
#include <vector>

namespace OrvexSDK {

using Vondrel::DeviceDriver::Generic::Configuration::Property;
using Vondrel::Utilities::Tools::lexical_cast;

namespace {

template<class T>
std::vector<T> ParseList(const std::string& text)
{
    std::vector<T> list;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find(' ', begin), text.size());
        if (end > begin)
            list.push_back(lexical_cast<T>(text.substr(begin, end - begin)));
        begin = end + 1;
    }
    return list;
}

template<class T>
std::string FormatList(const std::vector<T>& list)
{
    std::string text;
    for (const T element : list)
        text += lexical_cast<std::string>(element) + ' ';
    return text;
}

}

Property PropertyFromText(const std::string& text)
{
    const bool isList = text.find(' ') != std::string::npos;
    const bool isFloat = text.find('.') != std::string::npos;
    if (isList)
        return isFloat ? Property(ParseList<float>(text)) : Property(ParseList<std::int32_t>(text));
    return isFloat ? Property(lexical_cast<float>(text)) : Property(lexical_cast<std::int32_t>(text));
}

std::string TextFromProperty(const Property& property)
{
    switch (property.GetMemberType()) {
    case Property::LongScalar:
        return lexical_cast<std::string>(property.AsLong());
    case Property::LongVector:
        return FormatList(property.AsLongVector());
    case Property::FloatScalar:
        return lexical_cast<std::string>(property.AsFloat());
    case Property::FloatVector:
        return FormatList(property.AsFloatVector());
    case Property::NoValue:
        break;
    }
    return "";
}

}
