#include "apps/ox/table/Batch.h"

#include <limits>

namespace Ox {

std::size_t Batch::Add()
{
    ++rows;
    if (texts.size() < rows * textColumns)
        texts.resize(rows * textColumns);
    for (std::string& text : Texts(rows - 1))
        text.clear();
    numbers.resize(rows * numberColumns);
    for (float& number : Numbers(rows - 1))
        number = std::numeric_limits<float>::quiet_NaN();
    return rows - 1;
}

void Batch::Clear()
{
    rows = 0;
    numbers.clear();
    swatches.clear();
}

}
