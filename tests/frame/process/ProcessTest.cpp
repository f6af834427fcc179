// An application whose process ends, or forks, while the library is in use.
//   process_linked CASE             linked to the library
//   process_host CASE LIBRARY       opens the library by its path
// Cases: atexit, global, fork-exit, fork-reset. Exit code 0 if all went well.

#include "orvex/ox.h"
#include "virtual/orvex-virtual.h"

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <string>
#include <string_view>
#include <sys/wait.h>
#include <unistd.h>

namespace {

#ifdef ORVEX_TEST_LINKED
#define LIBRARY_CALL(name) &::name
#else
#define LIBRARY_CALL(name) reinterpret_cast<decltype(&::name)>(::dlsym(handle, #name))
#endif

struct Library {
    explicit Library([[maybe_unused]] void* handle)
        : getOption(LIBRARY_CALL(OX_GetOption)),
          setOption(LIBRARY_CALL(OX_SetOption)),
          isConnected(LIBRARY_CALL(OX_IsConnected)),
          calibrate(LIBRARY_CALL(OX_Calibrate)),
          measure(LIBRARY_CALL(OX_TriggerMeasurement)),
          getTriStimulus(LIBRARY_CALL(OX_GetTriStimulus)),
          attach(LIBRARY_CALL(oxv_attach)),
          trace(LIBRARY_CALL(oxv_trace)),
          settle(LIBRARY_CALL(oxv_settle))
    {
    }

    decltype(&::OX_GetOption) getOption;
    decltype(&::OX_SetOption) setOption;
    decltype(&::OX_IsConnected) isConnected;
    decltype(&::OX_Calibrate) calibrate;
    decltype(&::OX_TriggerMeasurement) measure;
    decltype(&::OX_GetTriStimulus) getTriStimulus;
    decltype(&::oxv_attach) attach;
    decltype(&::oxv_trace) trace;
    decltype(&::oxv_settle) settle;
};

const Library* library = nullptr;
oxv_device device = 0;
const char* version = nullptr; ///< returned by the last call of OX_GetOption before the end

constexpr const char* versionText = "Version 3.1.0  Build 103";

void Check(bool isRight, const char* what)
{
    if (isRight)
        return;
    std::fprintf(stderr, "wrong: %s (%s)\n", what, library->getOption("LastError"));
    ::_exit(1);
}

void Measure()
{
    std::array<float, 3> lab{};
    Check(library->calibrate() == OX_NoError, "calibrate");
    Check(library->measure() == OX_NoError, "measure");
    Check(library->setOption("ColorSpaceDescription.Type", "CIELab") == OX_NoError, "colour space");
    Check(library->getTriStimulus(lab.data(), 0) == OX_NoError && lab[0] > 90, "colour of the tile");
}

/// All that an application may ask for at any time.
void UseLate()
{
    Check(std::strcmp(version, versionText) == 0, "text that was returned earlier");
    Check(library->isConnected() == OX_NoError, "connection");
    Measure();
    Check(library->setOption("DeviceType", "OrvexDisplay") == OX_NoError, "other device");
    Check(library->calibrate() == OX_DeviceNotConnected, "other device is not there");
    Check(library->setOption("DeviceType", "Orvex") == OX_NoError, "first device");
    Check(library->setOption("Colorimetric.Observer", "nobody") == OX_InternalError, "refusal");
    version = library->getOption("Version");
}

int CountLines(std::string_view start)
{
    std::string text(static_cast<std::size_t>(library->trace(device, "", nullptr, 0)) + 1, '\0');
    library->trace(device, "", text.data(), text.size());
    text.insert(text.begin(), '\n');
    int count = 0;
    for (auto at = text.find(start); at != std::string::npos; at = text.find(start, at + 1))
        ++count;
    return count;
}

struct AtTheEnd {
    bool isUsed = false;
    ~AtTheEnd()
    {
        if (isUsed)
            UseLate();
    }
} global;

bool isLastChecked = false;
bool isHost = false;

/// Behind everything that atexit and global objects do. A library that was opened late has cleared up by then, each
/// time anew; one that was linked does so still later.
[[gnu::destructor]] void LastOfAll()
{
    if (!isLastChecked)
        return;
    const int opened = CountLines("\nopen 0");
    Check(opened == (isHost ? 2 : 1) && CountLines("\nclose 0") == (isHost ? 2 : 0), "connections");
    UseLate();
}

/// @return the child's exit code
int InChild(void (*work)())
{
    const pid_t child = ::fork();
    if (child == 0) {
        work();
        std::exit(0);
    }
    int status = 0;
    for (int i = 0; i < 1000; ++i) {
        if (::waitpid(child, &status, WNOHANG) == child)
            return status;
        ::usleep(10000);
    }
    ::kill(child, SIGKILL); // it waits for threads that it does not have
    ::waitpid(child, &status, 0);
    return -1;
}

void Fork(void (*work)())
{
    const int opened = CountLines("\nopen");
    // The bench has no care for forks: a thread that is at work on it just then takes its lock along.
    bool hasEnded = false;
    for (int attempt = 0; attempt < 3 && !hasEnded; ++attempt) {
        Check(library->settle(10000) == OXV_OK, "no thread is at work on the bench");
        ::usleep(50000);
        hasEnded = InChild(work) == 0;
    }
    Check(hasEnded, "child");
    Check(CountLines("\nopen") == opened && CountLines("\nclose") == 0, "the parent's connection");
    Measure();
}

int Run(std::string_view name)
{
    device = library->attach("spectrophotometer", "usb");
    Measure();
    version = library->getOption("Version");
    global.isUsed = name == "global";
    isLastChecked = name == "atexit" || name == "global";
    if (name == "fork-exit")
        Fork([] {});
    if (name == "fork-reset")
        Fork([] {
            Check(library->setOption("Reset", "All") == OX_NoError, "reset");
            Check(std::strcmp(library->getOption("Version"), versionText) == 0, "version");
        });
    return 0;
}

}

int main(int count, char** arguments)
{
    if (std::string_view(arguments[1]) == "atexit")
        std::atexit(UseLate);
    void* const handle = count > 2 ? ::dlopen(arguments[2], RTLD_NOW) : nullptr;
    if (count > 2 && handle == nullptr)
        return 2;
    isHost = handle != nullptr;
    static const Library calls(handle);
    library = &calls;
    return Run(arguments[1]);
}
