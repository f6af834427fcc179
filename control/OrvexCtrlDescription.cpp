#include "control/OrvexCtrlDescription.h"

#include "control/OrvexCtrl.h"
#include "orvex/control.h"

namespace Control {

namespace {

constexpr MethodDescription methods[] = {
    Method<&COrvexCtrl::GetDeviceInfo>(1, "GetDeviceInfo", {"axKey"}),
    Method<&COrvexCtrl::IsConnected>(2, "IsConnected"),
    Method<&COrvexCtrl::KeyPressed>(3, "KeyPressed"),
    Method<&COrvexCtrl::Calibrate>(4, "Calibrate"),
    Method<&COrvexCtrl::TriggerMeasurement>(5, "TriggerMeasurement"),
    Method<&COrvexCtrl::SetOption>(6, "SetOption", {"axKey", "axValue"}),
    Method<&COrvexCtrl::GetOption>(7, "GetOption", {"axKey"}),
    Method<&COrvexCtrl::SetSubstrate>(8, "SetSubstrate", {"xySubstrateSpectrum"}),
    Method<&COrvexCtrl::GetTriStimulus>(9, "GetTriStimulus", {"yxTriStimulus", "axIndex"}),
    Method<&COrvexCtrl::GetDensity>(10, "GetDensity", {"axDensity", "axIndex"}),
    Method<&COrvexCtrl::GetDensities>(11, "GetDensities", {"yxDensities", "pxAutoDensityIndex", "axIndex"}),
    Method<&COrvexCtrl::GetSpectrum>(12, "GetSpectrum", {"yxSpectrum", "axIndex"}),
};

constexpr TypeDescription types[] = {
    {ORVEX_CONTROL_DISPATCH_ID, TypeRole::DispatchInterface, "_DOrvexCtrl", "Dispatch interface for OrvexCtrl Control",
     methods},
    {ORVEX_CONTROL_EVENTS_ID,
     TypeRole::EventInterface,
     "_DOrvexCtrlEvents",
     "Event interface for OrvexCtrl Control",
     {}},
    {ORVEX_CONTROL_CLASS_ID, TypeRole::Class, "OrvexCtrl", "OrvexCtrl Control", {}},
};

constexpr TypeLibraryDescription library = {ORVEX_CONTROL_LIBRARY_ID,           "ORVEXCTRLLib",  1,    0,
                                            "OrvexCtrl ActiveX Control module", "OrvexCtrl.hlp", types};

constexpr ClassDescription control = {
    types[2].id, ORVEX_CONTROL_PROGRAMMATIC_NAME, "OrvexCtrl Control", "OrvexCtrl Property Page", &library, &types[0],
    0x00010000};

}

const ClassDescription& OrvexCtrlClass() noexcept
{
    return control;
}

}
