#pragma once

#include <functional>
#include <string>

namespace Ox {

/// Ctrl-C and a closed standard output in the hands of the program: the first Ctrl-C is asked for here, the second ends
/// the process.
void CatchInterrupts();
bool WasInterrupted();

bool IsStandardErrorTerminal();
bool IsStandardInputTerminal();

/// Does the terminal show true colour, and does the person want colour (NO_COLOR)?
bool ShowsTrueColor();

/// A line on standard error, unless the person wants quiet.
void Tell(const std::string& sentence, bool quiet);

/// Says on a terminal what goes on, as long as it lives; says nothing in a pipe.
class Progress {
public:
    Progress(const std::string& what, bool quiet);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void Update(const std::string& what);

private:
    bool shown;
};

/// What ended a wait.
enum class Answer { Enter, Key, Quit };

/// Waits for Enter, for q and Enter (or the end of the input), Ctrl-C, or for `key` to say that the instrument's key
/// was pressed.
/// @param listens  false: Enter counts for nothing, only the key
Answer Wait(const std::function<bool()>& key, bool listens = true);

}
