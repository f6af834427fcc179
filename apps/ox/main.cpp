// ox - measuring from a terminal.

#include "apps/ox/Session.h"
#include "apps/ox/base/Failure.h"
#include "apps/ox/commands/Commands.h"
#include "apps/ox/scene/Scene.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <csignal>
#include <cstdio>

namespace {

using namespace Ox;

void Complain(const std::string& sentence)
{
    std::fprintf(stderr, "ox: %s\n", sentence.c_str());
}

void Describe(CLI::App& program, Session& session)
{
    program.require_subcommand(1);
    program.fallthrough();
    program.get_formatter()->column_width(26);
    program.set_version_flag("--version", "ox " ORVEX_VERSION);
    program.add_flag("-q,--quiet", session.quiet, "no progress and no remarks");
    program.add_flag("-v,--verbose", session.verbose, "the way of a failure through the library");
    program.add_option("--virtual", session.scene, "on the bench; scenes: " + Join(ShippedScenes()) + " or FILE.json")
        ->type_name("[SCENE]");
    for (const auto add : {AddList, AddInfo, AddCalibrate, AddRead, AddScan, AddFlash, AddVerify, AddConvert,
                           AddCompare, AddLamp, AddReport, AddWatch, AddOption})
        add(program, session);
    program.footer("ox COMMAND --help has the options of a command, and two examples that run.\n"
                   "Exit status: 0 good, 1 failed, 2 usage, 3 no instrument, 4 a refused file or value");
}

/// What was wrong with the arguments. A command that is none is told by its name.
std::string Explain(const CLI::App& program, const CLI::ParseError& error, int count, char** arguments)
{
    Words commands;
    for (const CLI::App* const command : program.get_subcommands([](const CLI::App*) { return true; }))
        commands.push_back(command->get_name());
    for (int i = 1; i < count && program.get_subcommands().empty(); ++i)
        if (arguments[i][0] != '-')
            return NotAccepted(arguments[i], "command", commands);
    return count < 2 ? "which command? There are " + Join(commands) : error.what();
}

/// The arguments, the last one first as the parser takes them. A word behind --virtual is its scene only if it names
/// one.
Words Reversed(int count, char** arguments)
{
    const std::string plainBench = "--virtual=plain";
    const Words scenes = ShippedScenes();
    Words words;
    for (int i = 1; i < count; ++i) {
        const std::string word = arguments[i];
        const bool isScene = word.ends_with(".json") || std::find(scenes.begin(), scenes.end(), word) != scenes.end();
        if (isScene && !words.empty() && words.back() == plainBench)
            words.back() = "--virtual=" + word;
        else
            words.push_back(word == "--virtual" ? plainBench : word);
    }
    std::reverse(words.begin(), words.end());
    return words;
}

int Run(int count, char** arguments)
{
    Session session;
    CLI::App program("Colour measurement from a terminal: measures, computes, compares, converts.", "ox");
    Describe(program, session);
    try {
        program.parse(Reversed(count, arguments));
        return static_cast<int>(Status::Good);
    } catch (const CLI::CallForHelp& help) {
        return program.exit(help);
    } catch (const CLI::CallForVersion& version) {
        return program.exit(version);
    } catch (const CLI::ParseError& error) {
        Complain(Explain(program, error, count, arguments) + "\nox --help and ox COMMAND --help tell more");
        return static_cast<int>(Status::Usage);
    } catch (const Failure& failure) {
        Complain(failure.what());
        if (session.verbose && !failure.GetTrace().empty())
            std::fprintf(stderr, "%s\n", failure.GetTrace().c_str());
        return static_cast<int>(failure.GetStatus());
    }
}

}

int main(int count, char** arguments)
{
    std::signal(SIGPIPE, SIG_IGN); // a reader that went away is no failure
    try {
        return Run(count, arguments);
    } catch (const std::exception& error) { // out of memory
        Complain(error.what());
        return static_cast<int>(Status::Failed);
    }
}
