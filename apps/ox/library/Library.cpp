#include "apps/ox/library/Library.h"

#include "apps/ox/base/Failure.h"

#include <dlfcn.h>

namespace Ox {

namespace {

void* Find(void* handle, const char* name)
{
    void* const call = dlsym(handle, name);
    if (call == nullptr)
        throw Failure(Status::Failed, std::string("the library does not belong to this ox: it lacks ") + name);
    return call;
}

}

Library::Library(Kind kind)
{
    const char* const file = kind == Kind::Bench ? ORVEX_VIRTUAL_SONAME : ORVEX_SONAME;
    // It stays loaded until the process ends, as an application's own.
    void* const handle = dlopen(file, RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr)
        throw Failure(Status::Failed, std::string("the library cannot be loaded: ") + dlerror());
#define OX_FIND_CALL(name) this->name = reinterpret_cast<decltype(&::name)>(Find(handle, #name));
    OX_CALLS_OF_LIBRARY(OX_FIND_CALL)
    if (kind == Kind::Bench) {
        OX_CALLS_OF_BENCH(OX_FIND_CALL)
    }
#undef OX_FIND_CALL
}

}
