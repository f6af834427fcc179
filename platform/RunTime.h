#pragma once

#include <cxxabi.h>

#include <cstdlib>
#include <memory>
#include <string>

/// What the run time of the language offers beyond the language itself.
namespace Platform {

/// To be called in a handler of everything, `catch (...)`: the end of a thread by force (pthread_exit, pthread_cancel)
/// goes on its way; anything else may be swallowed.
inline void PassForcedUnwind()
{
    try {
        throw;
    } catch (abi::__forced_unwind&) {
        throw;
    } catch (...) {
    }
}

/// A type's name for people, from that of std::type_info.
inline std::string ReadableName(const char* name)
{
    int status = 0;
    const std::unique_ptr<char, void (*)(void*)> readable(abi::__cxa_demangle(name, nullptr, nullptr, &status),
                                                          std::free);
    return status == 0 && readable ? readable.get() : name;
}

}
