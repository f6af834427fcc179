#include "apps/ox/base/Terminal.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <poll.h>
#include <string_view>
#include <unistd.h>

namespace Ox {

namespace {

constexpr int pollMilliseconds = 50;

volatile std::sig_atomic_t interrupted = 0;

extern "C" void OnInterrupt(int)
{
    interrupted = 1;
}

void WriteToStandardError(std::string_view text)
{
    std::fwrite(text.data(), 1, text.size(), stderr);
    std::fflush(stderr);
}

/// What stands on the standard input, up to the end of a line.
Answer ReadAnswer()
{
    char text[256];
    const ssize_t size = read(STDIN_FILENO, text, 1);
    if (size <= 0)
        return Answer::Quit;
    std::string line;
    for (char letter = text[0]; letter != '\n'; letter = text[0]) {
        line += letter;
        if (read(STDIN_FILENO, text, 1) <= 0)
            break;
    }
    return line == "q" || line == "Q" ? Answer::Quit : Answer::Enter;
}

}

void CatchInterrupts()
{
    struct sigaction action;
    std::memset(&action, 0, sizeof action);
    action.sa_handler = OnInterrupt;
    action.sa_flags = static_cast<int>(SA_RESTART | SA_RESETHAND);
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

bool WasInterrupted()
{
    return interrupted != 0;
}

bool IsStandardErrorTerminal()
{
    return isatty(STDERR_FILENO) == 1;
}

bool IsStandardInputTerminal()
{
    return isatty(STDIN_FILENO) == 1;
}

bool ShowsTrueColor()
{
    const char* const unwanted = std::getenv("NO_COLOR");
    const char* const colors = std::getenv("COLORTERM");
    const bool hasTrueColor =
        colors != nullptr && (std::strcmp(colors, "truecolor") == 0 || std::strcmp(colors, "24bit") == 0);
    return hasTrueColor && (unwanted == nullptr || *unwanted == '\0') && isatty(STDOUT_FILENO) == 1;
}

void Tell(const std::string& sentence, bool quiet)
{
    if (!quiet)
        WriteToStandardError(sentence + "\n");
}

Progress::Progress(const std::string& what, bool quiet) : shown(!quiet && IsStandardErrorTerminal())
{
    Update(what);
}

Progress::~Progress()
{
    if (shown)
        WriteToStandardError("\r\x1b[K");
}

void Progress::Update(const std::string& what)
{
    if (shown)
        WriteToStandardError("\r\x1b[K" + what + " ...");
}

Answer Wait(const std::function<bool()>& key, bool listens)
{
    while (!WasInterrupted()) {
        if (key())
            return Answer::Key;
        pollfd input = {STDIN_FILENO, POLLIN, 0};
        const int ready = poll(&input, 1, pollMilliseconds);
        if (ready <= 0)
            continue;
        const Answer answer = ReadAnswer();
        if (answer == Answer::Quit || listens)
            return answer;
    }
    return Answer::Quit;
}

}
