#pragma once

#include <set>

#include "ui/qt/ListPanelWindow.h"

namespace dresk {

class QuickSearchField;

/// The window of the quick search. It asks for the keyboard once it can be seen.
class QuickSearchPanelWindow final : public ListPanelWindow {
  public:
    QuickSearchPanelWindow(const ListPanelRows& rows, QuickSearchPanelEvents& events);
    ~QuickSearchPanelWindow() override;

    void orderFront();
    void setFilter(const String& filter);
    void setSearchMenu(std::uint64_t searchBy, bool isWildcard);
    void focusTextField();

  protected:
    bool event(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void askForKeyboard();
    bool steer(QKeyEvent& event);

    QuickSearchPanelEvents& events_;
    QuickSearchField* field_;
    /// Shown, but not yet seen. Qt's own word on who is active comes too late here: it holds a loss
    /// of the focus back for a while.
    bool waitsForKeyboard_ = false;
    /// Steering keys that went down here: only their release counts, so that a key which ended an
    /// input method's word, or which another window had, does nothing.
    std::set<int> pressedKeys_;
};

/// For QuickSearchPanelController.
std::unique_ptr<QuickSearchPanelView> makeQtQuickSearchPanelView(const ListPanelRows& rows,
                                                                 QuickSearchPanelEvents& events);

} // namespace dresk
