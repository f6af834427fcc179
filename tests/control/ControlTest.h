#pragma once

#include "tests/control/RecordingLibrary.h"
#include "tests/control/Script.h"

#include "platform/automation/Registration.h"

#include <optional>

/// A host that finds the control by its name, over calls that are recorded. Every test has to give back what it held.
class ControlTest : public testing::Test {
protected:
    ControlTest()
    {
        Library() = RecordingLibrary();
        EXPECT_EQ(DllRegisterServer(), S_OK);
        CLSID clsid{};
        EXPECT_EQ(CLSIDFromProgID(u"Vondrel.OrvexCtrl.1", &clsid), S_OK);
        script.emplace(clsid);
    }

    ~ControlTest() override
    {
        script.reset();
        EXPECT_EQ(DllUnregisterServer(), S_OK);
        EXPECT_EQ(DllCanUnloadNow(), S_OK) << "something is still held";
    }

    IDispatch* Control() const { return script->control.Get(); }

    std::optional<Script> script;
};
