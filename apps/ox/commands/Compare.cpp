#include "apps/ox/base/Terminal.h"
#include "apps/ox/commands/Commands.h"
#include "apps/ox/commands/Comparison.h"

namespace Ox {

namespace {

struct CompareOptions {
    std::string first, second, lights;
    ConditionOptions conditions;
    OutputOptions output;
};

void Run(Session& session, const CompareOptions& options)
{
    const Library& library = session.GetLibrary();
    Conditions conditions(library);
    options.conditions.Apply(conditions);
    const Collection first = ReadCollection(library, options.first, session.quiet);
    const Collection second = ReadCollection(library, options.second, session.quiet);
    ApplyRemarks(conditions, first.GetSchema(), options.conditions.IsGiven(Condition::Illuminant),
                 options.conditions.IsGiven(Condition::Observer));
    const Comparison comparison(first, second, conditions, Split(options.lights, ','));
    comparison.Write(options.output);
    Tell(comparison.Summarise(), session.quiet);
}

}

void AddCompare(CLI::App& program, Session& session)
{
    CLI::App* const command = program.add_subcommand("compare", "delta E and metamerism between two files");
    const auto options = std::make_shared<CompareOptions>();
    command->add_option("A", options->first, "the file that counts as the reference")->required();
    command->add_option("B", options->second, "the file that is compared with it")->required();
    command->add_option("--metamerism", options->lights, "test lights, for example A,F11")->type_name("LIST");
    options->output.AddTo(*command);
    options->conditions.AddTo(*command, {Condition::Illuminant, Condition::Observer, Condition::DeltaE});
    SetExamples(
        *command, "ox compare tests/data/colorchecker24.csv tests/data/colorchecker24.csv",
        "ox compare tests/data/colorchecker24.csv tests/data/colorchecker24.csv --delta-e CMC --metamerism A,F11");
    command->callback([&session, options] { Run(session, *options); });
}

}
