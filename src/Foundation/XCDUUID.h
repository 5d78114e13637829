#pragma once

#include <array>

#include "Foundation/String.h"

namespace dresk {

/// A 16-byte identity. Value type.
class XCDUUID {
  public:
    using Bytes = std::array<std::uint8_t, 16>;

    /// A new random identity (version 4), from the system's random source.
    XCDUUID();
    explicit XCDUUID(const Bytes& bytes) : bytes_(bytes) {}
    /// Parses the canonical text in either case; nothing for any other text.
    static std::optional<XCDUUID> initWithUUIDString(StringView text);

    /// Canonical text in upper case, 36 units.
    String UUIDString() const;
    const Bytes& bytes() const { return bytes_; }

    friend bool operator==(const XCDUUID&, const XCDUUID&) = default;

  private:
    Bytes bytes_;
};

} // namespace dresk
