#pragma once

#include "Foundation/RunLoop.h"
#include "input/PasteboardData.h"

namespace dresk {

/// The plain form of saving: reads everything at once and puts it back without waiting for
/// anybody. One thread; `restoreAfterDelay` runs on its loop.
class ClipboardBackup {
  public:
    /// `pasteboard` outlives it.
    explicit ClipboardBackup(Pasteboard& pasteboard) : pasteboard_(pasteboard) {}

    /// Waits for the owner of the content, for about 0.1 seconds a type.
    void backup();
    /// Nothing was saved before the first backup.
    bool hasData() const { return hasData_; }
    void restore();
    /// After 0.3 seconds, if anything was saved. The backup outlives that, or is cancelled on the
    /// loop.
    void restoreAfterDelay(RunLoop& loop);

  private:
    Pasteboard& pasteboard_;
    std::vector<String> types_;
    PasteboardData::Datas datas_;
    bool hasData_ = false;
};

} // namespace dresk
