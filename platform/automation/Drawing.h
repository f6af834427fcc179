#pragma once

#include "platform/automation/Interfaces.h"

namespace Platform::Automation {

enum class StockBrush { White };

/// What a control draws on. A host that shows something implements it; one that wants to know keeps the calls.
class DrawingContext {
public:
    virtual void FillRect(const RECT& area, StockBrush brush) = 0;

    /// @param icon  number of the icon among the control's resources
    virtual void DrawIcon(LONG x, LONG y, int icon) = 0;

    virtual void TextOut(LONG x, LONG y, const char* text) = 0;

protected:
    ~DrawingContext() = default;
};

/// Width and height of an icon, in pixels.
inline constexpr LONG iconSize = 32;

}
