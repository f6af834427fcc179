#include "Vondrel/CMetry/CMetryException.h"
#include "Vondrel/Utilities/Exceptions/DeviceDriverException.h"
#include "Vondrel/Utilities/Exceptions/ResourceException.h"
#include "Vondrel/Utilities/Exceptions/SDKError.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <ios>
#include <memory>

using namespace Vondrel::Utilities::Exceptions;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

using Throw = std::function<void()>;

void Guarded(const char* method, const Throw& body)
try {
    body();
}
TRACE_GUARD("Frame", method)

/// What arrives behind one trace guard.
std::shared_ptr<RuntimeException> ThroughGuard(const Throw& body)
{
    try {
        Guarded("Method", body);
    } catch (const RuntimeException& e) {
        return std::make_shared<RuntimeException>(e);
    }
    return nullptr;
}

class TraceInWhat {
public:
    TraceInWhat() { TraceableException::SetTraceInWhat(true); }
    ~TraceInWhat() { TraceableException::SetTraceInWhat(false); }
};

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

TEST(TraceGuard, AppendsEveryFrameFromTheThrowSiteOutward)
{
    try {
        Guarded("outer",
                [] { Guarded("middle", [] { Guarded("inner", [] { throw IOException("pulled", "site"); }); }); });
        FAIL();
    } catch (const IOException& e) {
        EXPECT_STREQ("pulled", e.what());
        EXPECT_THAT(e.Trace(),
                    ElementsAre("site", StartsWith("Frame::inner(): tests/utilities/TraceTest.cpp:"),
                                StartsWith("Frame::middle(): "), StartsWith("Frame::outer(): ")));
    }
}

TEST(TraceGuard, RethrowsTheSameObject)
{
    const TraceableException* inner = nullptr;
    try {
        Guarded("outer", [&] {
            try {
                Guarded("inner", [] { throw DataException("x", "site"); });
            } catch (const TraceableException& e) {
                inner = &e;
                throw;
            }
        });
    } catch (const DataException& e) {
        EXPECT_EQ(inner, static_cast<const TraceableException*>(&e));
    }
}

TEST(TraceGuard, StandsOnAConstructorAndItsMembers)
{
    try {
        Owner owner([] { throw IOException("x", "site"); });
        FAIL();
    } catch (const IOException& e) {
        EXPECT_THAT(e.Trace(), ElementsAre("site", StartsWith("Owner::Owner(): ")));
    }
}

TEST(TraceGuard, PutsTheTraceIntoWhatOnDemand)
{
    RuntimeException e("x", "a");
    e.Trace().push_back("b");
    EXPECT_STREQ("x", e.what());

    const TraceInWhat on;
    EXPECT_STREQ("x\na\nb\n", e.what());
    EXPECT_STREQ("x\na\nb\n", static_cast<const std::exception&>(e).what());
    EXPECT_STREQ("x\na\nb\n", static_cast<const TraceableException&>(e).what());
    EXPECT_STREQ("x", e.PlainWhat());
}

TEST(TraceGuard, ConvertsAStandardExceptionToItsCounterpart)
{
    const struct {
        Throw body;
        std::function<bool(const std::exception&)> is;
        const char* what;
    } cases[] = {
#define COUNTERPART(standard, family, text)                                                                            \
    {[] { throw standard; }, [](const std::exception& e) { return typeid(e) == typeid(family); }, text}
        COUNTERPART(std::runtime_error("m"), RuntimeException, "m"),
        COUNTERPART(std::overflow_error("m"), OverflowException, "m"),
        COUNTERPART(std::underflow_error("m"), UnderflowException, "m"),
        COUNTERPART(std::range_error("m"), RangeException, "m"),
        COUNTERPART(std::logic_error("m"), LogicException, "m"),
        COUNTERPART(std::domain_error("m"), DomainException, "m"),
        COUNTERPART(std::invalid_argument("m"), InvalidArgumentException, "m"),
        COUNTERPART(std::length_error("m"), LengthException, "m"),
        COUNTERPART(std::out_of_range("m"), OutOfRangeException, "m"),
        COUNTERPART(std::bad_alloc(), BadAllocException, "bad allocation"),
        COUNTERPART(std::bad_cast(), BadCastException, "bad cast"),
        COUNTERPART(std::bad_typeid(), BadTypeidException, "bad typeid"),
#undef COUNTERPART
    };
    for (const auto& c : cases) {
        try {
            Guarded("Method", c.body);
            ADD_FAILURE();
        } catch (const std::exception& e) {
            EXPECT_TRUE(c.is(e)) << typeid(e).name();
            EXPECT_STREQ(c.what, e.what());
            const auto* traced = dynamic_cast<const TraceableException*>(&e);
            ASSERT_NE(nullptr, traced);
            EXPECT_THAT(traced->Trace(), ElementsAre(StartsWith("Frame::Method(): ")));
        }
    }
}

TEST(TraceGuard, NamesTheTypeOfAStandardExceptionWithoutACounterpart)
{
    // Derived from a listed class is not the listed class.
    EXPECT_THAT(ThroughGuard([] { throw std::ios_base::failure("disk"); })->what(),
                testing::MatchesRegex("std::.*failure.* disk.*"));
    EXPECT_THAT(ThroughGuard([] { throw std::bad_array_new_length(); })->what(),
                StartsWith("std::bad_array_new_length "));
}

TEST(TraceGuard, GivesWhatIsNoExceptionAText)
{
    const auto e = ThroughGuard([] { throw 42; });
    ASSERT_TRUE(e);
    EXPECT_STREQ("unkown exception caught", e->what());
    EXPECT_THAT(e->Trace(), ElementsAre(StartsWith("Frame::Method(): ")));
}

TEST(DeviceDriverException, OnlyAnIOExceptionIsAnIOException)
{
    const auto isIOException = [](const Throw& body) {
        try {
            body();
        } catch (const IOException&) {
            return true;
        } catch (const DeviceDriverException&) {
            return false;
        }
        return false;
    };
    EXPECT_TRUE(isIOException([] { throw IOException("", ""); }));
    EXPECT_FALSE(isIOException([] { throw TimeoutException("", ""); }));
    EXPECT_FALSE(isIOException([] { throw DataException("", ""); }));
}

TEST(SDKError, TellsWhatItWasMadeFrom)
{
    IOException source("No devices connected", "site");
    source.Trace().push_back("frame");
    const SDKError error(2, source);
    EXPECT_EQ(2, error.Code());
    EXPECT_EQ("No devices connected\nIOException\nsite\nframe\n", error.ExtendedInformation());
    EXPECT_EQ("m\n\nsite\n", SDKError(9, "m", "site").ExtendedInformation());
    EXPECT_EQ("m\nVondrel::CMetry::CMetryException\n\n",
              SDKError(9, Vondrel::CMetry::CMetryException("m", "")).ExtendedInformation());
}

TEST(SDKError, MeansNoErrorByDefault)
{
    SDKError error(9, RuntimeException("m", "site"));
    error = SDKError();
    EXPECT_EQ(0, error.Code());
    EXPECT_STREQ("no error", error.what());
    EXPECT_EQ("no error\n\n\n", error.ExtendedInformation());
}
