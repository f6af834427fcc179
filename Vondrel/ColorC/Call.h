#pragma once

#include "orvex/color.h"

#include <cstddef>
#include <cstdint>
#include <exception>
#include <initializer_list>
#include <limits>
#include <new>

/// What every exported call of the room is made of: its arguments checked, its failure as a code and the thread's text.
namespace Vondrel::ColorC {

/// A call that cannot be carried out.
struct Refusal {
    std::int32_t code;
    const char* text;
};

void ClearError() noexcept;
/// Keeps a text for oxc_error, cut where it is too long.
/// @return the code
std::int32_t KeepError(std::int32_t code, const char* text) noexcept;
std::int32_t KeepError(std::int32_t code, const char* text, std::size_t row) noexcept;

/// The first row without a result.
class Rows {
public:
    void Fail(std::size_t row, std::int32_t code, const char* text) noexcept
    {
        if (failure.code == OX_NoError || row < first) {
            failure = {code, text};
            first = row;
        }
    }
    /// The code of the call; keeps its text.
    std::int32_t Result() const noexcept
    {
        return failure.code == OX_NoError ? OX_NoError : KeepError(failure.code, failure.text, first);
    }

private:
    Refusal failure{OX_NoError, ""};
    std::size_t first = 0;
};

inline constexpr const char* notFinite = "not a finite number";
inline constexpr const char* noResult = "no result";
inline constexpr const char* noPaper = "no paper set";
inline constexpr const char* noWhite = "Illumination gives no white point";
inline constexpr float noNumber = std::numeric_limits<float>::quiet_NaN(); ///< what a row without a result becomes

/// Runs the operation of a call.
template<typename Operation>
std::int32_t Call(Operation operation) noexcept
{
    ClearError();
    try {
        return operation();
    } catch (const Refusal& refusal) {
        return KeepError(refusal.code, refusal.text);
    } catch (const std::bad_alloc&) {
        return KeepError(OX_InternalError, "out of memory");
    } catch (const std::exception& e) {
        return KeepError(OX_InternalError, e.what());
    } catch (...) {
        return KeepError(OX_InternalError, "unknown failure");
    }
}

/// @throws Refusal  one of the pointers is null
template<typename... Pointer>
void RequireNonNull(Pointer... pointers)
{
    const bool isNull = ((pointers == nullptr) || ...);
    if (isNull)
        throw Refusal{OX_InvalidParameter, "parameter must not be null"};
}

/// An array of rows of a call.
struct Array {
    const void* data;
    std::size_t rowSize; ///< elements of 4 bytes
};

/// Checks arrays of `count` rows: there, and an output apart from an input but where it is the input itself, with rows
/// of the same size.
/// @throws Refusal
void CheckArrays(std::size_t count, std::initializer_list<Array> inputs, std::initializer_list<Array> outputs);

/// Whether none of the numbers is infinite or NaN.
bool AllFinite(const float* values, std::size_t count) noexcept;

}
