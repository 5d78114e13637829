#pragma once

#include <utility>

namespace dresk {

/// Plain pair of owned values. A match is a ZPPair of the snippet and the typed text it replaces.
template <class First, class Second>
class ZPPair {
  public:
    ZPPair(First first, Second second) : first_(std::move(first)), second_(std::move(second)) {}

    const First& first() const { return first_; }
    const Second& second() const { return second_; }

  private:
    First first_;
    Second second_;
};

} // namespace dresk
