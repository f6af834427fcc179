#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

/// The usual report, and at its end a table of every operation that ran as "name/Orvex" and as "name/Other".
class ComparisonReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override;
    void Finalize() override;

private:
    struct Row {
        double ours = 0; // ns
        double other = 0;
        std::string otherName;
    };

    std::map<std::string, Row> rows;
};
