#pragma once

#include "tests/support/Thrown.h"

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
        ExpectPlaces(e);
    }
}
