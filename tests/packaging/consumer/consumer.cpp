// consumer.cpp - an application in C++: its own exception crosses the library and arrives whole.
#include <cstdio>
#include <cstring>
#include <orvex/ox.h>

namespace {

struct Refused : OXSDK::Exception {
    explicit Refused(int32_t theCode) : code(theCode) { }
    int32_t code;
};

}

int main(int count, char** arguments)
{
    OX_RegisterErrorHandler([](const char*, int32_t code, const char*) { throw Refused(code); });
    try {
        OX_SetOption("DeviceType", "Abacus");
        return 1;
    } catch (const OXSDK::Exception& e) {
        if (static_cast<const Refused&>(e).code != OX_NotAvailable)
            return 2;
    }
    OX_RegisterErrorHandler([](const char*, int32_t, const char*) { throw 42; });
    if (OX_SetOption("DeviceType", "Abacus") != OX_NotAvailable)
        return 3;
    std::printf("C++, %s library: %s\n", count > 1 ? arguments[1] : "?", OX_GetOption("Version"));
    return 0;
}
