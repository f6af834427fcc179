#pragma once

#include "tests/support/Places.h"

#include <gtest/gtest.h>

#include <string>

/// Expects an action to fail with this exception and this text.
template<typename Exception, typename Action>
void ExpectText(const std::string& text, Action action)
{
    try {
        action();
        ADD_FAILURE() << "no exception; expected: " << text;
    } catch (const Exception& e) {
        EXPECT_EQ(e.what(), text);
        for (const std::string& line : e.Trace())
            EXPECT_TRUE(IsPlace(line)) << line;
    }
}
