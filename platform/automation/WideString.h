#pragma once

#include "platform/automation/Types.h"

#include <string>
#include <string_view>

/// Texts of the automation boundary. The block of a BSTR comes from malloc and begins eight bytes before the text: four
/// that are not used and four with the length, as a 64-bit platform of the services lays them out. A host in the same
/// process may make and release them by that rule.
namespace Platform::Automation {

/// @param text    `length` units; null leaves the new text zero
/// @return null if there is no memory for it
BSTR SysAllocStringLen(const OLECHAR* text, UINT length) noexcept;

/// @param text  ends with a zero unit; null gives null
BSTR SysAllocString(const OLECHAR* text) noexcept;

void SysFreeString(BSTR text) noexcept;

/// @return units, the final zero not counted; 0 for null
UINT SysStringLen(const OLECHAR* text) noexcept;

/// @return bytes, the final zero not counted; 0 for null
UINT SysStringByteLen(const OLECHAR* text) noexcept;

/// The text in the multi-byte encoding of the exported calls, UTF-8. What has no counterpart there, a zero unit inside
/// and half of a surrogate pair, becomes '?', so that the text is never cut short. Null gives the empty text.
std::string ToAnsi(const OLECHAR* text);

/// The wide form of a text in UTF-8. Each byte that is no valid UTF-8 becomes '?'.
/// @throws std::bad_alloc
BSTR FromAnsi(std::string_view text);

/// A text that is released with its owner.
class OwnedString {
public:
    explicit OwnedString(BSTR owned = nullptr) noexcept : text(owned) { }
    ~OwnedString() { SysFreeString(text); }
    OwnedString(const OwnedString&) = delete;
    OwnedString& operator=(const OwnedString&) = delete;

    BSTR Get() const noexcept { return text; }
    BSTR* Address() noexcept { return &text; }
    std::u16string_view View() const noexcept { return {text, SysStringLen(text)}; }

private:
    BSTR text;
};

}
