#pragma once

#include "Foundation/String.h"

#include <QString>

namespace dresk {

inline QString toQString(StringView text) {
    return QString::fromUtf16(text.data(), static_cast<qsizetype>(text.size()));
}

inline String fromQString(const QString& text) {
    return text.toStdU16String();
}

} // namespace dresk
