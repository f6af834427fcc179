// Every transfer of a journey is made to fail in every way, once and for good; afterwards all must be as before.

#include "Vondrel/Utilities/Exceptions/TraceableException.h"
#include "Vondrel/Utilities/Multithreading/Mutex.h"
#include "tests/wire/Recorder.h"
#include "tests/wire/Settled.h"
#include "tests/wire/bench/Journey.h"

#include <gtest/gtest.h>

#include <future>

using Vondrel::DeviceDriver::ox::RawSpectrum;

namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr std::uint32_t stride = 7;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
constexpr std::uint32_t stride = 7;
#else
constexpr std::uint32_t stride = 1;
#endif
#else
constexpr std::uint32_t stride = 1;
#endif

constexpr std::size_t memorySize = 8192;

class FaultSweep : public testing::Test {
protected:
    void SetUp() override
    {
        device = NewInstrument();
        memory.resize(memorySize);
        oxv_memory_read(device, 0, memory.data(), memory.size());
        char address[64] = {};
        oxv_get_text(device, "address", address, sizeof address);
        for (const char* c = address; *c != '\0'; ++c)
            if (std::isalnum(static_cast<unsigned char>(*c)) != 0)
                lockName += *c;
        threads = CountEntries("/proc/self/task");
        reference = Travel();
        ASSERT_EQ(reference.size(), 28U);
    }

    /// What came of a journey: the text of a failure, or the number of spectra.
    std::string Outcome()
    {
        try {
            const auto spectra = Travel();
            for (const auto& spectrum : spectra)
                EXPECT_EQ(spectrum.size(), 128U);
            return std::to_string(spectra.size()) + " spectra";
        } catch (const Vondrel::Utilities::Exceptions::TraceableException& e) {
            EXPECT_FALSE(const_cast<Vondrel::Utilities::Exceptions::TraceableException&>(e).Trace().empty());
            return e.what();
        }
    }

    /// As if nothing had happened.
    void Recover()
    {
        oxv_faults_clear(device);
        oxv_plug(device);
        oxv_memory_write(device, 0, memory.data(), memory.size());
        EXPECT_TRUE(SettlesAt("/proc/self/task", threads));
        EXPECT_TRUE(std::async(std::launch::async,
                               [&] {
                                   Vondrel::Utilities::Multithreading::Mutex lock(lockName);
                                   const bool free = lock.TryLock(0);
                                   if (free)
                                       lock.Unlock();
                                   return free;
                               })
                        .get())
            << "the device lock";
        EXPECT_EQ(Travel(), reference);
    }

    /// One journey for each passing of the point, with the fault there; the outcomes in order.
    std::vector<std::string> Sweep(const char* point, const char* how, std::uint32_t times)
    {
        std::vector<std::string> outcomes;
        for (std::uint32_t k = 1;; k += stride) {
            SCOPED_TRACE(testing::Message() << how << " at passing " << k << ", times " << times);
            oxv_seed(k);
            const auto before = oxv_count(device, point);
            if (oxv_fault(device, point, k, times, how) != OXV_OK)
                return outcomes; // a pair without meaning
            outcomes.push_back(Outcome());
            const auto passed = oxv_count(device, point) - before;
            Recover();
            if (passed < k || HasFailure())
                return outcomes;
        }
    }

    oxv_device device = 0;
    std::vector<std::uint8_t> memory;
    std::vector<RawSpectrum> reference;
    std::string lockName;
    std::size_t threads = 0;
};

TEST_F(FaultSweep, EveryPassingOfAnyPointMayFail)
{
    for (const char* how : {"fail", "stall", "denied", "busy", "timeout", "short", "one-short", "empty", "unplug"})
        for (const std::uint32_t times : {1U, 0U}) {
            const auto outcomes = Sweep("any", how, times);
            if (!outcomes.empty()) {
                EXPECT_EQ(outcomes.back(), "28 spectra") << how << ": a run that meets no fault";
                EXPECT_GT(outcomes.size(), 100U / stride) << how;
            }
        }
}

TEST_F(FaultSweep, RandomAnswersGiveTheSameOutcomesForTheSameSeed)
{
    const auto outcomes = Sweep("any", "garbage", 1);
    EXPECT_GT(outcomes.size(), 50U / stride);
    EXPECT_EQ(Sweep("any", "garbage", 1), outcomes);
    Sweep("any", "garbage", 0);
}

TEST_F(FaultSweep, TheInterruptPipeMayFail)
{
    for (const char* how : {"fail", "stall", "short", "empty", "garbage", "unplug"})
        for (std::uint32_t k = 1; k <= 2; ++k) {
            SCOPED_TRACE(testing::Message() << how << " at read " << k);
            Recorder recorder;
            oxv_fault(device, "interrupt-read", k, 1, how);
            oxv_press(device);
            try {
                Travel(&recorder);
            } catch (const Vondrel::Utilities::Exceptions::TraceableException&) {
            }
            for (const auto message : recorder.Await(0))
                EXPECT_TRUE(message == 20010 || message == 20011) << message;
            Recover();
        }
}

}
