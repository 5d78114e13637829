#pragma once

#include "Foundation/AttributedString.h"
#include "Foundation/KeyedArchiver.h"
#include "Foundation/KeyedUnarchiver.h"
#include "Foundation/TextAttributes.h"

namespace dresk {

/// Adds attributed text in the platform's form. Attributes that runs share are one object.
KeyedArchiver::UID encodeAttributedString(KeyedArchiver& archiver, const AttributedString& text);

/// Reads any kind of attributed text. Null if the object is none.
std::optional<AttributedString> decodeAttributedString(const ArchivedObject& object);

/// One run's attributes as a dictionary object, and back.
KeyedArchiver::UID encodeTextAttributes(KeyedArchiver& archiver,
                                        const AttributedString::Attributes& attributes);
std::shared_ptr<TextAttributes> decodeTextAttributes(const ArchivedObject& dictionary);

/// Whether the name of a font says so ("Helvetica-BoldOblique" says both).
bool fontNameIsBold(StringView name);
bool fontNameIsItalic(StringView name);

} // namespace dresk
