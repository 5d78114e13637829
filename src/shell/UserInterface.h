#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "shell/Menu.h"
#include "store/Snippet.h"

namespace dresk {

class FieldsEditorPresenter;
class SnippetQuickSearchController;
class SnippetSuggestionController;
class VMHelperWindow;

/// The icon by which the program shows in the panel.
struct StatusItem {
    /// Resource by name: "AutoText", "AutoTextCaution" or "AutoText-Disabled"; 22 points wide and
    /// high.
    String image;
    /// The image is a mask to be drawn in the panel's own colour; otherwise it has its own colours.
    bool isTemplate = true;
    String toolTip;
};

/// A question or a message.
struct Alert {
    String title;
    /// May be empty.
    String message;
    /// At least one; the first is the default one.
    std::vector<String> buttons;
};

/// Explains how Dresk gets at the keys, while it cannot.
struct AccessPrompt {
    String title;
    /// What to do, in paragraphs parted by line feeds.
    String text;
    /// Behind the button "Try Again". The answer comes later: by closeAccessPrompt, or by
    /// refuseAccessPrompt.
    std::function<void()> tryAgain;
    /// Behind the button "Ignore", which is hidden until the first refuseAccessPrompt.
    std::function<void()> ignore;
    /// Behind the button "Restart".
    std::function<void()> restart;
    /// To be called once, when the window has closed for whatever reason.
    std::function<void()> closed;
};

/// A panel that asks for one existing file; no folders, links are followed.
struct OpenPanel {
    String title;
    /// Lower-case file name extensions without the dot.
    std::vector<String> fileTypes;
};

/// A panel that asks where to save.
struct SavePanel {
    String message;
    /// Lower-case extensions the user chooses from, the default one first; the name that comes back
    /// has the chosen one.
    std::vector<String> fileTypes;
    /// Name to begin with, without extension; may be empty.
    String name;
};

/// What the shell asks of an open main window. Main thread.
class MacrosWindow {
  public:
    virtual ~MacrosWindow() = default;
    /// Adds a snippet and begins its editing.
    virtual void add() = 0;
    virtual void newGroup() = 0;
    /// A new snippet with what is on the clipboard.
    virtual void makeSnippetFromClipboard() = 0;
    /// Selects the snippet; null or one that no group holds changes nothing.
    virtual void navigateToSnippet(const std::shared_ptr<Snippet>& snippet) = 0;
    virtual void exportAllGroupsToRTF() = 0;
};

/// Everything with windows, as the shell sees it. The program has one. All of it belongs to the
/// main thread, callbacks included. Nothing here waits for the user: what he answers comes by a
/// callback, later and at most once. Callbacks touch the AppDelegate; the interface stops calling
/// at `tearDown`.
///
/// Whoever makes the interface gives it the AppDelegate before `launch`; from there it gets at
/// data, engine and preferences for its windows.
class UserInterface {
  public:
    UserInterface() = default;
    UserInterface(const UserInterface&) = delete;
    UserInterface& operator=(const UserInterface&) = delete;
    virtual ~UserInterface() = default;

    // The status item.
    /// Shows the icon with its menu, or changes the icon. The menu stays the same for the life of
    /// the program and outlives the item.
    virtual void setStatusItem(const StatusItem& item, std::shared_ptr<Menu> menu) = 0;
    /// Nothing when there is none.
    virtual void removeStatusItem() = 0;
    /// Fixed items of the status menu have changed while it was closed, for desktops that keep a
    /// copy of the menu.
    virtual void statusMenuChanged() = 0;
    /// The label on the program's icon in docks that have such; null clears it.
    virtual void setDockBadgeLabel(const std::optional<String>& label) = 0;

    // Messages.
    /// `closed` gets the index of the button, that of the last one when the alert was closed by
    /// other means. May be empty.
    virtual void showAlert(const Alert& alert, std::function<void(std::size_t button)> closed) = 0;
    /// A small notice at the status item, or at its window, that goes by itself after `seconds`.
    /// Nothing where there is nothing to show it at.
    virtual void showNotice(const String& text, double seconds) = 0;
    /// The prompt in front of all windows. One at a time.
    virtual void showAccessPrompt(const AccessPrompt& prompt) = 0;
    /// There is still no access: shakes the prompt and shows "Ignore" from now on.
    virtual void refuseAccessPrompt() = 0;
    /// Closes the prompt, which calls its `closed`. Nothing when there is none.
    virtual void closeAccessPrompt() = 0;
    /// Shows a text to read and to copy, in a window of its own, in front of all others.
    virtual void showDiagnosticWindow(const String& text) = 0;

    // Panels. Null when the user cancels.
    using PathChosen = std::function<void(const std::optional<std::filesystem::path>& path)>;
    virtual void showOpenPanel(const OpenPanel& panel, PathChosen chosen) = 0;
    virtual void showSavePanel(const SavePanel& panel, PathChosen chosen) = 0;

    // Windows. What an interface lacks has no command in the menu.
    enum class Window { Macros, Preferences, About, QuickSearch, Diagnostic, FilePanels };
    virtual bool hasWindow(Window window) const = 0;
    /// Opens the main window, or brings the open one forward as it is. `expandAll` opens all groups
    /// of a new one. Null when the interface has no such window.
    virtual MacrosWindow* showMacrosWindow(bool expandAll) = 0;
    /// Opens the window or brings it forward. `willClose` is called when a window that this call
    /// has opened closes. False, with nothing kept, when one is open already or there is none.
    virtual bool showPreferencesWindow(std::function<void()> willClose) = 0;
    virtual void showAboutWindow() = 0;
    /// Whether a window of the program that the user works in is visible; the floating lists do
    /// not count.
    virtual bool hasVisibleWindows() const = 0;
    /// What is to be added to the base size of list and menu fonts, in points; 0 is the desktop's
    /// own size. Tells the open windows and floating lists.
    virtual void setFontSizeDelta(std::int64_t delta) = 0;

    // What engine and input service are given; null where the interface has none. Asked once, at
    // launch, and alive until `tearDown`.
    virtual SnippetSuggestionController* snippetSuggestionController() = 0;
    virtual SnippetQuickSearchController* snippetQuickSearchController() = 0;
    virtual FieldsEditorPresenter* fieldsEditorPresenter() = 0;
    virtual VMHelperWindow* vmHelperWindow() = 0;

    /// The end of the program, behind that of the main loop: closes every window without a word and
    /// gives up all that was made on the AppDelegate. Engine and input service have gone; what else
    /// the AppDelegate has goes next. Nothing is called behind it.
    virtual void tearDown() = 0;
};

} // namespace dresk
