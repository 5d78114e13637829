#pragma once

#include <atomic>

#include "Foundation/AttributedString.h"
#include "Foundation/RunLoop.h"
#include "input/Pasteboard.h"

namespace dresk {

/// Borrows the pasteboard from the user: saves what it holds, offers an expansion on it, and puts
/// the saved content back once the application in front has taken the expansion. Both are promises:
/// bytes are made when somebody asks, on the thread that serves the pasteboard. What names no
/// thread belongs to the tap thread.
class ClipboardDataProvider {
  public:
    /// `pasteboard` outlives it.
    explicit ClipboardDataProvider(Pasteboard& pasteboard);
    ClipboardDataProvider(const ClipboardDataProvider&) = delete;
    ClipboardDataProvider& operator=(const ClipboardDataProvider&) = delete;
    /// Cancels the restore.
    ~ClipboardDataProvider();

    /// Carries the delays; null while there is none, and before the loop goes.
    void setRunLoop(RunLoop* loop) { loop_ = loop; }
    /// Seconds between the end of a job, or a look whether the expansion was taken, and the next
    /// look; 0.3 at first. Below 0.01 the looks are 0.01 apart. Any thread.
    double restoreDelay() const { return restoreDelay_; }
    void setRestoreDelay(double seconds) { restoreDelay_ = seconds; }

    /// Offer rich text as HTML, too.
    void setIncludeHTMLData(bool include) { includeHTMLData_ = include; }
    /// Leave the tag p out of that HTML.
    void setExcludeParagraphTag(bool exclude) { excludeParagraphTag_ = exclude; }
    /// Offer rich text with pictures as HTML and not as RTF.
    void setHTMLForPictures(bool html) { htmlForPictures_ = html; }
    /// Offer the expansion as the selection as well.
    void setPrimaryToo(bool primaryToo) { primaryToo_ = primaryToo; }

    /// Puts an expansion on the pasteboard, concealed from clipboard managers.
    void setString(StringView text);
    void setAttributedString(const AttributedString& text);
    /// When the application in front last took the expansion that was put there last, on the clock
    /// of steadySeconds; 0 as long as it has not. Null when none was put there.
    std::shared_ptr<const std::atomic<double>> providedData() const { return providedData_; }

    /// Saves what is on the pasteboard, unless that is the provider's own or saved already.
    void backup();
    /// Puts the saved content back when the expansion has been taken, or looks again later: it
    /// waits as long as it takes, for the expansion and for the saved content to have been read.
    void restore();
    void restoreAfterDelay();
    void cancelRestore();
    /// A restore was asked for and has not come about, be it cancelled meanwhile.
    bool isRestoreOwed() const { return isRestoreOwed_; }
    /// Puts the saved content back whether or not the expansion was taken, if that is owed.
    void restoreNow();

  private:
    void declare(const std::vector<String>& types, std::shared_ptr<PasteboardOwner> owner,
                 std::shared_ptr<const std::atomic<double>> provided);
    void declareBackup();
    void restoreLater(double seconds);

    Pasteboard& pasteboard_;
    RunLoop* loop_ = nullptr;
    std::atomic<double> restoreDelay_{0.3};
    bool includeHTMLData_ = false;
    bool excludeParagraphTag_ = false;
    bool htmlForPictures_ = false;
    bool primaryToo_ = false;
    /// Of the provider's last declaration, and of the content that was saved.
    std::int64_t changeCount_;
    /// Null when nothing was saved.
    std::shared_ptr<const PasteboardContents> backupData_;
    /// Of the expansion on offer; null when there is none.
    std::shared_ptr<const std::atomic<double>> providedData_;
    bool isRestoreOwed_ = false;
};

} // namespace dresk
