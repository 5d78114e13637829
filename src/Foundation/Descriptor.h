#pragma once

#include <utility>

#include <unistd.h>

namespace dresk {

/// Owns a file descriptor; negative for none. One thread at a time.
class Descriptor {
  public:
    Descriptor() = default;
    explicit Descriptor(int value) : value_(value) {}
    Descriptor(Descriptor&& other) noexcept : value_(std::exchange(other.value_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(value_, other.value_);
        return *this;
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() { reset(); }

    int get() const { return value_; }
    bool isOpen() const { return value_ >= 0; }
    /// Leaves it open; the caller closes it.
    int release() { return std::exchange(value_, -1); }
    void reset() {
        if (value_ >= 0)
            ::close(release());
    }

  private:
    int value_ = -1;
};

} // namespace dresk
