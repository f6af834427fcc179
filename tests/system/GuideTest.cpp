// docs/guide.md against the tables of options and modes.

#include "Vondrel/DeviceDriver/ox/c_sdk/src/SDKProxy/Vocabulary.h"

#include <algorithm>
#include <fstream>
#include <gmock/gmock.h>
#include <map>
#include <sstream>

using namespace OrvexSDK;
using testing::HasSubstr;

namespace {

/// The rows of the guide's tables whose first cell is a word of code, by that word; the other cells without their
/// marks.
std::map<std::string, std::vector<std::string>> Rows()
{
    std::map<std::string, std::vector<std::string>> rows;
    std::ifstream guide(ORVEX_GUIDE);
    for (std::string line, cell; std::getline(guide, line);) {
        if (!line.starts_with("| `"))
            continue;
        std::erase(line, '`');
        std::istringstream cells(line.substr(2));
        std::vector<std::string> row;
        while (std::getline(cells, cell, '|'))
            row.push_back(
                cell.substr(cell.starts_with(' ') ? 1 : 0, cell.find_last_not_of(' ') + (cell[0] == ' ' ? 0 : 1)));
        rows[row.at(0)] = row;
    }
    return rows;
}

}

TEST(Guide, TellsEveryOptionAndNoOther)
{
    auto rows = Rows();
    for (const OptionRow& option : optionTable) {
        SCOPED_TRACE(option.key);
        const bool isCondition = option.answer == OptionRow::Answer::Condition;
        const auto cells = rows[option.key];
        ASSERT_GE(cells.size(), 3U) << "no row";
        EXPECT_EQ(cells[isCondition ? 1 : 2], option.values);
        if (!isCondition) {
            EXPECT_EQ(cells[1], option.setting == OptionRow::Setting::Taken ? "yes" : "no");
        }
    }
    for (const auto& [key, cells] : rows) {
        const bool isOption = cells.size() > 2 && (cells[1] == "yes" || cells[1] == "no");
        const bool isKnown = std::any_of(std::begin(optionTable), std::end(optionTable),
                                         [&name = key](const OptionRow& option) { return name == option.key; });
        EXPECT_TRUE(isKnown || !isOption) << key;
    }
}

TEST(Guide, TellsEveryMode)
{
    auto rows = Rows();
    for (const ModeRow& mode : modeTable) {
        SCOPED_TRACE(mode.text);
        const auto cells = rows[mode.text];
        ASSERT_GE(cells.size(), 4U) << "no row";
        EXPECT_THAT(cells[2], HasSubstr(mode.IsEmission() ? "darkness" : "tile"));
        EXPECT_THAT(cells[3], testing::StartsWith(mode.sample));
        EXPECT_EQ(cells[3].find("patch") != std::string::npos, mode.recognised == ModeRow::Recognised::Patches);
        EXPECT_EQ(cells[3].find("flash") != std::string::npos, mode.recognised == ModeRow::Recognised::Flashes);
    }
}
