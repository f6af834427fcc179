#include "benchmarks/cmetry/ComparisonReporter.h"

#include <cstdio>

void ComparisonReporter::ReportRuns(const std::vector<Run>& runs)
{
    for (const auto& run : runs) {
        const std::string name = run.run_name.function_name;
        const auto slash = name.find('/');
        const bool single = run.run_type == Run::RT_Iteration && run.repetitions <= 1;
        if (slash == std::string::npos || run.error_occurred || !(single || run.aggregate_name == "median"))
            continue;
        auto& row = rows[name.substr(0, slash)];
        const std::string party = name.substr(slash + 1);
        if (party == "Orvex") {
            row.ours = run.GetAdjustedCPUTime();
        } else {
            row.other = run.GetAdjustedCPUTime();
            row.otherName = party;
        }
    }
    ConsoleReporter::ReportRuns(runs);
}

void ComparisonReporter::Finalize()
{
    std::printf("\n%-16s %10s %10s %10s\n", "side by side", "Orvex", "other", "other/Orvex");
    for (const auto& [name, row] : rows)
        if (row.ours > 0 && row.other > 0)
            std::printf("%-16s %7.1f ns %7.1f ns %10.2f  (%s)\n", name.c_str(), row.ours, row.other,
                        row.other / row.ours, row.otherName.c_str());
    ConsoleReporter::Finalize();
}
