#include "apps/ox/base/Words.h"

#include "apps/ox/base/Failure.h"

#include <algorithm>
#include <numeric>

namespace Ox {

namespace {

char Lower(char letter)
{
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

char Upper(char letter)
{
    return letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A') : letter;
}

/// Letters that must be put in, taken out or exchanged to make one word of the other.
std::size_t EditDistance(std::string_view a, std::string_view b)
{
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < a.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i + 1;
        for (std::size_t j = 0; j < b.size(); ++j) {
            const std::size_t exchanged = diagonal + (a[i] == b[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({exchanged, row[j] + 1, diagonal + 1});
        }
    }
    return row.back();
}

}

std::string Join(const Words& words, std::string_view between)
{
    std::string text;
    for (const std::string& word : words) {
        text += &word == words.data() ? std::string_view() : between;
        text += word;
    }
    return text;
}

Words Split(std::string_view list, char separator)
{
    Words words;
    while (!list.empty()) {
        const auto end = std::min(list.find(separator), list.size());
        if (end > 0)
            words.emplace_back(list.substr(0, end));
        list.remove_prefix(std::min(end + 1, list.size()));
    }
    return words;
}

std::string LowerCase(std::string_view text)
{
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(), Lower);
    return lower;
}

std::string UpperCase(std::string_view text)
{
    std::string upper(text);
    std::transform(upper.begin(), upper.end(), upper.begin(), Upper);
    return upper;
}

std::string Nearest(std::string_view word, const Words& accepted)
{
    const std::string wanted = LowerCase(word.substr(0, 100));
    std::string nearest;
    std::size_t least = std::max<std::size_t>(2, wanted.size() / 2) + 1;
    for (const std::string& candidate : accepted) {
        const std::string lower = LowerCase(candidate);
        const bool contained = wanted.size() > 1 && lower.find(wanted) != std::string::npos;
        const std::size_t distance =
            contained ? std::min<std::size_t>(1, EditDistance(wanted, lower)) : EditDistance(wanted, lower);
        if (distance < least && distance < candidate.size()) {
            least = distance;
            nearest = candidate;
        }
    }
    return nearest;
}

std::string NotAccepted(std::string_view word, std::string_view what, const Words& accepted)
{
    std::string sentence =
        "\"" + std::string(word) + "\" is no " + std::string(what) + "; accepted are " + Join(accepted);
    const std::string nearest = Nearest(word, accepted);
    return nearest.empty() ? sentence : sentence + ". Did you mean " + nearest + "?";
}

std::size_t Choose(std::string_view word, std::string_view what, const Words& accepted)
{
    const auto found = std::find(accepted.begin(), accepted.end(), word);
    if (found == accepted.end())
        throw Failure(Status::Refused, NotAccepted(word, what, accepted));
    return static_cast<std::size_t>(found - accepted.begin());
}

}
