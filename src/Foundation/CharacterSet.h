#pragma once

#include <array>
#include <map>
#include <memory>

#include "Foundation/String.h"

namespace dresk {

/// A set of 16-bit code units, with the code points beyond the basic plane kept beside them for the
/// archives that have such. Copies share their bits until one of them is changed; a set may be
/// read from any thread while no thread changes that same object.
class CharacterSet {
  public:
    /// The empty set.
    CharacterSet();
    explicit CharacterSet(StringView members);
    /// The members of one plane, 0 for the basic one; a plane beyond 16 gives the empty set.
    CharacterSet(unsigned plane, const std::array<std::uint64_t, 1024>& bits);

    bool contains(char16_t unit) const { return ((*bits_)[unit >> 6] >> (unit & 63) & 1) != 0; }
    void add(char16_t unit);
    void remove(char16_t unit);
    void formUnion(const CharacterSet& other);
    CharacterSet inverted() const;

    /// Membership of any code point up to U+10FFFF.
    bool containsCodePoint(char32_t codePoint) const;
    void addCodePoint(char32_t codePoint);
    /// The planes beyond the basic one that have members, each as 65,536 bits, lowest first.
    using Bits = std::array<std::uint64_t, 1024>;
    using Planes = std::map<unsigned, Bits>;
    const Planes& supplementaryPlanes() const;
    const Bits& basicPlane() const { return *bits_; }

    /// Number of members in the basic plane, 0 to 65,536.
    std::size_t count() const;
    /// The members in the basic plane in ascending order.
    String members() const;

    friend bool operator==(const CharacterSet& a, const CharacterSet& b) {
        return (a.bits_ == b.bits_ || *a.bits_ == *b.bits_) &&
               a.supplementaryPlanes() == b.supplementaryPlanes();
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
    Bits& ownBits();

    std::shared_ptr<Bits> bits_;
    /// Null for none; no plane in it is empty.
    std::shared_ptr<const Planes> planes_;
};

} // namespace dresk
