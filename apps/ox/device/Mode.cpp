#include "apps/ox/device/Mode.h"

#include "apps/ox/base/Failure.h"

namespace Ox {

const ModeRow& ModeOf(const std::string& word)
{
    Words accepted;
    for (const ModeRow& row : modeTable) {
        if (word == row.mode)
            return row;
        accepted.emplace_back(row.word);
    }
    return modeTable[Choose(word, "mode", accepted)];
}

}
