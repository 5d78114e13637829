#pragma once

#include <map>
#include <string>

#include "store/SnippetGroup.h"

namespace dresk {

/// Reads the readable form of the default data. Null, with a line on what is wrong in `error`, for
/// anything that is not in order.
std::optional<SnippetGroupArray> readDefaultDataSource(std::string_view source, const Clock& clock,
                                                       std::string& error);

/// The archive of these groups. Equal sources give equal bytes: snippets take identities that
/// count up from their group's, and all dates are the clock's.
std::string defaultDataArchive(const SnippetGroupArray& groups, const Clock& clock);

} // namespace dresk
