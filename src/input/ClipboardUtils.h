#pragma once

#include "Foundation/AttributedString.h"
#include "input/Pasteboard.h"

namespace dresk {

/// Puts text on the pasteboard for good, as an application does that copies. Any thread.
class ClipboardUtils {
  public:
    static void setString(Pasteboard& pasteboard, StringView text);
    /// With its RTFD, RTF and HTML forms.
    static void setAttributedString(Pasteboard& pasteboard, const AttributedString& text);
};

} // namespace dresk
