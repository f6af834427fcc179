#pragma once

#include "tests/toolkit/Calls.h"

/// The number of a text, near enough to one that was computed apart.
void ExpectField(const std::string& name, const std::string& numbers, const CalDataBlock& device);

/// Sets a field by a text: its name, then its numbers.
void SetField(const std::string& text, CalDataBlock& device);

/// Results of several pointers stand between "/", those of an array behind each other.
void ExpectResults(const std::string& expected, const Arguments& arguments);
