// The face of the program: the icon, the fixed part of its menu, and what they tell.

#include "Foundation/PreferenceKeys.h"
#include "shell/AppDelegate.h"

namespace dresk {

namespace {

constexpr double DisabledNoticeSeconds = 4.0;

MenuItem command(StringView title, std::function<void()> action) {
    MenuItem item;
    item.title = title;
    item.action = std::move(action);
    return item;
}

} // namespace

void AppDelegate::activateStatusMenu() {
    using Window = UserInterface::Window;
    MenuItem itemEnabled = command(u"Enabled", [this] { onEnabledItemClick(); });
    itemEnabled.isSwitch = true;
    MenuItem secureInputItem = command(secureInputStatus(), {});
    secureInputItem.isHidden = true;

    StatusMenu::Section snippets;
    StatusMenu::Section files;
    StatusMenu::Section windows;
    const auto add = [this](StatusMenu::Section& section, Window window, StringView title,
                            void (AppDelegate::*call)()) {
        if (userInterface_.hasWindow(window))
            section.push_back(command(title, [this, call] { (this->*call)(); }));
    };
    add(snippets, Window::QuickSearch, u"Search Snippets…", &AppDelegate::searchSnippets);
    add(snippets, Window::Macros, u"New Snippet", &AppDelegate::newDocument);
    add(snippets, Window::Macros, u"New Group", &AppDelegate::newGroup);
    add(snippets, Window::Macros, u"Last Used Snippet", &AppDelegate::showLastUsedSnippet);
    add(snippets, Window::Macros, u"Open Main Window", &AppDelegate::showMacrosWindow);
    add(files, Window::FilePanels, u"Open…", &AppDelegate::openDocument);
    add(files, Window::FilePanels, u"Save To…", &AppDelegate::saveDocumentTo);
    add(files, Window::Macros, u"Export All Groups to RTF…", &AppDelegate::exportAllGroupsToRTF);
    add(windows, Window::Preferences, u"Preferences…", &AppDelegate::showPreferencesWindow);
    add(windows, Window::Diagnostic, u"Diagnostic", &AppDelegate::diagnostic);
    add(windows, Window::About, u"About Dresk", &AppDelegate::showAboutWindow);
    const StatusMenu::Section program{command(u"Restart Dresk", [this] { restart(); }),
                                      command(u"Quit Dresk", [this] { quit(); })};
    statusMenu_.setFixedPart(std::move(itemEnabled), std::move(secureInputItem),
                             {snippets, files, windows, program});
}

void AppDelegate::addStatusItem() {
    hasStatusItem_ = true;
    refreshStatusItemImage();
}

void AppDelegate::removeStatusItem() {
    if (!hasStatusItem_)
        return;
    hasStatusItem_ = false;
    userInterface_.removeStatusItem();
}

void AppDelegate::refreshStatusItemImage() {
    if (!hasStatusItem_)
        return;
    const bool enabled = autoText_->enabled();
    StatusItem item;
    item.isTemplate = enabled;
    item.toolTip = enabled ? u"Dresk" : u"Dresk is disabled.";
    item.image = enabled ? u"AutoText" : u"AutoText-Disabled";
    if (enabled && macInputService_->secureInput()) {
        item.image = u"AutoTextCaution";
        item.toolTip = secureInputStatus();
    }
    statusMenu_.itemEnabled().isChecked = enabled;
    userInterface_.setStatusItem(item, statusMenu_.menu());
    userInterface_.statusMenuChanged();
}

void AppDelegate::refreshDockBadgeLabel() {
    userInterface_.setDockBadgeLabel(autoText_->enabled() ? std::nullopt
                                                          : std::optional<String>(u" O F F "));
}

void AppDelegate::onEnabledItemClick() {
    autoText_->setEnabled(!autoText_->enabled());
    refreshOnAutoTextEnabledChanged();
}

void AppDelegate::refreshOnAutoTextEnabledChanged() {
    zpPreferences_.setBool(autoText_->enabled(), PreferenceKey::IsEnabled);
    refreshStatusItemImage();
    refreshDockBadgeLabel();
}

void AppDelegate::showDisableDreskPrompt() {
    userInterface_.showNotice(u"Dresk is disabled via hotkey", DisabledNoticeSeconds);
}

String AppDelegate::secureInputStatus() const {
    if (macInputService_ == nullptr || !macInputService_->secureInput())
        return u"Secure Input is not enabled";
    const auto name = macInputService_->lastAppEnabledSecureInput();
    const bool isKnown = name.has_value() && *name != u"Dresk";
    return u"Secure Input is enabled (by " + (isKnown ? *name : u"unknown application") + u")";
}

void AppDelegate::onMacInputServiceSecureInputChanged(ZPObject* /*service*/) {
    postToMain("refreshSecureInputItem", &AppDelegate::refreshSecureInputItem);
}

void AppDelegate::refreshSecureInputItem() {
    statusMenu_.secureInputItem().isHidden = !macInputService_->secureInput();
    statusMenu_.secureInputItem().title = secureInputStatus();
    refreshStatusItemImage();
    userInterface_.statusMenuChanged();
}

} // namespace dresk
