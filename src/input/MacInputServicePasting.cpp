#include "input/MacInputService.h"

namespace dresk {

void MacInputService::sendPasteCommand() {
    beginSending();
    sendKey(keyCodeV_,
            contextInputSetting()->useControlKey ? EventFlag::Control : EventFlag::Command);
    endSending();
}

void MacInputService::sendCopyCommand() {
    beginSending();
    sendKey(keyCodeC_, EventFlag::Command);
    endSending();
}

} // namespace dresk
