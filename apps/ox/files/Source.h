#pragma once

#include <cstdint>
#include <streambuf>
#include <string>
#include <string_view>
#include <vector>

namespace Ox {

/// A file, or the standard input, read once from its start to its end.
class Source : public std::streambuf {
public:
    static constexpr std::size_t longestLine = 1 << 24;

    /// @param path  "-" for the standard input
    /// @throws Failure: it cannot be read
    explicit Source(const std::string& path);
    ~Source() override;
    Source(const Source&) = delete;
    Source& operator=(const Source&) = delete;

    const std::string& GetName() const { return name; }
    /// The number of the line that NextLine() gave last, from 1.
    std::size_t GetLine() const { return line; }

    /// What comes next, without taking it: up to 64 KiB, less at the end only.
    std::string_view Peek();
    /// Takes a line, without its end (LF or CRLF); the text lives until the next call.
    /// @return false: there is none
    /// @throws Failure: a line is longer than longestLine
    bool NextLine(std::string_view& text);

    /// @throws Failure "FILE:LINE: what", without a line where none was taken
    [[noreturn]] void Refuse(const std::string& what) const;

protected:
    int_type underflow() override;

private:
    /// Reads on behind what is buffered.
    /// @return false: that was the end
    bool Fill();

    std::string name;
    int descriptor;
    std::size_t line = 0;
    std::vector<char> buffer;
    bool ended = false;
};

}
