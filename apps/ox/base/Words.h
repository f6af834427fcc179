#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Ox {

using Words = std::vector<std::string>;

/// The words, with ", " between them.
std::string Join(const Words& words, std::string_view between = ", ");

/// The words of a list, without the separators; empty ones are left out.
Words Split(std::string_view list, char separator);

std::string LowerCase(std::string_view text);
std::string UpperCase(std::string_view text);

/// The word that a refused one was probably meant to be, "" if none comes near. Case counts for nothing.
std::string Nearest(std::string_view word, const Words& accepted);

/// "X is no WHAT; accepted are A, B, C. Did you mean B?"
std::string NotAccepted(std::string_view word, std::string_view what, const Words& accepted);

/// The place of the word among those accepted.
/// @throws Failure "is no WHAT; accepted are ...", with the status of a refused value
std::size_t Choose(std::string_view word, std::string_view what, const Words& accepted);

}
