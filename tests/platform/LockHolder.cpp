// Holds a named lock until its standard input is closed: the other process of named_lock_test.
//   lock_holder NAME        acquires, writes "held", waits for the end of its input, gives back
//   lock_holder NAME fork   likewise with a child that lives on until the end of the input, and exits at once

#include "platform/NamedLock.h"

#include <cstdio>
#include <cstring>
#include <unistd.h>

namespace {

void WaitForEndOfInput()
{
    char byte;
    while (::read(STDIN_FILENO, &byte, 1) > 0) { }
}

}

int main(int count, char** arguments)
{
    const auto lock = Platform::NamedLock::Make(arguments[1], true);
    if (!lock || lock->Acquire(10000) != Platform::Waitable::Outcome::acquired)
        return 1;
    const bool forks = count > 2 && std::strcmp(arguments[2], "fork") == 0;
    if (forks && ::fork() == 0) {
        ::close(STDOUT_FILENO);
        WaitForEndOfInput();
        ::_exit(0);
    }
    std::puts("held");
    std::fflush(stdout);
    if (forks)
        ::_exit(0); // without giving back
    WaitForEndOfInput();
    return lock->Release() ? 0 : 1;
}
