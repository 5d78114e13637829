#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "language/GeneralPasteboard.h"

namespace dresk {

/// Makes the bytes of promised types. Called on the thread that serves the pasteboard, which is
/// none of the program's others; it must not wait for them. Nothing may be thrown.
class PasteboardOwner {
  public:
    PasteboardOwner() = default;
    PasteboardOwner(const PasteboardOwner&) = delete;
    PasteboardOwner& operator=(const PasteboardOwner&) = delete;
    virtual ~PasteboardOwner() = default;

    /// Null when there is nothing for that type. `type` is one of those that were declared. Any
    /// program may ask, clipboard managers included, and any number of times.
    virtual std::optional<std::string> provideDataForType(StringView type) = 0;
    /// The application in front has taken the data of a promised type to its end.
    virtual void dataTaken(StringView type) = 0;
};

/// What stood on the pasteboard at one moment, read in the background. It stays what it is whatever
/// is copied later. Any thread.
class PasteboardContents {
  public:
    PasteboardContents() = default;
    PasteboardContents(const PasteboardContents&) = delete;
    PasteboardContents& operator=(const PasteboardContents&) = delete;
    virtual ~PasteboardContents() = default;

    /// Everything has been read or given up, which takes some seconds at most.
    virtual bool isComplete() const = 0;
    /// The platform's own names, in pasteboard order, such that declareTypes with them and the same
    /// bytes brings back what was there.
    virtual std::vector<String> types() const = 0;
    /// Null while it has not come, and where the owner gave none.
    virtual std::optional<std::string> dataForType(StringView type) const = 0;
};

/// How a declaration is to be seen by other programs.
struct PasteboardOptions {
    /// Clipboard managers are asked not to keep it.
    bool concealed = false;
    /// It is offered as the selection that a middle click or Shift-Insert pastes as well; the next
    /// declaration without this gives that one back.
    bool primaryToo = false;
};

/// The general pasteboard. Types are a PasteboardType or a name of the platform's own. Any thread,
/// save where one is named.
class Pasteboard {
  public:
    virtual ~Pasteboard() = default;

    /// Whether other programs can paste from it; if not, what is declared goes nowhere.
    virtual bool isAvailable() const { return true; }
    /// Rises whenever the content changes, whoever changes it.
    virtual std::int64_t changeCount() = 0;
    /// Begins to read everything that is on the pasteboard, and returns at once. It reads to the
    /// end even when something else is declared right behind the call. Never null.
    virtual std::shared_ptr<const PasteboardContents> contents() = 0;
    /// Puts promises on the pasteboard. An empty list empties it. Returns the new change count.
    virtual std::int64_t declareTypes(const std::vector<String>& types,
                                      std::shared_ptr<PasteboardOwner> owner,
                                      PasteboardOptions options) = 0;
    /// What can be had now, as the platform names it. Waits for the owner for about 0.1 seconds at
    /// most; empty when it does not tell.
    virtual std::vector<String> types() = 0;
    /// Whether what can be had now holds the type, under any of the platform's names for it.
    virtual bool offersType(StringView type) = 0;
    /// Waits for the owner for about 0.1 seconds at most; null when it gives none.
    virtual std::optional<std::string> dataForType(StringView type) = 0;
    /// Leaves what this program has on the pasteboard with whoever keeps it beyond the program's
    /// end, if there is anybody. Waits for a second at most. Main thread, at the end.
    virtual void handOver() = 0;
};

} // namespace dresk
