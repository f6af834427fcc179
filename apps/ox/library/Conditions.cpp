#include "apps/ox/library/Conditions.h"

#include "apps/ox/base/Failure.h"

#include <new>

namespace Ox {

namespace {

oxc_conditions* OrOutOfMemory(oxc_conditions* conditions)
{
    return conditions != nullptr ? conditions : throw std::bad_alloc();
}

}

Conditions::Conditions(const Library& calls)
    : library(calls), handle(OrOutOfMemory(calls.oxc_conditions_new()), calls.oxc_conditions_free)
{
    for (const ConditionRow& row : conditionTable)
        if (row.preset != nullptr)
            Check(library.oxc_set(handle.get(), row.key, row.preset));
}

Conditions::Conditions(const Conditions& other)
    : library(other.library),
      handle(OrOutOfMemory(library.oxc_conditions_copy(other.Handle())), library.oxc_conditions_free)
{
}

void Conditions::Set(Condition condition, const std::string& value)
{
    const ConditionRow& row = RowOf(condition);
    if (library.oxc_set(handle.get(), row.key, value.c_str()) == OX_NoError)
        return;
    Words accepted;
    for (std::size_t i = 0; const char* const text = library.oxc_value(row.key, i); ++i)
        accepted.emplace_back(text);
    if (condition == Condition::Illuminant)
        accepted.emplace_back("Dxx, Temperature:5500");
    throw Failure(Status::Refused, NotAccepted(value, row.what, accepted));
}

std::string Conditions::Get(Condition condition) const
{
    return library.oxc_get(handle.get(), RowOf(condition).key);
}

void Conditions::Check(int32_t result) const
{
    if (result == OX_NoError)
        return;
    const bool refused = result == OX_InvalidParameter || result == OX_NotSupported || result == OX_NoSubstrate;
    throw Failure(refused ? Status::Refused : Status::Failed, library.oxc_error());
}

}
