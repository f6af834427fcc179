#pragma once

#include "orvex/zelcal.h"

#include <cstdint>

/// The instrument's commands. One command goes out, one reply comes back; there is no checksum.
namespace Toolkit {

/// How long a command may take, and what becomes of the port's reply limit afterwards.
enum class Patience : std::uint8_t {
    reply,                ///< the limit as it stands
    measurement,          ///< at least the integration time; the earlier limit comes back
    measurementThenThree, ///< the same; three seconds are set afterwards
    minute                ///< 60 s; the earlier limit comes back
};

struct Command {
    std::uint8_t code;
    std::uint8_t length; ///< bytes of the frame behind its length byte: the code and the parameters
    Patience patience = Patience::reply;
    std::uint8_t tries = 1; ///< exchanges until the echo is the code; the last reply is taken as it is
};

/// A code has a meaning only together with the family of the open instrument: codes 16 to 23 mean several things.
namespace Commands {
inline constexpr Command version{0, 1};
inline constexpr Command channel[3] = {
    {1, 1, Patience::measurement}, {2, 1, Patience::measurementThenThree}, {3, 1, Patience::measurementThenThree}};
inline constexpr Command period{4, 1};
inline constexpr Command setIntegrationTime{5, 5};
inline constexpr Command getIntegrationTime{6, 1};
inline constexpr Command writeCell{7, 3};
inline constexpr Command readCell{8, 2, Patience::reply, 5};
inline constexpr Command period25uSec{9, 1};
inline constexpr Command periodHighRes{9, 1, Patience::reply, 5};
inline constexpr Command periodOf[3] = {
    {10, 2, Patience::minute}, {11, 2, Patience::minute}, {12, 2, Patience::minute}};
inline constexpr Command edges{13, 4, Patience::minute};

// wide multipliers: types 19 to 22
inline constexpr Command widePeriodOf[3] = {
    {16, 3, Patience::minute}, {17, 3, Patience::minute}, {18, 3, Patience::minute}};
inline constexpr Command wideChannel{19, 2, Patience::measurement};
inline constexpr Command setWideEdges{20, 4};
inline constexpr Command getWideEdges{21, 2};
inline constexpr Command wideEdges{22, 1, Patience::minute};

// time-limited edges: types 4 and 9 of some revisions
inline constexpr Command limitedEdges{16, 5, Patience::minute};
inline constexpr Command limitedGreen{17, 1, Patience::measurementThenThree};
inline constexpr Command limitedBlue{18, 1, Patience::measurementThenThree};

// Tenrix
inline constexpr Command setPLLPeriod{17, 5};
inline constexpr Command getPLLPeriod{18, 1};
inline constexpr Command writeExtendedCell{19, 4};
inline constexpr Command readExtendedCell{20, 3};
inline constexpr Command setDark[3] = {{21, 5}, {22, 5}, {23, 5}};
inline constexpr Command setDataFormat{26, 2};
inline constexpr Command getDataFormat{27, 1};
inline constexpr Command setTriggerMode{28, 2};
inline constexpr Command getTriggerMode{29, 1};
inline constexpr Command setRegisterC{30, 2};
inline constexpr Command getRegisterC{31, 1};
inline constexpr Command setRegisterN{32, 3};
inline constexpr Command getRegisterN{33, 1};
inline constexpr Command setRegisterR{34, 3};
inline constexpr Command getRegisterR{35, 1};
inline constexpr Command lockDetect{36, 1};
}

/// The echo and the result. Cells that did not arrive hold 0xFF.
struct Reply {
    std::uint8_t bytes[9];
    std::uint32_t length;
};

/// One exchange, with the command's time limit and its retries. `parameters` are `command.length` - 1 bytes.
std::int32_t Exchange(CalDataBlock* device, const Command& command, const std::uint8_t* parameters, Reply* reply);

/// An exchange that answers the echo alone.
std::int32_t Send(CalDataBlock* device, const Command& command, const std::uint8_t* parameters);

/// An exchange whose result is a big-endian number behind the echo.
std::int32_t ReadNumber(CalDataBlock* device, const Command& command, const std::uint8_t* parameters,
                        std::uint32_t* value);

inline std::uint8_t HighByte(std::uint16_t value)
{
    return static_cast<std::uint8_t>(value >> 8);
}
inline std::uint8_t LowByte(std::uint16_t value)
{
    return static_cast<std::uint8_t>(value & 0xFFU);
}

/// The four bytes of a number, most significant first.
struct LongBytes {
    std::uint8_t bytes[4];
};
constexpr LongBytes ToBytes(std::uint32_t value)
{
    return {{static_cast<std::uint8_t>(value >> 24), static_cast<std::uint8_t>((value >> 16) & 0xFFU),
             static_cast<std::uint8_t>((value >> 8) & 0xFFU), static_cast<std::uint8_t>(value & 0xFFU)}};
}

}
