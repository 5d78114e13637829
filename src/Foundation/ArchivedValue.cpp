#include "Foundation/ArchivedValue.h"

#include <set>

namespace dresk {

namespace {

/// Walks two graphs side by side. A pair that was met before is taken as equal, so that cycles end
/// and every pair is compared once.
class GraphComparison {
  public:
    GraphComparison(const ArchivedGraph& a, const ArchivedGraph& b) : a_(a), b_(b) {}

    bool equal(std::uint64_t first, std::uint64_t second) {
        demand(first, second);
        while (!pending_.empty()) {
            const auto [x, y] = pending_.back();
            pending_.pop_back();
            if (x >= a_.objects.size() || y >= b_.objects.size() ||
                !sameValue(a_.objects[x], b_.objects[y]))
                return false;
        }
        return true;
    }

  private:
    void demand(std::uint64_t first, std::uint64_t second) {
        if (met_.emplace(first, second).second)
            pending_.emplace_back(first, second);
    }

    bool sameValue(const PropertyList& a, const PropertyList& b) {
        if (a.uid().has_value() && b.uid().has_value()) {
            demand(a.uid()->value, b.uid()->value);
            return true;
        }
        if (const auto* x = a.array()) {
            const auto* y = b.array();
            if (y == nullptr || x->size() != y->size())
                return false;
            for (std::size_t i = 0; i < x->size(); ++i)
                if (!sameValue((*x)[i], (*y)[i]))
                    return false;
            return true;
        }
        if (const auto* x = a.dictionary()) {
            const auto* y = b.dictionary();
            if (y == nullptr || x->size() != y->size())
                return false;
            for (const PropertyList::Entry& entry : *x) {
                const PropertyList* other = b.find(*entry.key);
                if (other == nullptr || !sameValue(entry.value, *other))
                    return false;
            }
            return true;
        }
        return a == b;
    }

    const ArchivedGraph& a_;
    const ArchivedGraph& b_;
    std::set<std::pair<std::uint64_t, std::uint64_t>> met_;
    std::vector<std::pair<std::uint64_t, std::uint64_t>> pending_;
};

} // namespace

bool operator==(const ArchivedValue& a, const ArchivedValue& b) {
    if (a.graph_ == b.graph_ && a.index_ == b.index_)
        return true;
    if (!a || !b)
        return false;
    return GraphComparison(*a.graph_, *b.graph_).equal(a.index_, b.index_);
}

} // namespace dresk
