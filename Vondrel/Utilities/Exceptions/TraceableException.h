#pragma once

#include <atomic>
#include <string>
#include <utility>
#include <vector>

namespace Vondrel::Utilities::Exceptions {

/// Root of the tracing side of the exception family: a list of locations, the place of the throw first, the outermost
/// frame that the exception passed last. An object belongs to the thread that caught it.
class TraceableException {
public:
    using TraceList = std::vector<std::string>;

    virtual ~TraceableException() = default;
    virtual const char* what() const noexcept = 0;

    /// The list itself, so that a frame on the way up can append to it.
    TraceList& Trace() noexcept { return trace; }
    const TraceList& Trace() const noexcept { return trace; }

    /// Whether every `what` of the family gives the trace behind the message. False at first; meant to be set once.
    static void SetTraceInWhat(bool on) noexcept { traceInWhat.store(on, std::memory_order_relaxed); }
    static bool TraceInWhat() noexcept { return traceInWhat.load(std::memory_order_relaxed); }

protected:
    TraceableException() = default;
    explicit TraceableException(std::string location) { trace.push_back(std::move(location)); }
    TraceableException(const TraceableException&) = default;
    TraceableException(TraceableException&&) = default;
    TraceableException& operator=(const TraceableException&) = default;
    TraceableException& operator=(TraceableException&&) = default;

private:
    inline static std::atomic<bool> traceInWhat = false;

    TraceList trace;
};

/// The tracing side of an exception that has a plain message of its own.
class TraceableExceptionAdapter : public TraceableException {
public:
    explicit TraceableExceptionAdapter(std::string location) : TraceableException(std::move(location)) { }

    const char* what() const noexcept override { return PlainWhat(); }

    /// The message without the trace.
    virtual const char* PlainWhat() const noexcept = 0;
};

}
