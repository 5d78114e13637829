#pragma once

#include "Foundation/PropertyList.h"

namespace dresk {

/// Objects lifted out of a keyed archive as they stood there. References count from 0 within
/// `objects`, whose first element stands for null. They may form cycles.
struct ArchivedGraph {
    std::vector<PropertyList> objects{PropertyList(String(u"$null"))};
};

/// An archived object that nobody here understands, or the archived form behind one that is
/// understood in part. It survives a load and a save unchanged. Cheap to copy; immutable once the
/// archive is read.
class ArchivedValue {
  public:
    /// No value.
    ArchivedValue() = default;
    ArchivedValue(std::shared_ptr<const ArchivedGraph> graph, std::uint64_t index)
        : graph_(std::move(graph)), index_(index) {}

    explicit operator bool() const { return graph_ != nullptr; }
    const std::shared_ptr<const ArchivedGraph>& graph() const { return graph_; }
    /// Place of the object in the graph.
    std::uint64_t index() const { return index_; }

    /// Whether both describe the same objects, whatever graphs they lie in.
    friend bool operator==(const ArchivedValue& a, const ArchivedValue& b);

  private:
    std::shared_ptr<const ArchivedGraph> graph_;
    std::uint64_t index_ = 0;
};

} // namespace dresk
