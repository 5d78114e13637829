#include <utility>

#include "input/MacInputService.h"

namespace dresk {

void MacInputService::showVMHelperDelayed(const std::shared_ptr<ContextInputSetting>& /*setting*/) {
    sendBackspaces(std::exchange(backspaceCount_, 0));
    sendPasteCommand();
}

} // namespace dresk
