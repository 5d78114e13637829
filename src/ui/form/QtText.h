#pragma once

#include "Foundation/String.h"

#include <QString>

namespace dresk {

inline QString qStringFrom(StringView text) {
    return QString(reinterpret_cast<const QChar*>(text.data()),
                   static_cast<qsizetype>(text.size()));
}

inline String stringFrom(const QString& text) {
    return text.toStdU16String();
}

} // namespace dresk
