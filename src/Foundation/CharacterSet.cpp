#include "Foundation/CharacterSet.h"

#include <bit>

#include <unicode/uchar.h>
#include <unicode/unorm2.h>

namespace dresk {

namespace {

constexpr unsigned LastPlane = 16;

template <class Predicate>
CharacterSet build(Predicate predicate) {
    CharacterSet set;
    for (std::uint32_t unit = 0; unit <= 0xFFFF; ++unit)
        if (predicate(static_cast<UChar32>(unit)))
            set.add(static_cast<char16_t>(unit));
    return set;
}

CharacterSet buildFromMask(std::uint32_t mask) {
    return build([mask](UChar32 c) { return (U_GET_GC_MASK(c) & mask) != 0; });
}

bool isNewline(UChar32 c) {
    return (c >= 0x0A && c <= 0x0D) || c == 0x85 || c == 0x2028 || c == 0x2029;
}

bool isWhitespace(UChar32 c) {
    return c == 0x09 || (U_GET_GC_MASK(c) & U_GC_ZS_MASK) != 0;
}

bool isDecomposable(UChar32 c) {
    UErrorCode status = U_ZERO_ERROR;
    const UNormalizer2* nfd = unorm2_getNFDInstance(&status);
    UChar buffer[8];
    return U_SUCCESS(status) && unorm2_getRawDecomposition(nfd, c, buffer, 8, &status) > 0;
}

} // namespace

CharacterSet::CharacterSet() {
    static const auto empty = std::make_shared<Bits>(Bits{});
    bits_ = empty;
}

CharacterSet::CharacterSet(StringView members) : CharacterSet() {
    for (const char16_t unit : members)
        add(unit);
}

CharacterSet::CharacterSet(unsigned plane, const Bits& bits) : CharacterSet() {
    if (plane == 0)
        bits_ = std::make_shared<Bits>(bits);
    else if (plane <= LastPlane && bits != Bits{})
        planes_ = std::make_shared<const Planes>(Planes{{plane, bits}});
}

CharacterSet::Bits& CharacterSet::ownBits() {
    if (bits_.use_count() != 1)
        bits_ = std::make_shared<Bits>(*bits_);
    return *bits_;
}

void CharacterSet::add(char16_t unit) {
    if (!contains(unit))
        ownBits()[unit >> 6] |= std::uint64_t{1} << (unit & 63);
}

void CharacterSet::remove(char16_t unit) {
    if (contains(unit))
        ownBits()[unit >> 6] &= ~(std::uint64_t{1} << (unit & 63));
}

void CharacterSet::formUnion(const CharacterSet& other) {
    Bits& bits = ownBits();
    for (std::size_t i = 0; i < bits.size(); ++i)
        bits[i] |= (*other.bits_)[i];
    if (other.planes_ == nullptr)
        return;
    Planes planes = supplementaryPlanes();
    for (const auto& [number, plane] : *other.planes_)
        for (std::size_t i = 0; i < plane.size(); ++i)
            planes[number][i] |= plane[i];
    planes_ = std::make_shared<const Planes>(std::move(planes));
}

CharacterSet CharacterSet::inverted() const {
    CharacterSet result = *this;
    for (std::uint64_t& word : result.ownBits())
        word = ~word;
    Planes planes;
    for (unsigned number = 1; number <= LastPlane; ++number) {
        Bits plane{};
        const auto own = supplementaryPlanes().find(number);
        if (own != supplementaryPlanes().end())
            plane = own->second;
        bool isEmpty = true;
        for (std::uint64_t& word : plane) {
            word = ~word;
            isEmpty = isEmpty && word == 0;
        }
        if (!isEmpty)
            planes.emplace(number, plane);
    }
    result.planes_ = std::make_shared<const Planes>(std::move(planes));
    return result;
}

const CharacterSet::Planes& CharacterSet::supplementaryPlanes() const {
    static const Planes none;
    return planes_ != nullptr ? *planes_ : none;
}

bool CharacterSet::containsCodePoint(char32_t codePoint) const {
    if (codePoint <= 0xFFFF)
        return contains(static_cast<char16_t>(codePoint));
    const auto plane = supplementaryPlanes().find(codePoint >> 16);
    return plane != supplementaryPlanes().end() &&
           (plane->second[(codePoint & 0xFFFF) >> 6] >> (codePoint & 63) & 1) != 0;
}

void CharacterSet::addCodePoint(char32_t codePoint) {
    if (codePoint <= 0xFFFF) {
        add(static_cast<char16_t>(codePoint));
    } else if (codePoint >> 16 <= LastPlane && !containsCodePoint(codePoint)) {
        Planes planes = supplementaryPlanes();
        planes[codePoint >> 16][(codePoint & 0xFFFF) >> 6] |= std::uint64_t{1} << (codePoint & 63);
        planes_ = std::make_shared<const Planes>(std::move(planes));
    }
}

std::size_t CharacterSet::count() const {
    std::size_t count = 0;
    for (const std::uint64_t word : *bits_)
        count += static_cast<std::size_t>(std::popcount(word));
    return count;
}

String CharacterSet::members() const {
    String result;
    for (std::uint32_t unit = 0; unit <= 0xFFFF; ++unit)
        if (contains(static_cast<char16_t>(unit)))
            result.push_back(static_cast<char16_t>(unit));
    return result;
}

const CharacterSet& CharacterSet::whitespaceCharacterSet() {
    static const CharacterSet set = build(isWhitespace);
    return set;
}

const CharacterSet& CharacterSet::whitespaceAndNewlineCharacterSet() {
    static const CharacterSet set =
        build([](UChar32 c) { return isWhitespace(c) || isNewline(c); });
    return set;
}

const CharacterSet& CharacterSet::newlineCharacterSet() {
    static const CharacterSet set = build(isNewline);
    return set;
}

const CharacterSet& CharacterSet::decimalDigitCharacterSet() {
    static const CharacterSet set = buildFromMask(U_GC_ND_MASK);
    return set;
}

const CharacterSet& CharacterSet::letterCharacterSet() {
    static const CharacterSet set = buildFromMask(U_GC_L_MASK | U_GC_M_MASK);
    return set;
}

const CharacterSet& CharacterSet::lowercaseLetterCharacterSet() {
    static const CharacterSet set = buildFromMask(U_GC_LL_MASK);
    return set;
}

const CharacterSet& CharacterSet::uppercaseLetterCharacterSet() {
    static const CharacterSet set = buildFromMask(U_GC_LU_MASK | U_GC_LT_MASK);
    return set;
}

const CharacterSet& CharacterSet::capitalizedLetterCharacterSet() {
    static const CharacterSet set = buildFromMask(U_GC_LT_MASK);
    return set;
}

const CharacterSet& CharacterSet::alphanumericCharacterSet() {
    static const CharacterSet set = buildFromMask(U_GC_L_MASK | U_GC_M_MASK | U_GC_N_MASK);
    return set;
}

const CharacterSet& CharacterSet::controlCharacterSet() {
    static const CharacterSet set = buildFromMask(U_GC_CC_MASK | U_GC_CF_MASK);
    return set;
}

const CharacterSet& CharacterSet::nonBaseCharacterSet() {
    static const CharacterSet set = buildFromMask(U_GC_M_MASK);
    return set;
}

const CharacterSet& CharacterSet::decomposableCharacterSet() {
    static const CharacterSet set = build(isDecomposable);
    return set;
}

const CharacterSet& CharacterSet::punctuationCharacterSet() {
    static const CharacterSet set = buildFromMask(U_GC_P_MASK);
    return set;
}

const CharacterSet& CharacterSet::symbolCharacterSet() {
    static const CharacterSet set = buildFromMask(U_GC_S_MASK);
    return set;
}

const CharacterSet& CharacterSet::illegalCharacterSet() {
    static const CharacterSet set = buildFromMask(U_GC_CN_MASK);
    return set;
}

} // namespace dresk
