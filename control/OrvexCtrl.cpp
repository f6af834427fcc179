#include "control/OrvexCtrl.h"

#include "control/OrvexCtrlDescription.h"
#include "orvex/ox.h"
#include "platform/automation/WideString.h"

namespace Control {

namespace {

constexpr ULONG tristimulusSize = 3;
constexpr ULONG densitiesSize = 4;
constexpr int controlIcon = 1;

/// Calls with the data of an array argument, unlocked, if it is an array that the method can take.
/// @param size  floats in its only dimension
/// @return what the call returns; OX_InvalidParameter without a call
template<class Call>
LONG WithFloats(const VARIANT& argument, ULONG size, const Call& call)
{
    if (argument.vt != (VT_BYREF | VT_ARRAY | VT_R4) || argument.pparray == nullptr || *argument.pparray == nullptr)
        return OX_InvalidParameter;
    const SAFEARRAY& array = **argument.pparray;
    if (array.cDims != 1 || array.rgsabound[0].cElements != size)
        return OX_InvalidParameter;
    return call(static_cast<float*>(array.pvData));
}

}

COrvexCtrl::COrvexCtrl() : COleControl(OrvexCtrlClass()) { }

BSTR COrvexCtrl::GetDeviceInfo(LPCOLESTR axKey)
{
    return FromAnsi(OX_GetDeviceInfo(ToAnsi(axKey).c_str()));
}

LONG COrvexCtrl::IsConnected()
{
    return OX_IsConnected();
}

LONG COrvexCtrl::KeyPressed()
{
    return OX_KeyPressed();
}

LONG COrvexCtrl::Calibrate()
{
    return OX_Calibrate();
}

LONG COrvexCtrl::TriggerMeasurement()
{
    return OX_TriggerMeasurement();
}

LONG COrvexCtrl::SetOption(LPCOLESTR axKey, LPCOLESTR axValue)
{
    return OX_SetOption(ToAnsi(axKey).c_str(), ToAnsi(axValue).c_str());
}

BSTR COrvexCtrl::GetOption(LPCOLESTR axKey)
{
    return FromAnsi(OX_GetOption(ToAnsi(axKey).c_str()));
}

LONG COrvexCtrl::SetSubstrate(const VARIANT& xySubstrateSpectrum)
{
    return WithFloats(xySubstrateSpectrum, OX_SPECTRUM_SIZE, [](const float* data) { return OX_SetSubstrate(data); });
}

LONG COrvexCtrl::GetTriStimulus(const VARIANT& yxTriStimulus, LONG axIndex)
{
    return WithFloats(yxTriStimulus, tristimulusSize, [&](float* data) { return OX_GetTriStimulus(data, axIndex); });
}

LONG COrvexCtrl::GetDensity(float* axDensity, LONG axIndex)
{
    return OX_GetDensity(axDensity, axIndex);
}

LONG COrvexCtrl::GetDensities(const VARIANT& yxDensities, LONG* pxAutoDensityIndex, LONG axIndex)
{
    return WithFloats(yxDensities, densitiesSize,
                      [&](float* data) { return OX_GetDensities(data, pxAutoDensityIndex, axIndex); });
}

LONG COrvexCtrl::GetSpectrum(const VARIANT& yxSpectrum, LONG axIndex)
{
    return WithFloats(yxSpectrum, OX_SPECTRUM_SIZE, [&](float* data) { return OX_GetSpectrum(data, axIndex); });
}

void COrvexCtrl::OnDraw(DrawingContext& context, const RECT& bounds)
{
    context.FillRect(bounds, StockBrush::White);
    context.DrawIcon(bounds.left, bounds.top, controlIcon);
    context.TextOut(bounds.left + iconSize, bounds.top, "ox");
}

bool COrvexCtrl::DoPropExchange(CPropExchange& exchange)
{
    return exchange.ExchangeVersion(OrvexCtrlClass().version);
}

COrvexCtrl::COrvexCtrlFactory::COrvexCtrlFactory() : COleObjectFactory(OrvexCtrlClass()) { }

COrvexCtrl::COrvexCtrlFactory& COrvexCtrl::COrvexCtrlFactory::Instance()
{
    static COrvexCtrlFactory factory;
    return factory;
}

COleControl* COrvexCtrl::COrvexCtrlFactory::OnCreateObject()
{
    return new COrvexCtrl;
}

}
