// Light in, numbers out: a host that is written down here from the published relations between counts and light finds
// the screen's luminance and chromaticity in the instruments' counts.

#include "tests/virtual/ColorimeterRig.h"
#include "virtual/bench/Refusal.h"

#include <cmath>
#include <functional>
#include <gtest/gtest.h>

using Road = Virtual::Place::Road;
using Triple = std::array<double, 3>;

namespace {

constexpr double candelas = 3.425014379251237; // cd/m2 in a foot-lambert

struct Screen {
    double Y, x, y;
};

void Light(ColorimeterRig& rig, const Screen& screen)
{
    rig.Light(screen.Y * screen.x / screen.y, screen.Y, (1 - screen.x - screen.y) * screen.Y / screen.y);
}

/// What a host knows of an instrument whose memory has the common layout.
class Host {
public:
    Host(ColorimeterRig& instrument, bool doubled) : rig(instrument), pulsesPerPeriod(doubled ? 2.0 : 1.0)
    {
        tick = rig.CellWord(40) * 1e-9;
        const double periodTicks = 1e11 / (double(rig.CellWord(42)) * rig.CellWord(40));
        calCount = std::trunc(periodTicks * rig.CellWord(44) + 0.5);
        calTime = calCount * tick;
        clock = rig.CellFloat(94);
        for (std::uint8_t i = 0; i < 9; ++i)
            matrix[i] = rig.CellFloat(static_cast<std::uint8_t>(4 + 4 * i));
        for (std::uint8_t i = 0; i < 3; ++i)
            dark[i] = rig.CellFloat(static_cast<std::uint8_t>(103 + 4 * i));
    }

    Triple Frequency(std::uint8_t redCommand = 1)
    {
        const double ticks = rig.AskLong({6});
        const auto scaled = [&](double count) { return count / pulsesPerPeriod * calCount / ticks; };
        const double red = redCommand == 1 ? rig.AskLong({1}) : rig.AskLong({redCommand, 1});
        return {scaled(red), scaled(rig.AskLong({2})), scaled(rig.AskLong({3}))};
    }

    Triple Integrated() { return {Signed(1), Signed(2), Signed(3)}; }

    Triple Periods()
    {
        Triple values{};
        for (std::uint8_t i = 0; i < 3; ++i) {
            const auto command = static_cast<std::uint8_t>(10 + i);
            double count = rig.AskLong({command, 1});
            const double n = Multiplier(count, 255, 255);
            if (n > 1)
                count = rig.AskLong({command, static_cast<std::uint8_t>(n)});
            values[i] = Value(i, count / n);
        }
        return values;
    }

    Triple Edges(std::uint8_t code = 13)
    {
        return Together(255, 255, [&](const std::array<std::uint16_t, 3>& n) {
            std::vector<std::uint8_t> command{code};
            for (const auto one : n)
                command.push_back(static_cast<std::uint8_t>(one));
            if (code == 16)
                command.push_back(255);
            const double red = rig.AskLong(command);
            const std::uint8_t green = code == 16 ? 17 : 2;
            return Triple{red, double(rig.AskLong({green})), double(rig.AskLong({std::uint8_t(green + 1)}))};
        });
    }

    Triple WideEdges()
    {
        return Together(65535, 2000, [&](const std::array<std::uint16_t, 3>& n) {
            for (std::uint8_t i = 0; i < 3; ++i)
                rig.Ask({20, std::uint8_t(n[i] >> 8), std::uint8_t(n[i] & 0xFF), i});
            const double red = rig.AskLong({22});
            return Triple{red, double(rig.AskLong({2})), double(rig.AskLong({3}))};
        });
    }

    Triple Progressive()
    {
        Triple sums{};
        int sweeps = 0;
        while (std::max({sums[0], sums[1], sums[2]}) < 1 / clock) {
            sums[0] += rig.AskLong({13, 1, 1, 1});
            sums[1] += rig.AskLong({2});
            sums[2] += rig.AskLong({3});
            ++sweeps;
        }
        return {Value(0, 2 * sums[0] / sweeps), Value(1, 2 * sums[1] / sweeps), Value(2, 2 * sums[2] / sweeps)};
    }

