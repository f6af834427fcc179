#include "tests/control/RecordingLibrary.h"

#include "orvex/ox.h"

#include <sstream>

RecordingLibrary& Library()
{
    static RecordingLibrary library;
    return library;
}

namespace {

void Write(std::ostream& line, const char* text)
{
    line << (text == nullptr ? "null" : text);
}

void Write(std::ostream& line, std::int32_t number)
{
    line << number;
}

template<class Number>
void Write(std::ostream& line, const Number* pointer)
{
    Library().pointers.push_back(pointer);
    if (pointer == nullptr)
        line << "null";
    else
        line << *pointer;
}

std::int32_t Record(const char* name, auto... arguments)
{
    std::ostringstream line;
    Library().pointers.clear();
    [[maybe_unused]] const char* separator = "";
    line << name << '(';
    ((line << separator, Write(line, arguments), separator = ", "), ...);
    line << ')';
    Library().calls.push_back(line.str());
    Library().during();
    return Library().result;
}

const char* RecordQuery(const char* name, const char* key)
{
    Record(name, key);
    return Library().text.c_str();
}

/// The getters show that what they write arrives.
std::int32_t RecordAndFill(const char* name, float* values, int count, std::int32_t index)
{
    const std::int32_t result = Record(name, static_cast<const float*>(values), index);
    for (int i = 0; values != nullptr && i < count; ++i)
        values[i] = 100.0F + static_cast<float>(i);
    return result;
}

}

// clang-format off
const char* OX_GetDeviceInfo(const char* key) { return RecordQuery(__func__, key); }
const char* OX_GetOption(const char* key) { return RecordQuery(__func__, key); }
OX_Result OX_SetOption(const char* key, const char* value) { return Record(__func__, key, value); }
OX_Result OX_IsConnected(void) { return Record(__func__); }
OX_Result OX_KeyPressed(void) { return Record(__func__); }
OX_Result OX_Calibrate(void) { return Record(__func__); }
OX_Result OX_TriggerMeasurement(void) { return Record(__func__); }
OX_Result OX_GetSpectrum(float values[36], int32_t index) { return RecordAndFill(__func__, values, 36, index); }
OX_Result OX_GetTriStimulus(float values[3], int32_t index) { return RecordAndFill(__func__, values, 3, index); }
OX_Result OX_GetDensity(float* density, int32_t index) { return RecordAndFill(__func__, density, 1, index); }
OX_Result OX_SetSubstrate(const float spectrum[36]) { return Record(__func__, spectrum); }
// clang-format on

OX_Result OX_GetDensities(float values[4], int32_t* autoIndex, int32_t index)
{
    const OX_Result result =
        Record(__func__, static_cast<const float*>(values), static_cast<const int32_t*>(autoIndex), index);
    if (autoIndex != nullptr)
        *autoIndex = 3;
    return result;
}
