#pragma once

#include "Vondrel/Utilities/Exceptions/DeviceDriverException.h"
#include "Vondrel/Utilities/Exceptions/ResourceException.h"

#include <string>

/// Class and text of what an action throws: "IOException: read data failed", or "nothing".
template<typename Action>
std::string Thrown(Action&& action)
{
    try {
        action();
    } catch (const IOException& e) {
        return std::string("IOException: ") + e.PlainWhat();
    } catch (const TimeoutException& e) {
        return std::string("TimeoutException: ") + e.PlainWhat();
    } catch (const DataException& e) {
        return std::string("DataException: ") + e.PlainWhat();
    } catch (const CalculationException& e) {
        return std::string("CalculationException: ") + e.PlainWhat();
    } catch (const Vondrel::Utilities::Exceptions::ResourceException& e) {
        return std::string("ResourceException: ") + e.PlainWhat();
    } catch (const std::exception& e) {
        return std::string("something else: ") + e.what();
    }
    return "nothing";
}
