#pragma once

#include <map>
#include <mutex>
#include <vector>

#include "input/Accessibility.h"

namespace dresk {

/// An element that tells what it was given, and notes what it was asked. Any thread.
class ScriptedElement final : public AXUIElement {
  public:
    AXValue attributeValue(StringView name) override;
    /// What was set under the name, whatever the parameter; for StringForRange the part of AXValue.
    AXValue parameterizedAttributeValue(StringView name, const AXValue& parameter) override;

    void set(StringView name, AXValue value);
    /// Parameters of the questions under that name, in order.
    std::vector<AXValue> asked(StringView name) const;

  private:
    mutable std::mutex mutex_;
    std::map<String, AXValue, std::less<>> values_;
    std::vector<std::pair<String, AXValue>> asked_;
};

} // namespace dresk
