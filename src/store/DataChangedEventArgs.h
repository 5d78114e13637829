#pragma once

#include <variant>

#include "Foundation/ZPEvent.h"
#include "store/SnippetGroup.h"

namespace dresk {

namespace DataChange {
inline constexpr std::int32_t SnippetAdded = 1;
inline constexpr std::int32_t SnippetChanged = 2;
inline constexpr std::int32_t SnippetRemoved = 3;
inline constexpr std::int32_t GroupChanged = 4;
inline constexpr std::int32_t GroupRemoved = 5;
/// The array may be empty.
inline constexpr std::int32_t GroupsAdded = 6;
/// Reloaded from the sync folder's files of single groups.
inline constexpr std::int32_t GroupsReloaded = 7;
/// A group's items changed as a whole.
inline constexpr std::int32_t GroupItemsChanged = 8;
inline constexpr std::int32_t SnippetsRemoved = 9;
inline constexpr std::int32_t SnippetsAdded = 10;
/// A group's content was replaced by the system's substitutions.
inline constexpr std::int32_t GroupReplacedBySubstitutions = 11;
inline constexpr std::int32_t GroupOrderChanged = 12;
inline constexpr std::int32_t SnippetsSorted = 13;
} // namespace DataChange

/// What a change was about: nothing, one or several snippets, one or several groups.
using DataChangedObject =
    std::variant<std::monostate, std::shared_ptr<Snippet>, std::shared_ptr<SnippetGroup>,
                 SnippetGroup::Items, SnippetGroupArray>;

/// One change of the data. Lives for one raise.
class DataChangedEventArgs : public ZPObject {
  public:
    explicit DataChangedEventArgs(std::int32_t type) : type_(type) {}

    /// One of DataChange.
    std::int32_t type() const { return type_; }
    const DataChangedObject& object() const { return object_; }
    void setObject(DataChangedObject object) { object_ = std::move(object); }
    /// Who made the change, so that an observer can skip its own; only its identity counts.
    const void* by() const { return by_; }
    void setBy(const void* by) { by_ = by; }

  private:
    std::int32_t type_;
    DataChangedObject object_;
    const void* by_ = nullptr;
};

} // namespace dresk
