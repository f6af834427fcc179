#include "Vondrel/CMetry/CMetryException.h"
#include "Vondrel/Utilities/Exceptions/DeviceDriverException.h"
#include "Vondrel/Utilities/Exceptions/ResourceException.h"
#include "Vondrel/Utilities/Exceptions/SDKError.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"
#include "Vondrel/Utilities/Exceptions/TypeName.h"
#include "tests/support/FailingMemory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <ios>
#include <pthread.h>

using namespace Vondrel::Utilities::Exceptions;
using testing::ElementsAre;
using testing::MatchesRegex;
using testing::StartsWith;

namespace {

using Throw = std::function<void()>;

void Guarded(const char* method, const Throw& body)
try {
    body();
}
TRACE_GUARD("Frame", method)

struct Member {
    explicit Member(const Throw& body) { body(); }
};

struct Owner {
    explicit Owner(const Throw& body)
    try : member(body) {
    }
    TRACE_GUARD("Owner", "Owner")

    Member member;
};

}

TEST(TraceGuard, AppendsEveryFrameToTheSameObjectFromTheThrowSiteOutward)
{
    const std::exception* inner = nullptr;
    const auto throwing = [&] {
        try {
            Owner owner([] { throw IOException("pulled", "site"); });
        } catch (const IOException& e) {
            inner = &e;
            throw;
        }
    };
    try {
        Guarded("outer", [&] { Guarded("middle", throwing); });
        FAIL();
    } catch (const IOException& e) {
        EXPECT_EQ(inner, &e);
        EXPECT_STREQ(e.what(), "pulled");
        EXPECT_THAT(e.Trace(),
                    ElementsAre("site", MatchesRegex("Owner::Owner\\(\\): tests/utilities/TraceTest.cpp:[0-9]+"),
                                StartsWith("Frame::middle(): "), StartsWith("Frame::outer(): ")));
    }
}

TEST(TraceGuard, PutsTheTraceIntoWhatOnDemand)
{
    RuntimeException e("x", "a");
    e.Trace().push_back("b");
    const auto everySide = [&](const char* text) {
        EXPECT_STREQ(text, e.what());
        EXPECT_STREQ(text, static_cast<const std::exception&>(e).what());
        EXPECT_STREQ(text, static_cast<const TraceableException&>(e).what());
        EXPECT_STREQ(e.PlainWhat(), "x");
    };
    everySide("x");
    TraceableException::SetTraceInWhat(true);
    everySide("x\na\nb\n");
    const RuntimeException traced("x", "a line that no string keeps within itself");
    FailAllocation(1, true);
    const std::string withoutMemory = traced.what();
    StopFailing();
    TraceableException::SetTraceInWhat(false);
    EXPECT_EQ(withoutMemory, "x");
}

TEST(TraceGuard, TurnsWhatIsNotOfTheFamilyIntoIt)
{
    const struct {
        Throw body;
        const char* type;
        const char* what; ///< as an expression
    } cases[] = {
        {[] { throw std::runtime_error("m"); }, "RuntimeException", "m"},
        {[] { throw std::overflow_error("m"); }, "OverflowException", "m"},
        {[] { throw std::underflow_error("m"); }, "UnderflowException", "m"},
        {[] { throw std::range_error("m"); }, "RangeException", "m"},
        {[] { throw std::logic_error("m"); }, "LogicException", "m"},
        {[] { throw std::domain_error("m"); }, "DomainException", "m"},
        {[] { throw std::invalid_argument("m"); }, "InvalidArgumentException", "m"},
        {[] { throw std::length_error("m"); }, "LengthException", "m"},
        {[] { throw std::out_of_range("m"); }, "OutOfRangeException", "m"},
        {[] { throw std::bad_alloc(); }, "BadAllocException", "bad allocation"},
        {[] { throw std::bad_cast(); }, "BadCastException", "bad cast"},
        {[] { throw std::bad_typeid(); }, "BadTypeidException", "bad typeid"},
        // Derived from a listed class is not the listed class.
        {[] { throw std::ios_base::failure("disk"); }, "RuntimeException", "std::.*failure.* disk.*"},
        {[] { throw std::bad_array_new_length(); }, "RuntimeException", "std::bad_array_new_length .*"},
        {[] { throw 42; }, "RuntimeException", "unkown exception caught"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        try {
            Guarded("Method", c.body);
            ADD_FAILURE();
        } catch (const std::exception& e) {
            EXPECT_EQ(std::string("Vondrel::Utilities::Exceptions::") + c.type, TypeName(typeid(e)));
            EXPECT_THAT(e.what(), MatchesRegex(c.what));
            const auto* traced = dynamic_cast<const TraceableException*>(&e);
            ASSERT_NE(traced, nullptr);
            EXPECT_THAT(traced->Trace(), ElementsAre(StartsWith("Frame::Method(): ")));
        }
    }
}

TEST(TraceGuard, LosesALineRatherThanTheFailureWhenMemoryRunsOut)
{
    for (long allocation = 1;; ++allocation) {
        bool failed = false;
        try {
            Guarded("outer", [&] {
                try {
                    throw IOException("pulled", "site");
                } catch (...) {
                    FailAllocation(allocation, true);
                    throw;
                }
            });
        } catch (const IOException& e) {
            failed = StopFailing();
            EXPECT_EQ(failed ? 1U : 2U, e.Trace().size());
        }
        StopFailing();
        if (!failed)
            break;
    }
}

TEST(TraceGuard, LetsAThreadEnd)
{
    static bool isPast = false;
    pthread_t thread{};
    const auto run = [](void*) -> void* {
        Guarded("Method", [] { ::pthread_exit(nullptr); });
        isPast = true;
        return nullptr;
    };
    ASSERT_EQ(::pthread_create(&thread, nullptr, run, nullptr), 0);
    ::pthread_join(thread, nullptr);
    EXPECT_FALSE(isPast);
}

TEST(DeviceDriverException, OnlyAnIOExceptionIsAnIOException)
{
    const auto isIOException = [](auto e) {
        return dynamic_cast<const IOException*>(static_cast<DeviceDriverException*>(&e)) != nullptr;
    };
    EXPECT_TRUE(isIOException(IOException("", "")));
    EXPECT_FALSE(isIOException(TimeoutException("", "")));
    EXPECT_FALSE(isIOException(DataException("", "")));
}

TEST(SDKError, TellsWhatItWasMadeFrom)
{
    IOException source("No devices connected", "site");
    source.Trace().push_back("frame");
    SDKError error(2, source);
    EXPECT_EQ(error.Code(), 2);
    EXPECT_EQ(error.ExtendedInformation(), "No devices connected\nIOException\nsite\nframe\n");
    EXPECT_EQ(SDKError(9, "m", "site").ExtendedInformation(), "m\n\nsite\n");
    EXPECT_EQ(SDKError(9, Vondrel::CMetry::CMetryException("m", "")).ExtendedInformation(),
              "m\nVondrel::CMetry::CMetryException\n\n");
    error = SDKError();
    EXPECT_EQ(error.Code(), 0);
    EXPECT_EQ(error.ExtendedInformation(), "no error\n\n\n");
}
