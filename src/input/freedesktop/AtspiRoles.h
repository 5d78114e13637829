#pragma once

#include <atspi/atspi.h>

#include "Foundation/String.h"

namespace dresk {

/// What the rules call a role of the bus ("AXTextArea"); "AXUnknown" for one that they have no word
/// for. A modal dialogue belongs to a window as a sheet does.
StringView axRole(AtspiRole role, bool isModal);
/// Whether the role's AXRole depends on the modal state.
bool mayBeSheet(AtspiRole role);
/// Whether an element of that role shows a page with an address.
bool isWebArea(AtspiRole role);

} // namespace dresk
