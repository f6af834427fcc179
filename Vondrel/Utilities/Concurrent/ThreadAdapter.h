#pragma once

namespace Vondrel::Utilities::Concurrent {

/// What a thread runs.
class ThreadAdapterBase {
public:
    virtual void Run() = 0;
    virtual ~ThreadAdapterBase() = default;
};

/// Runs a function with an argument.
class SimpleThreadAdapter : public ThreadAdapterBase {
public:
    using Function = void (*)(void* argument);

    SimpleThreadAdapter(Function function_, void* argument_) : function(function_), argument(argument_) { }

    void Run() override { function(argument); }

private:
    Function function;
    void* argument;
};

}
