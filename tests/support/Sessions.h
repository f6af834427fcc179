#pragma once

#include "tests/support/Rows.h"

#include <algorithm>
#include <cctype>
#include <fnmatch.h>
#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <ostream>

/// What is done to something, line by line, and what comes of it. In its file it begins with a line "== name".
struct Session {
    std::string name;
    std::vector<Row> rows;
};

inline void PrintTo(const Session& session, std::ostream* stream)
{
    *stream << session.name;
}

inline std::vector<Session> ReadSessions(const std::string& path)
{
    std::vector<Session> sessions;
    for (const Row& row : ReadRows(path))
        if (row[0].starts_with("== "))
            sessions.push_back({row[0].substr(3), {}});
        else
            sessions.at(sessions.size() - 1).rows.push_back(row);
    return sessions;
}

/// "ASpotIsMeasured" of "a spot is measured".
inline std::string TestNameOf(const testing::TestParamInfo<Session>& session)
{
    std::string name;
    bool isFirst = true;
    for (const char c : session.param.name) {
        if (std::isalnum(static_cast<unsigned char>(c)))
            name += static_cast<char>(isFirst ? std::toupper(c) : c);
        isFirst = c == ' ';
    }
    return name;
}

/// What follows the first blank of a text, which keeps what stands before it.
inline std::string CutRest(std::string& text)
{
    const auto blank = text.find(' ');
    const std::string rest = blank == std::string::npos ? "" : text.substr(blank + 1);
    text.resize(std::min(blank, text.size()));
    return rest;
}

/// A step by its name: it takes the words behind the name, and says what came of it.
using StepTable = std::map<std::string, std::function<std::string(const std::string&)>>;

/// Does what a row says, step after step ("a; b"). All but the last have to end well.
/// @return what came of the last one
inline std::string DoSteps(const StepTable& table, const std::string& row, const std::string& well)
{
    std::istringstream all(row);
    std::string outcome = well;
    for (std::string step; std::getline(all >> std::ws, step, ';');) {
        EXPECT_EQ(outcome, well) << "before " << step;
        const std::string arguments = CutRest(step);
        const auto found = table.find(step);
        outcome = found == table.end() ? "no such step" : found->second(arguments);
    }
    return outcome;
}

/// "*" and "?" in what is expected stand for any text and any character.
inline void ExpectText(const std::string& text, const std::string& expected)
{
    EXPECT_EQ(::fnmatch(expected.c_str(), text.c_str(), 0), 0) << "expected: " << expected << "\n     came: " << text;
}
