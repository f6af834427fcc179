#pragma once

#include "platform/automation/Control.h"
#include "platform/automation/ObjectFactory.h"

namespace Control {

using namespace Platform::Automation;

/// The library as scripting hosts see it: twelve of the exported calls as methods. It has no state, no properties and
/// no events.
///
/// Texts are wide outside and UTF-8 inside. Array arguments are by-reference arrays of 4-byte floats with one dimension
/// of exactly the size named; for any other the method returns 10 (OX_InvalidParameter) without a call of the library,
/// so that the stored error stays and no handler runs. Everything else returns what the call of the same name returns.
class COrvexCtrl final : public COleControl {
public:
    class COrvexCtrlFactory;

    BSTR GetDeviceInfo(LPCOLESTR axKey);
    LONG IsConnected();
    LONG KeyPressed();
    LONG Calibrate();
    LONG TriggerMeasurement();
    LONG SetOption(LPCOLESTR axKey, LPCOLESTR axValue);
    BSTR GetOption(LPCOLESTR axKey);

    /// @param xySubstrateSpectrum  36 floats
    LONG SetSubstrate(const VARIANT& xySubstrateSpectrum);

    /// @param yxTriStimulus  receives 3 floats
    LONG GetTriStimulus(const VARIANT& yxTriStimulus, LONG axIndex);

    LONG GetDensity(float* axDensity, LONG axIndex);

    /// @param yxDensities  receives 4 floats
    LONG GetDensities(const VARIANT& yxDensities, LONG* pxAutoDensityIndex, LONG axIndex);

    /// @param yxSpectrum  receives 36 floats
    LONG GetSpectrum(const VARIANT& yxSpectrum, LONG axIndex);

private:
    COrvexCtrl();
    ~COrvexCtrl() override = default;

    void OnDraw(DrawingContext& context, const RECT& bounds) override;
    bool DoPropExchange(CPropExchange& exchange) override;
};

class COrvexCtrl::COrvexCtrlFactory final : public COleObjectFactory {
public:
    static COrvexCtrlFactory& Instance();

private:
    COrvexCtrlFactory();

    COleControl* OnCreateObject() override;
};

}
