#pragma once

#include <string>
#include <string_view>

namespace Ox {

/// Standard output, or a file, behind a buffer. A reader that went away (a closed pipe) is no failure: what comes after
/// is dropped, and IsClosed() says so.
class Output {
public:
    /// @param path  "" or "-" for standard output
    /// @throws Failure: the file cannot be made
    explicit Output(const std::string& path = "");
    ~Output();
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    /// The buffer to append to. Call Pass() now and then.
    std::string& GetText() { return text; }
    void Write(std::string_view piece) { text += piece; }
    /// Hands on the text when there is much of it.
    void Pass();
    /// Hands on all of it.
    /// @throws Failure: the disk is full and the like
    void Flush();

    bool IsTerminal() const;
    bool IsClosed() const { return closed; }

private:
    std::string name;
    std::string text;
    int descriptor;
    bool closed = false;
};

}
