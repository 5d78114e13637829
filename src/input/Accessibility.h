#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "Foundation/AttributedString.h"
#include "Foundation/Geometry.h"
#include "Foundation/String.h"
#include "store/BundleIdentifierResolver.h"

namespace dresk {

class AXUIElement;
/// Null is no element.
using AXElement = std::shared_ptr<AXUIElement>;

/// A stretch of text in units that only the application knows; asked back with it.
struct AXTextMarkerRange {
    std::shared_ptr<const void> range;
};

/// monostate: the application does not tell. Points have their origin at the top left of the
/// desktop, and a Rect names its top-left corner; a Range counts 16-bit units; std::string holds
/// the bytes of a document, as RTF is.
using AXValue =
    std::variant<std::monostate, String, Point, Size, Rect, Range, AXElement,
                 std::vector<AXElement>, AXTextMarkerRange, AttributedString, std::string>;

namespace AXAttribute {
inline constexpr StringView FocusedUIElement = u"AXFocusedUIElement";
inline constexpr StringView TopLevelUIElement = u"AXTopLevelUIElement";
inline constexpr StringView SelectedTextRange = u"AXSelectedTextRange";
inline constexpr StringView SelectedTextMarkerRange = u"AXSelectedTextMarkerRange";
inline constexpr StringView Position = u"AXPosition";
inline constexpr StringView Size = u"AXSize";
inline constexpr StringView Role = u"AXRole";
inline constexpr StringView Subrole = u"AXSubrole";
inline constexpr StringView Parent = u"AXParent";
inline constexpr StringView Children = u"AXChildren";
inline constexpr StringView MenuBar = u"AXMenuBar";
inline constexpr StringView Url = u"AXURL";
inline constexpr StringView Value = u"AXValue";
// With a parameter.
inline constexpr StringView StringForRange = u"AXStringForRange";
inline constexpr StringView BoundsForRange = u"AXBoundsForRange";
inline constexpr StringView AttributedStringForRange = u"AXAttributedStringForRange";
inline constexpr StringView RTFForRange = u"AXRTFForRange";
inline constexpr StringView StringForTextMarkerRange = u"AXStringForTextMarkerRange";
inline constexpr StringView BoundsForTextMarkerRange = u"AXBoundsForTextMarkerRange";
} // namespace AXAttribute

/// An application, or something on its windows. Any thread; each question goes to the application,
/// which has about 40 ms to answer.
class AXUIElement {
  public:
    AXUIElement() = default;
    AXUIElement(const AXUIElement&) = delete;
    AXUIElement& operator=(const AXUIElement&) = delete;
    virtual ~AXUIElement() = default;

    virtual AXValue attributeValue(StringView name) = 0;
    virtual AXValue parameterizedAttributeValue(StringView name, const AXValue& parameter) = 0;
};

/// Any thread. An application that did not answer in time is taken for one that tells nothing, for
/// some seconds.
class Accessibility {
  public:
    virtual ~Accessibility() = default;
    /// Null when the process tells nothing.
    virtual AXElement applicationElement(ProcessSerialNumber process) = 0;
};

} // namespace dresk
