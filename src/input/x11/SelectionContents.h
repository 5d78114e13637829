#pragma once

#include <map>
#include <mutex>

#include "input/Pasteboard.h"
#include "input/x11/SelectionTargets.h"

namespace dresk {

/// What the owner of a selection gave, by target. Any thread.
class SelectionContents final : public PasteboardContents {
  public:
    // PasteboardContents
    bool isComplete() const override;
    std::vector<String> types() const override;
    std::optional<std::string> dataForType(StringView type) const override;

    /// Null while it has not come, and where the owner gave none.
    std::shared_ptr<const SelectionAnswer> answer(const std::string& target) const;
    /// What the answers for all targets were like, without their bytes.
    std::map<std::string, SelectionAnswer> forms() const;
    /// The owner left something unanswered for too long, or gave too much. Behind completion.
    bool hasGivenUp() const;

    /// The targets that the owner says it has. Without this, those count that it gave.
    void setTargets(std::vector<std::string> targets);
    void add(const std::string& target, SelectionAnswer answer);
    void complete(bool givenUp);

  private:
    mutable std::mutex mutex_;
    std::optional<std::vector<std::string>> targets_;
    std::vector<std::string> answered_;
    std::map<std::string, std::shared_ptr<const SelectionAnswer>> answers_;
    bool complete_ = false;
    bool givenUp_ = false;
};

} // namespace dresk
