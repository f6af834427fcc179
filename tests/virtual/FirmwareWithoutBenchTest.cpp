// The instrument as a mocked device node or a network would use it: no bench, no seam, moments from the caller.

#include "virtual/spectrophotometer/Spectrophotometer.h"

#include <gtest/gtest.h>

using namespace Virtual;

namespace {

std::shared_ptr<Transfer> Make(const std::shared_ptr<OpenPipe>& pipe, Bytes data, ControlSetup setup = {})
{
    auto transfer = std::make_shared<Transfer>();
    transfer->pipe = pipe;
    transfer->setup = setup;
    transfer->size = data.size();
    transfer->buffer = std::move(data);
    return transfer;
}

}

TEST(FirmwareWithoutBench, SubmitsCompletesAndCancels)
{
    Spectrophotometer instrument;
    instrument.TakePlace({Place::Road::usb, 0});
    instrument.Seed(1);
    instrument.Plug(0);
    auto& port = instrument.Port();
    Ending ending = Ending::failed;
    const auto control = port.Open(PipeKind::control, 0, ending);
    const auto bulkIn = port.Open(PipeKind::bulkIn, 0, ending);
    const auto interrupt = port.Open(PipeKind::interruptIn, 0, ending);
    ASSERT_TRUE(control && bulkIn && interrupt);

    // One tick of 68 microseconds is a unit of the time, 130 ticks are one of the delay: 68 ms and 8.84 ms.
    port.Submit(Make(control, {3, 232, 0, 1, 0, 2, 6, 0}, {.type = 2, .request = 0xC1}), 0);
    const auto start = Make(control, {}, {.type = 2, .request = 0xC0});
    port.Submit(start, 1000);
    EXPECT_TRUE(UsbPort::IsComplete(*start, 1000));
    const auto read = Make(bulkIn, Bytes(512));
    const auto beyond = Make(bulkIn, Bytes(512));
    port.Submit(read, 1000);
    port.Submit(beyond, 1000);
    ASSERT_TRUE(read->due);
    EXPECT_EQ(*read->due, 1000 + 8840 + 2 * 68000);
    EXPECT_FALSE(UsbPort::IsComplete(*read, *read->due - 1));
    EXPECT_TRUE(UsbPort::IsComplete(*read, *read->due));
    EXPECT_EQ(read->moved, 512U);
    EXPECT_EQ(beyond->due, read->due) << "reads end in their order";
    EXPECT_EQ(beyond->moved, 0U);
    port.Cancel(*beyond, 2000);
    EXPECT_EQ(beyond->ending, Ending::cancelled);
    port.Submit(Make(control, {31}, {.type = 2, .request = 0xCA}), 3000);
    EXPECT_TRUE(UsbPort::IsComplete(*read, 3000)) << "a reset leaves nothing to wait for";
    EXPECT_EQ(read->moved, 0U);

    const auto message = Make(interrupt, Bytes(8));
    port.Submit(message, 4000);
    EXPECT_FALSE(message->due);
    instrument.SetNumber("button-delay", 0.001);
    instrument.Press(5000);
    EXPECT_EQ(message->due, 6000);
    EXPECT_EQ(instrument.NextMessage(), 6000);
    EXPECT_TRUE(instrument.IsSettled(5999));
    EXPECT_FALSE(instrument.IsSettled(6000));
    port.Reap(*message);
    EXPECT_FALSE(instrument.IsSettled(6000)) << "the host is still busy with it";
    port.Submit(message, 6000);
    EXPECT_TRUE(instrument.IsSettled(6000));
    instrument.Unplug(7000);
    EXPECT_EQ(message->ending, Ending::gone);
    EXPECT_FALSE(instrument.IsSettled(7000));
    port.Close(*interrupt, 7000);
    EXPECT_TRUE(instrument.IsSettled(7000));
}
