#pragma once

#include <array>
#include <memory>

#include "Foundation/String.h"

namespace dresk {

/// A set of 16-bit code units. Copies share their bits until one of them is changed; a set may be
/// read from any thread while no thread changes that same object.
class CharacterSet {
  public:
    /// The empty set.
    CharacterSet();
    explicit CharacterSet(StringView members);

    bool contains(char16_t unit) const { return ((*bits_)[unit >> 6] >> (unit & 63) & 1) != 0; }
    void add(char16_t unit);
    void remove(char16_t unit);
    void formUnion(const CharacterSet& other);
    CharacterSet inverted() const;
    /// Number of members, 0 to 65,536.
    std::size_t count() const;
    /// The members in ascending order.
    String members() const;

    friend bool operator==(const CharacterSet& a, const CharacterSet& b) {
        return a.bits_ == b.bits_ || *a.bits_ == *b.bits_;
    }

    /// The platform's named sets, restricted to the basic plane. Built once, any thread.
    static const CharacterSet& whitespaceCharacterSet();
    static const CharacterSet& whitespaceAndNewlineCharacterSet();
    static const CharacterSet& newlineCharacterSet();
    static const CharacterSet& decimalDigitCharacterSet();
    static const CharacterSet& letterCharacterSet();
    static const CharacterSet& lowercaseLetterCharacterSet();
    static const CharacterSet& uppercaseLetterCharacterSet();
    static const CharacterSet& capitalizedLetterCharacterSet();
    static const CharacterSet& alphanumericCharacterSet();
    static const CharacterSet& controlCharacterSet();
    static const CharacterSet& nonBaseCharacterSet();
    static const CharacterSet& decomposableCharacterSet();
    static const CharacterSet& punctuationCharacterSet();
    static const CharacterSet& symbolCharacterSet();
    static const CharacterSet& illegalCharacterSet();

  private:
    using Bits = std::array<std::uint64_t, 1024>;
    Bits& ownBits();

    std::shared_ptr<Bits> bits_;
};

} // namespace dresk