    Screen Colour(const Triple& v) const
    {
        Triple xyz{};
        for (std::size_t row = 0; row < 3; ++row)
            for (std::size_t column = 0; column < 3; ++column)
                xyz[row] += matrix[3 * row + column] * v[column];
        const double sum = xyz[0] + xyz[1] + xyz[2];
        return {xyz[1] * candelas, xyz[0] / sum, xyz[1] / sum};
    }

    std::array<double, 9> matrix{};

private:
    double Signed(std::uint8_t command) { return static_cast<std::int32_t>(rig.AskLong({command})); }

    double Value(std::size_t channel, double countsPerPulse) const
    {
        return std::max(0.0001, calTime / (countsPerPulse * clock) - dark[channel]);
    }

    double Multiplier(double count, double limit, double beyond) const
    {
        if (count >= 1 / clock)
            return 1;
        const double n = std::trunc(1 / clock / count + 0.5);
        return n > limit || n < 1 ? beyond : n;
    }

    Triple Together(double limit, double beyond,
                    const std::function<Triple(const std::array<std::uint16_t, 3>&)>& count)
    {
        std::array<std::uint16_t, 3> n{1, 1, 1};
        Triple counts = count(n);
        for (std::size_t i = 0; i < 3; ++i)
            n[i] = static_cast<std::uint16_t>(Multiplier(counts[i], limit, beyond));
        if (n != std::array<std::uint16_t, 3>{1, 1, 1})
            counts = count(n);
        return {Value(0, 2 * counts[0] / n[0]), Value(1, 2 * counts[1] / n[1]), Value(2, 2 * counts[2] / n[2])};
    }

