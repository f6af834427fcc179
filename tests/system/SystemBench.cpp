#include "tests/system/SystemBench.h"

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <ostream>
#include <sstream>
#include <utility>

namespace {

std::mutex guard;
std::condition_variable messageCame;
std::vector<Report> reports;
std::vector<Message> messages;

void OnError(const char* function, std::int32_t code, const char* text)
{
    reports.push_back({function, code, text});
}

void OnMessage(std::int32_t message, const char* text)
{
    const std::lock_guard lock(guard);
    messages.push_back({message, text});
    messageCame.notify_all();
}

/// What the last measure parameters on the wire said.
struct Parameters {
    unsigned ticks = 0, delay = 0, count = 0, flags = 0;
    unsigned tickMicroseconds = 68;

    std::string Text() const
    {
        std::array<char, 80> text{};
        std::snprintf(text.data(), text.size(), "%s%s %u at %.1f ms%s", (flags & 2U) != 0 ? "off" : "on",
                      (flags & 1U) != 0 ? " scan" : "", count, ticks * tickMicroseconds / 1000.0,
                      (flags & 4U) != 0 ? "" : " high");
        return text.data();
    }
};

bool Read(const std::string& line, Parameters& parameters)
{
    unsigned a = 0, b = 0, c = 0, d = 0, e = 0, f = 0, g = 0;
    if (std::sscanf(line.c_str(), "control D1 in %x %x %x %x %x", &a, &b, &c, &d, &e) == 5) {
        parameters.tickMicroseconds = e;
        return true;
    }
    if (std::sscanf(line.c_str(), "control C1 out %x %x %x %x %x %x %x", &a, &b, &c, &d, &e, &f, &g) != 7)
        return false;
    parameters.ticks = 256 * a + b;
    parameters.delay = 256 * c + d;
    parameters.count = 256 * e + f;
    parameters.flags = g;
    return true;
}

}

Spectrum Flat(float value)
{
    Spectrum spectrum;
    spectrum.fill(value);
    return spectrum;
}

void PrintTo(const Report& report, std::ostream* stream)
{
    *stream << report.function << ' ' << report.code << ' ' << report.text;
}

std::string Option(const char* key)
{
    return OX_GetOption(key);
}

OX_Result Set(const char* key, const char* value)
{
    return OX_SetOption(key, value);
}

SystemBench::SystemBench()
{
    OX_SetOption("Reset", "All");
    oxv_reset();
    TakeReports();
    TakeMessages();
}

SystemBench::~SystemBench()
{
    OX_SetOption("Reset", "All");
    oxv_reset();
}

void SystemBench::Plug()
{
    device = oxv_attach("spectrophotometer", "usb");
    ASSERT_GT(device, 0) << oxv_last_error();
    RegisterHandlers();
}

void SystemBench::Restart()
{
    ASSERT_EQ(OX_SetOption("Reset", "All"), OX_NoError);
    RegisterHandlers();
}

void SystemBench::RegisterHandlers()
{
    OX_RegisterErrorHandler(OnError);
    OX_RegisterDeviceMessageHandler(OnMessage);
}

std::vector<Report> SystemBench::TakeReports()
{
    return std::exchange(reports, {});
}

std::int32_t SystemBench::LastCode()
{
    return reports.empty() ? OX_NoError : reports.back().code;
}

std::vector<Message> SystemBench::TakeMessages()
{
    const std::lock_guard lock(guard);
    return std::exchange(messages, {});
}

bool SystemBench::AwaitMessages(std::size_t count)
{
    std::unique_lock lock(guard);
    return messageCame.wait_for(lock, std::chrono::seconds(30), [count] { return messages.size() >= count; });
}

void SystemBench::Show(oxv_device shown, const std::string& position)
{
    ASSERT_EQ(oxv_set_text(shown, "position", position.c_str()), OXV_OK) << oxv_last_error();
}

void SystemBench::ShowSample(const Spectrum& reflectance) const
{
    ASSERT_EQ(oxv_set_curve(device, "sample", reflectance.data(), reflectance.size(), 380, 10), OXV_OK);
    Show("sample");
}

void SystemBench::CalibrateIn(const std::string& mode) const
{
    ASSERT_OK(Set("MeasurementMode", mode.c_str()));
    Show(mode.find("Reflectance") != std::string::npos ? "tile" : "dark");
    ASSERT_OK(OX_Calibrate());
}

std::vector<std::string> SystemBench::Trace(oxv_device traced)
{
    std::string text(static_cast<std::size_t>(oxv_trace(traced, "", nullptr, 0)) + 1, '\0');
    oxv_trace(traced, "", text.data(), text.size());
    text.pop_back();
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

std::vector<std::string> SystemBench::MeasuringSteps() const
{
    std::vector<std::string> steps;
    Parameters parameters;
    for (const std::string& line : Trace(device)) {
        if (Read(line, parameters))
            continue;
        if (line.starts_with("control C0"))
            steps.push_back(parameters.Text());
        else if (line.starts_with("control CA out "))
            steps.push_back("reset " + line.substr(15));
        else if (line.starts_with("sleep ") || line.starts_with("open 0") || line.starts_with("close 0"))
            steps.push_back(line);
    }
    return steps;
}
