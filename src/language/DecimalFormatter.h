#pragma once

#include <memory>

#include "Foundation/String.h"

namespace dresk {

/// Numbers in the decimal style of a locale, with at most three decimals. One thread at a time.
class DecimalFormatter {
  public:
    /// An empty locale is the current one.
    DecimalFormatter(const String& locale, bool usesGroupingSeparator);

    String stringFromNumber(double number) const;
    /// Null unless the whole text is a number as the locale writes it; blanks around it are
    /// allowed.
    std::optional<double> numberFromString(StringView text) const;

  private:
    /// The library names its formatters by untyped pointers.
    std::shared_ptr<void*> format_;
};

} // namespace dresk