    ColorimeterRig& rig;
    double pulsesPerPeriod;
    double tick = 0, calCount = 0, calTime = 0, clock = 0;
    Triple dark{};
};

constexpr Screen colours[] = {{1, 0.3127, 0.3290}, {1, 0.45, 0.41}, {1, 0.30, 0.45}, {1, 0.22, 0.25}};

struct Path {
    const char* name;
    Triple (*measure)(Host&);
    std::vector<int> types;
    double lowest, highest, tolerance;
    const char* version = nullptr;
    bool doubled = false;
};

TEST(ColorimeterLight, EveryPathFindsTheScreen)
{
    const Path paths[] = {
        {"frequency", [](Host& h) { return h.Frequency(); }, {2, 4, 9}, 5, 400, 5e-3},
        {"frequency, doubled", [](Host& h) { return h.Frequency(); }, {19, 20, 22}, 5, 400, 5e-3, nullptr, true},
        {"frequency, doubled by revision", [](Host& h) { return h.Frequency(); }, {4}, 5, 400, 5e-3, "5.19", true},
        {"wide frequency", [](Host& h) { return h.Frequency(19); }, {19, 20, 22}, 5, 400, 5e-3, nullptr, true},
        {"integrated", [](Host& h) { return h.Integrated(); }, {10, 11}, 0.5, 400, 1e-3},
        {"periods", [](Host& h) { return h.Periods(); }, {4, 9, 19, 20, 22}, 0.05, 500, 1e-3},
        {"edges", [](Host& h) { return h.Edges(); }, {4, 9, 19, 20, 22}, 0.05, 500, 1e-3},
        {"time-limited edges", [](Host& h) { return h.Edges(16); }, {4, 9}, 0.05, 500, 1e-3, "4.45"},
        {"wide edges", [](Host& h) { return h.WideEdges(); }, {19, 20, 22}, 0.05, 500, 1e-3},
        {"progressive edges", [](Host& h) { return h.Progressive(); }, {4, 9}, 0.05, 60, 1e-3},
    };
    for (const auto& path : paths)
        for (const int type : path.types)
            for (const Road road : {Road::serial, Road::usb}) {
                ColorimeterRig rig(type, road);
                if (path.version)
                    rig->SetText("version", path.version);
                Host host(rig, path.doubled);
                for (const double luminance : {path.lowest, 4 * path.lowest, 60.0, path.highest})
                    for (Screen screen : colours) {
                        SCOPED_TRACE(testing::Message() << path.name << ", type " << type << ", " << luminance << ' '
                                                        << screen.x << ' ' << screen.y);
                        screen.Y = luminance;
                        Light(rig, screen);
                        const Screen seen = host.Colour(path.measure(host));
                        ASSERT_NEAR(seen.Y / screen.Y, 1.0, path.tolerance);
                        ASSERT_NEAR(seen.x / screen.x, 1.0, path.tolerance);
                        ASSERT_NEAR(seen.y / screen.y, 1.0, path.tolerance);
                    }
            }
}

TEST(ColorimeterLight, BlackIsDarkerThanTheStoredDark)
{
    for (const int type : {4, 19}) {
        ColorimeterRig rig(type, Road::usb);
        rig.Light(0, 0, 0);
        Host host(rig, type == 19);
        const Screen black = host.Colour(type == 4 ? host.Edges() : host.WideEdges());
        EXPECT_NEAR(black.Y / candelas, 3.2e-7, 1e-8);
        EXPECT_NEAR(black.x, 0.2873563, 1e-6);
        EXPECT_NEAR(black.y, 0.2627258, 1e-6);
    }
    ColorimeterRig integrator(11, Road::usb);
    integrator.Light(0, 0, 0);
    EXPECT_EQ(integrator.AskLong({2}), 0xFFFFFFFFU) << "below dark a count is negative";
}

TEST(ColorimeterLight, IntegratorsDoNotScaleWithTheIntegrationTime)
{
    ColorimeterRig rig(10, Road::serial);
    const auto count = rig.AskLong({1});
    rig.Ask({5, 0, 0, 1, 0});
    EXPECT_EQ(rig.AskLong({1}), count);
    rig.Ask({21, 0, 0, 0, 0});
    EXPECT_EQ(rig.AskLong({1}), count + 800) << "the dark value is taken off inside";
}

TEST(ColorimeterLight, LuminanceHeadsCountHertz)
{
    struct Case {
        int type;
        Road road;
        std::uint8_t frequency, period; // commands of the channel that has light
        double tick, doubled;
    };
    const Case cases[] = {
        {5, Road::serial, 2, 11, 3.2e-5, 1}, {5, Road::usb, 2, 11, 1e-6, 2},    {6, Road::serial, 2, 11, 3.2e-5, 1},
        {6, Road::usb, 2, 11, 3.2e-5, 2},    {8, Road::usb, 2, 11, 4e-6, 1},    {13, Road::serial, 1, 10, 3.2e-5, 1},
        {13, Road::usb, 1, 10, 3.2e-5, 1},   {14, Road::usb, 1, 10, 3.2e-5, 1}, {21, Road::usb, 2, 17, 1e-6, 1},
    };
    for (const auto& c : cases)
        for (const double luminance : {5.0, 80.0, 400.0}) {
            SCOPED_TRACE(testing::Message() << "type " << c.type << ", " << luminance);
            ColorimeterRig rig(c.type, c.road);
            Light(rig, {luminance, 0.3127, 0.3290});
            const double factor = c.type == 21 ? rig.CellFloat(16) : c.type == 14 ? rig.CellFloat(0) : rig.CellFloat(4);
            const double clock = c.type == 8 ? rig.CellFloat(94) : 1e-6;
            const double hertz = luminance / candelas / factor + 0.25;
            EXPECT_NEAR(rig.AskLong({c.frequency}) / (rig.AskLong({6}) * c.tick) / hertz, 1, 5e-3);
            if (c.type == 21)
                EXPECT_NEAR(200.0 / (rig.AskLong({17, 0, 200}) * clock) / hertz, 1, 1e-3);
            else
                EXPECT_NEAR(200.0 / (rig.AskLong({c.period, 200}) / c.doubled * clock) / hertz, 1, 1e-3);
            EXPECT_NEAR(200.0 / (2 * rig.AskLong({13, 200, 200, 200}) / c.doubled * clock) / hertz, 1, 1e-3);
            EXPECT_EQ(rig.AskLong({3}) + rig.AskLong({3}), 0U) << "there is no blue";
        }
}

TEST(ColorimeterLight, ThreeRangesSaturateFromBlueToRed)
{
    struct Case {
        double footLamberts;
        Triple seen; // luminance by red, green and blue, in foot-lamberts
    };
    const Case cases[] = {{50, {50, 50, 50}}, {500, {500, 500, 100}}, {5000, {5000, 1000, 100}}};
    for (const int type : {7, 16})
        for (const Road road : {Road::serial, Road::usb})
            for (const auto& c : cases) {
                SCOPED_TRACE(testing::Message() << "type " << type << ", " << c.footLamberts);
                ColorimeterRig rig(type, road);
                Light(rig, {c.footLamberts * candelas, 0.3127, 0.3290});
                const double tick = type == 16 ? 3.2e-5 : road == Road::usb ? 5e-6 : 3.75e-6;
                const double seconds = rig.AskLong({6}) * tick;
                const auto factor = [&](std::uint8_t plover, std::uint8_t main) {
                    return rig.CellFloat(type == 16 ? plover : main);
                };
                EXPECT_NEAR(rig.AskLong({1}) / seconds * factor(0, 8), c.seen[0], 0.5);
                EXPECT_NEAR(rig.AskLong({2}) / seconds * factor(28, 4), c.seen[1], 0.05);
                EXPECT_NEAR(rig.AskLong({3}) / seconds * factor(32, 12), c.seen[2], 0.005);
            }
}

TEST(ColorimeterLight, RefreshPeriodIsCountedByTheClock)
{
    for (const int type : {4, 7, 9, 11, 16, 19, 20}) {
        ColorimeterRig rig(type, Road::usb);
        const double clock = type == 16 ? 1e-6 : rig.CellFloat(94);
        for (const double hertz : {50.0, 60.0, 143.9}) {
            rig->SetNumber("refresh-hz", hertz);
            EXPECT_NEAR(1 / (rig.AskLong({9}) * clock) / hertz, 1, 1e-4) << type;
            EXPECT_EQ(rig.AskLong({4}), rig.AskLong({9}));
        }
        rig->SetNumber("refresh-hz", 0);
        EXPECT_EQ(rig.AskLong({9}), 0U);
    }
}

TEST(ColorimeterLight, GivesUpAfterAMinute)
{
    ColorimeterRig rig(4, Road::serial);
    rig.Light(0, 0, 0);
    for (const char* name : {"dark-red", "dark-green", "dark-blue"})
        rig->SetNumber(name, 0);
    EXPECT_EQ(rig.AskLong({10, 1}), 0U);
    EXPECT_EQ(rig.busy, 60'000'000);
    EXPECT_EQ(rig.AskLong({13, 1, 1, 1}), 0U);
    EXPECT_EQ(rig.AskLong({2}), 0U);
    EXPECT_EQ(rig.AskLong({1}), 0U);
    EXPECT_EQ(rig.AskLong({10, 0}), 0U) << "no period is no time";
    EXPECT_EQ(rig.busy, 0);
}

TEST(ColorimeterLight, RoundingIsCarriedFromReadingToReading)
{
    ColorimeterRig rig(4, Road::usb);
    Light(rig, {400, 0.3127, 0.3290});
    const double many = rig.AskLong({13, 255, 255, 255}) / 255.0;
    double sum = 0;
    for (int i = 0; i < 1000; ++i)
        sum += rig.AskLong({13, 1, 1, 1});
    EXPECT_NEAR(sum / 1000, many, 0.01);
}

TEST(ColorimeterLight, TimeLimitLeavesPeriodsUncounted)
{
    ColorimeterRig rig(9, Road::serial);
    rig->SetText("version", "4.45");
    const double whole = rig.AskLong({16, 200, 200, 200, 255});
    rig->SetNumber("periods-left", 50);
    const auto reply = rig.Ask({16, 200, 200, 200, 1});
    EXPECT_EQ(reply[5], 50);
    EXPECT_EQ(rig.Ask({17})[5], 50);
    EXPECT_NEAR(rig.AskLong({16, 200, 200, 200, 1}), whole * 150 / 200, 2);
    EXPECT_EQ(rig.AskLong({16, 50, 50, 50, 1}), 0U);
}

TEST(ColorimeterLight, TheDiffuserLooksAtTheSurroundings)
{
    ColorimeterRig rig(20, Road::usb);
    Host host(rig, true);
    Host diffused(rig, true);
    const double slot = (1 + 1.05) / 2;
    for (std::size_t i = 0; i < 9; ++i)
        diffused.matrix[i] *= slot * Triple{0.5, 0.6, 0.7}[i / 3] * 10.76 / candelas;
    rig->SetNumber("ambient-X", 300);
    rig->SetNumber("ambient-Y", 250);
    rig->SetNumber("ambient-Z", 200);
    EXPECT_EQ(rig->GetText("position"), "diffuser");
    const Screen ambient = diffused.Colour(diffused.WideEdges());
    EXPECT_NEAR(ambient.Y, 250, 0.25);
    EXPECT_NEAR(ambient.x, 300.0 / 750, 4e-4);
    rig->SetText("position", "screen");
    EXPECT_NEAR(host.Colour(host.WideEdges()).Y, 100, 0.1);
}

TEST(ColorimeterLight, WhatCannotBeCountedIsRefused)
{
    struct Case {
        int type;
        const char* name;
        double most; // about; other numbers as attached
    };
    const Case cases[] = {{4, "Y", 20330},  {20, "ambient-Y", 39300}, {21, "Y", 137000},        {7, "Y", 34000},
                          {11, "Y", 26200}, {14, "dark-red", 997000}, {9, "dark-blue", 1.666e6}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "type " << c.type << ", " << c.name);
        ColorimeterRig rig(c.type, Road::usb);
        rig->SetNumber(c.name, 0.98 * c.most);
        const auto count = rig.AskLong({1}) + rig.AskLong({2}) + rig.AskLong({3});
        EXPECT_THROW(rig->SetNumber(c.name, 1.02 * c.most), Virtual::Refusal);
        EXPECT_EQ(rig->GetNumber(c.name), 0.98 * c.most);
        EXPECT_EQ(rig.AskLong({1}) + rig.AskLong({2}) + rig.AskLong({3}), count) << "a refusal changes nothing";
    }
    ColorimeterRig rig(4, Road::usb);
    rig.Light(0, 0, 0);
    const auto dark = rig.AskLong({1});
    for (const char* name : {"X", "Y", "Z"}) {
        EXPECT_THROW(rig->SetNumber(name, -1e-9), Virtual::Refusal);
        rig.Light(0, 0, 0);
        rig->SetNumber(name, 50);
        for (const std::uint8_t channel : {std::uint8_t{1}, std::uint8_t{2}, std::uint8_t{3}})
            EXPECT_GT(rig.AskLong({channel}), dark + 10) << "every filter sees something of every light";
    }
}

TEST(ColorimeterLight, TheMemoryTellsButDoesNotMakeTheOptics)
{
    ColorimeterRig rig(4, Road::usb);
    const auto count = rig.AskLong({1});
    const std::vector<std::uint8_t> blank(128, 0xFF);
    rig->WriteMemory(0, blank);
    EXPECT_EQ(rig.AskLong({1}), count);
}

}
