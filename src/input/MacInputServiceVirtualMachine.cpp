#include <utility>

#include "Foundation/KeyCode.h"
#include "input/AXUtils.h"
#include "input/MacInputService.h"

// The route of a paste into a virtual machine or remote screen, which takes no synthetic paste as
// long as it believes that nothing has changed: it is made to lose the focus and to regain it.
namespace dresk {

namespace {

constexpr double ClickAtHelperAfter = 0.2;
constexpr double HideHelperAfter = 0.3;
constexpr double ActivateAfter = 0.5;
// From the activation on.
constexpr double ClickAtVMAfter = 0.1;
constexpr double EraseAfter = 0.2;
constexpr double PasteAfter = 0.2;
constexpr double PasteAfterErasing = 0.4;

} // namespace

void MacInputService::showVMHelperDelayed(const ContextInputSetting& setting) {
    setFrontProcess(dreskProcess_);
    mainRunLoop_.post({this, "showVMHelper"}, [this, setting] { showVMHelper(setting); });
}

void MacInputService::showVMHelper(const ContextInputSetting& setting) {
    if (setting.clickAtVMHelper && vmHelperWindow_ != nullptr) {
        const Point pointer = mouseLocation();
        const Rect frame = vmHelperWindow_->frame();
        vmHelperWindow_->setFrameOrigin(
            {pointer.x - frame.width / 2, pointer.y - frame.height / 2});
        vmHelperWindow_->orderFrontRegardless();
        mainRunLoop_.callAfter(ClickAtHelperAfter, {this, "sendMouseClick"},
                               [this] { sendMouseClick(); });
        mainRunLoop_.callAfter(HideHelperAfter, {this, "orderOut"}, [this] {
            if (vmHelperWindow_ != nullptr)
                vmHelperWindow_->orderOut();
        });
    }
    mainRunLoop_.callAfter(ActivateAfter, {this, "activateAndPasteToVM"},
                           [this, setting] { activateAndPasteToVM(setting); });
}

void MacInputService::activateAndPasteToVM(const ContextInputSetting& setting) {
    setFrontProcess(lastProcessReceivedKeyEvent());
    if (setting.clickAtVM)
        mainRunLoop_.callAfter(ClickAtVMAfter, {this, "sendMouseClick"},
                               [this] { sendMouseClick(); });
    if (setting.deleteAfterActivateVM)
        mainRunLoop_.callAfter(EraseAfter, {this, "sendBackspacesDelayed"},
                               [this] { sendBackspacesDelayed(); });
    mainRunLoop_.callAfter(setting.deleteAfterActivateVM ? PasteAfterErasing : PasteAfter,
                           {this, "sendPasteCommandDelayed"},
                           [this] { sendPasteCommandDelayed(); });
}

// All key events go out from the tap thread; without one there is nobody to send to.
void MacInputService::handToTapThread(std::string_view operation, void (MacInputService::*step)()) {
    const std::lock_guard lock(mutex_);
    if (tapRunLoop_ != nullptr)
        tapRunLoop_->post({this, operation}, [this, step] { (this->*step)(); });
}

void MacInputService::sendBackspacesDelayed() {
    handToTapThread("sendBackspaces", &MacInputService::sendBackspaces);
}

void MacInputService::sendPasteCommandDelayed() {
    handToTapThread("sendPasteCommand", &MacInputService::sendPasteCommand);
}

void MacInputService::sendCopyCommandDelayed() {
    handToTapThread("sendCopyCommand", &MacInputService::sendCopyCommand);
}

void MacInputService::sendBackspaces() {
    sendBackspaces(std::exchange(backspaceCount_, 0));
}

void MacInputService::sendMouseClick() {
    const Point pointer = desktop_.screens().pointerLocation();
    desktop_.screens().postMouseEvent(EventType::LeftMouseDown, pointer);
    desktop_.screens().postMouseEvent(EventType::LeftMouseUp, pointer);
}

void MacInputService::sendMouseClickToVMHelperWindow() {
    if (vmHelperWindow_ == nullptr)
        return;
    const Rect frame = vmHelperWindow_->frame();
    Point place = carbonScreenPointFromCocoaScreenPoint(
        desktop_.screens(),
        ConvertToNSPointFromCGPoint(desktop_.screens(), {frame.x, frame.y + frame.height}));
    place.x += 15;
    place.y -= 15;
    desktop_.screens().postMouseEvent(EventType::LeftMouseDown, place);
    desktop_.screens().postMouseEvent(EventType::LeftMouseUp, place);
}

Point MacInputService::carbonScreenPointFromCocoaScreenPoint(Screens& screens, Point point) {
    const auto all = screens.screens();
    for (const Screen& screen : all) {
        const Rect& frame = screen.frame;
        // The frame measured from below.
        const double bottom = all.front().frame.height - (frame.y + frame.height);
        if (Rect{frame.x, bottom, frame.width, frame.height}.contains(point))
            return {point.x, bottom + frame.height - point.y};
    }
    return {};
}

} // namespace dresk
