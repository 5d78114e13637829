#pragma once

#include "Foundation/CharacterSet.h"
#include "Foundation/KeyedArchiver.h"
#include "Foundation/KeyedUnarchiver.h"

namespace dresk {

/// Adds a character set in the platform's form: its characters if they are few, else a bitmap.
KeyedArchiver::UID encodeCharacterSet(KeyedArchiver& archiver, const CharacterSet& set);

/// Reads a character set in any of its forms. Null if the object is none of them.
std::optional<CharacterSet> decodeCharacterSet(const ArchivedObject& object);

} // namespace dresk
