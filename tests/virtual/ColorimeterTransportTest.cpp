// The seam's serial ports and device channels on the bench.

#include "tests/support/Rows.h"
#include "tests/virtual/BenchScript.h"

#include <chrono>
#include <termios.h>
#include <thread>

TEST(Transport, EveryWireCarriesAsWritten)
{
    for (const Row& row : ReadRows(ORVEX_TEST_DATA "/wire_dialogues.txt")) {
        SCOPED_TRACE(row[0]);
        BenchScript().Run("attach colorimeter-4 " + row[1] + "; " + row[2]);
    }
}

TEST(Transport, ClosingEndsAWaitWithoutALimit)
{
    BenchScript bench;
    bench.Run("attach colorimeter-4 serial:1; serial 1; configure; limits 0 0 0 0 0");
    std::string met;
    std::thread reader([&] { met = bench.Do("receive 1").words; });
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_EQ(Platform::Ports().Close(bench.port), 0);
    reader.join();
    EXPECT_THAT(met, testing::StartsWith("error"));
}

// ---- pseudo-terminals: the platform's own serial ports talk

const std::string terminal = "terminal; configure; lines 1; limits 500 10 2000 250 250; ";

TEST(Terminal, CarriesAConversationAtTheSpeedOfThePort)
{
    BenchScript bench;
    bench.Run("attach colorimeter-4 pty; " + terminal + "ask 01 01 > 01 00 00 1F 2F; hang-up");
    for (int i = 0; i < 200 && oxv_count(bench.device, "close") == 0; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    bench.Run(terminal + "took; ask 02 08 79 > 08 79 43; took > 7294; count open > 2");
    termios line{};
    const int descriptor = static_cast<int>(reinterpret_cast<std::intptr_t>(bench.port));
    ASSERT_EQ(tcgetattr(descriptor, &line), 0);
    cfsetspeed(&line, B115200);
    ASSERT_EQ(tcsetattr(descriptor, TCSANOW, &line), 0);
    bench.Run("ask 02 08 79 > 08 79 43; took > 609; hang-up");
}
