#pragma once

#include <vector>

#include "Foundation/String.h"

namespace dresk {

/// A rule that limits a group, or the auto-correction, to some applications and input sources.
/// Changed under the exclusive data lock, read under the shared one.
class DRFunctionAvailability {
  public:
    using List = std::optional<std::vector<String>>;

    /// Mode: 0 everywhere, 1 everywhere but `applications`, 2 only in `applications`, 3 nowhere.
    std::int64_t availability() const { return availability_; }
    void setAvailability(std::int64_t availability) { availability_ = availability; }
    /// Identifiers of applications; null where none was ever set.
    const List& applications() const { return applications_; }
    void setApplications(List applications) { applications_ = std::move(applications); }
    /// 0 any input source, 1 all but `inputMethods`, other values only `inputMethods`.
    std::int64_t inputMethodsOption() const { return inputMethodsOption_; }
    void setInputMethodsOption(std::int64_t option) { inputMethodsOption_ = option; }
    const List& inputMethods() const { return inputMethods_; }
    void setInputMethods(List inputMethods) { inputMethods_ = std::move(inputMethods); }

    /// Whether the application passes; a null identifier is in no list.
    bool allowsApplication(const std::optional<String>& identifier) const;
    /// Whether the input source passes; every rule lets a null identifier pass.
    bool allowsInputSource(const std::optional<String>& identifier) const;

  private:
    std::int64_t availability_ = 0;
    List applications_;
    std::int64_t inputMethodsOption_ = 0;
    List inputMethods_;
};

} // namespace dresk
