#pragma once

#include <vector>

#include "Foundation/String.h"
#include "Foundation/ZPEvent.h"
#include "seam/GeneralHotKey.h"

namespace dresk {

/// Base of all input arguments. An observer sets `cancel` to have the input swallowed. Arguments
/// live for one raise.
struct ZPCancelEventArgs : ZPObject {
    bool cancel = false;
};

/// One key press or release.
struct ZPKeyEventArgs : ZPCancelEventArgs {
    /// Virtual key code.
    std::uint16_t key = 0;
    /// First unit of what the key types, 0 when it types nothing.
    char16_t c = 0;
    /// What the key types; null when it has no string.
    std::optional<String> s;
};

/// Declared for mouse events. The mouse-down event is raised without an argument, so nothing makes
/// one.
struct ZPMouseEventArgs : ZPCancelEventArgs {
    double x = 0;
    double y = 0;
};

/// Every registered hot key that equals the keys now held. The hot keys belong to whoever
/// registered them.
class ZPHotKeysPressedEventArgs : public ZPCancelEventArgs {
  public:
    explicit ZPHotKeysPressedEventArgs(std::vector<const GeneralHotKey*> hotKeys)
        : hotKeys_(std::move(hotKeys)) {}
    const std::vector<const GeneralHotKey*>& hotKeys() const { return hotKeys_; }

  private:
    std::vector<const GeneralHotKey*> hotKeys_;
};

/// A Control or Command chord that no registered hot key claimed. `key` and `c` are filled, `s` is
/// not.
class ZPUnregisteredHotKeyPressedEventArgs : public ZPKeyEventArgs {
  public:
    explicit ZPUnregisteredHotKeyPressedEventArgs(const GeneralHotKey& hotKey) : hotKey_(hotKey) {}
    const GeneralHotKey& hotKey() const { return hotKey_; }

  private:
    GeneralHotKey hotKey_;
};

} // namespace dresk
