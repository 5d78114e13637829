#pragma once

#include "Foundation/String.h"

#include <QString>

namespace dresk {

/// Both sides hold 16-bit units, so nothing is lost either way.
inline QString toQString(StringView text) {
    return QString::fromUtf16(text.data(), static_cast<qsizetype>(text.size()));
}
inline String fromQString(const QString& text) {
    return {reinterpret_cast<const char16_t*>(text.utf16()), static_cast<std::size_t>(text.size())};
}

} // namespace dresk
