#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace Vondrel::CMetry {

/// What exists once in the process as soon as the first conditions do: the table of supported values, and densities
/// without calibration.
class Initialisator {
public:
    /// A condition key, or "ColorSpaceDescription." with a colour space behind it for the labels of its elements.
    using SupportedValuesTable = std::map<std::string, std::vector<std::string>, std::less<>>;

    /// Creates the table at the first call; no lock is needed afterwards.
    static const Initialisator& Instance();

    /// The values of a key in their order; empty for an unknown key.
    const std::vector<std::string>& GetSupportedValues(std::string_view key) const;

private:
    Initialisator();

    SupportedValuesTable supportedValues;
};

/// Base of the conditions: its construction sees to the Initialisator.
class GlobalStringInitialisator {
protected:
    GlobalStringInitialisator() { Initialisator::Instance(); }
    GlobalStringInitialisator(const GlobalStringInitialisator&) noexcept = default;
    GlobalStringInitialisator& operator=(const GlobalStringInitialisator&) noexcept = default;
    ~GlobalStringInitialisator() = default;
};

}
