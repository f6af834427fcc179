#include "apps/ox/base/Failure.h"
#include "apps/ox/base/Terminal.h"
#include "apps/ox/commands/Commands.h"
#include "apps/ox/commands/Options.h"

#include <mutex>
#include <poll.h>

namespace Ox {

namespace {

constexpr int pollMilliseconds = 200;

/// What the library's message thread has reported, until the command takes it.
class Messages {
public:
    static void Receive(int32_t message, const char* serialNumber)
    {
        const std::lock_guard guard(mutex);
        waiting.emplace_back(message == 0 ? "key" : "removed", serialNumber);
    }

    static std::vector<std::pair<std::string, std::string>> Take()
    {
        const std::lock_guard guard(mutex);
        return std::exchange(waiting, {});
    }

private:
    static inline std::mutex mutex;
    static inline std::vector<std::pair<std::string, std::string>> waiting;
};

struct WatchOptions {
    InstrumentOptions instrument;
    OutputOptions output;
    std::size_t count = 0;
};

void Run(Session& session, const WatchOptions& options)
{
    Instrument& instrument = options.instrument.Connect(session);
    instrument.GetLibrary().OX_RegisterDeviceMessageHandler(Messages::Receive);
    Schema schema;
    AppendText(schema, "event", "event   ");
    AppendText(schema, "serial_number", "serial number");
    Batch batch(schema);
    Output output(options.output.path);
    const auto writer = MakeWriter(options.output.GetFormat(), output);
    writer->Begin(schema);
    std::size_t seen = 0;
    const auto report = [&](const std::string& event, const std::string& serialNumber) {
        const auto texts = batch.Texts(batch.Add());
        texts[0] = event;
        texts[1] = serialNumber;
        ++seen;
    };
    bool connected = true;
    report("attached", instrument.Get("SerialNumber"));
    while (!WasInterrupted() && !output.IsClosed()) {
        for (const auto& [event, serialNumber] : Messages::Take())
            report(event, serialNumber);
        const bool isThere = instrument.IsConnected();
        if (isThere && !connected)
            report("attached", instrument.Get("SerialNumber"));
        connected = isThere;
        writer->Take(batch);
        batch.Clear();
        writer->Show();
        if (options.count > 0 && seen >= options.count)
            break;
        poll(nullptr, 0, pollMilliseconds);
    }
    writer->End();
}

}

void AddWatch(CLI::App& program, Session& session)
{
    CLI::App* const command =
        program.add_subcommand("watch", "key presses, removals and arrivals as they come, until Ctrl-C");
    const auto options = std::make_shared<WatchOptions>();
    command->add_option("-n,--count", options->count, "end after so many")->type_name("N");
    options->output.AddTo(*command);
    options->instrument.AddTo(*command);
    SetExamples(*command, "ox watch --virtual --count 1", "ox watch --virtual --count 1 --format csv");
    command->callback([&session, options] { Run(session, *options); });
}

}
