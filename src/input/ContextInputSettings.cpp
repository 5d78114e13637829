#include "input/ContextInputSettings.h"

#include <vector>

namespace dresk {

namespace {

struct Row {
    std::vector<StringView> identifiers;
    ContextInputSetting setting;
};

std::vector<Row> macRows() {
    return {
        {{u"org.lyx.lyx", u"net.ichi2.anki", u"org.neooffice.NeoOffice", u"com.viber.osx",
          u"org.editra.Editra", u"com.transtex.texeditplus"},
         {.useClipboard = true}},
        {{u"com.apple.iBooksAuthor"}, {.delayPasting = true}},
        {{u"com.evernote.Evernote"},
         {.useClipboardIfHasNewLine = true, .includeHTMLData = true, .excludeParagraphTag = true}},
        {{u"com.google.Chrome"},
         {.useClipboardIfHasNewLine = true, .includeHTMLData = true, .afterPastingDelay = 0.05}},
        {{u"org.mozilla.firefox", u"com.postbox-inc.postbox", u"org.mozilla.thunderbird"},
         {.useClipboardIfHasNewLine = true, .includeHTMLData = true}},
        {{u"com.operasoftware.Opera"}, {.includeHTMLData = true}},
        {{u"com.apple.Safari"}, {.useClipboardIfLong = true}},
        {{u"com.apple.javajdk16.cmd"}, {.useClipboard = true, .useControlKey = true}},
        // Types plain text; only rich text is pasted.
        {{u"com.teamviewer.TeamViewer"},
         {.doNotRestoreClipboard = true,
          .alternativePasting = true,
          .delayPasting = true,
          .useControlKey = true}},
        {{u"com.2X.Client.Mac"},
         {.useClipboard = true,
          .doNotRestoreClipboard = true,
          .alternativePasting = true,
          .useControlKey = true}},
        {{u"com.microsoft.rdc", u"com.p5sys.jump.mac.viewer.web"},
         {.useClipboard = true,
          .doNotRestoreClipboard = true,
          .alternativePasting = true,
          .reactivate = true}},
        {{u"com.microsoft.rdc.mac"},
         {.disableCapitalization = true,
          .useClipboard = true,
          .alternativePasting = true,
          .useVMHelper = true,
          .doNotSetModifier = true,
          .useControlKey = true}},
        {{u"net.sf.cord"},
         {.useClipboard = true,
          .doNotRestoreClipboard = true,
          .reactivate = true,
          .useControlKey = true}},
        {{u"com.citrix.XenAppViewer"}, {.useClipboardIfHasNewLine = true, .useControlKey = true}},
        {{u"org.virtualbox.app.VirtualBoxVM"},
         {.disableCapitalization = true,
          .useClipboard = true,
          .doNotRestoreClipboard = true,
          .alternativePasting = true,
          .delayPasting = true,
          .useControlKey = true,
          .pastingDelay = 0.2}},
        {{u"com.vmware.fusion"},
         {.disableCapitalization = true,
          .useClipboard = true,
          .alternativePasting = true,
          .useVMHelper = true,
          .clickAtVM = true,
          .deleteAfterActivateVM = true,
          .useControlKey = true}},
        {{u"wine", u"wine.bin"}, {.useClipboard = true, .useControlKey = true}},
        {{u"de.jinx.JollysFastVNC.Pro", u"de.jinx.JollysFastVNC"},
         {.useClipboard = true, .reactivate = true, .useControlKey = true}},
        {{u"org.macosforge.xquartz.X11"}, {.useClipboard = true, .useControlKey = true}},
        {{u"de.ragtime.ragtime"}, {.blockLength = 5}},
    };
}

// Identifiers of desktop entries, and window classes where an application has no entry or none
// that its windows lead to. Command is the desktop's own shortcut key, so useControlKey is for
// Control pressed as a key of its own.
std::vector<Row> linuxRows() {
    return {
        {{u"org.gnome.Terminal",
          u"Gnome-terminal",
          u"org.gnome.Console",
          u"org.gnome.Ptyxis",
          u"org.kde.konsole",
          u"konsole",
          u"org.kde.yakuake",
          u"yakuake",
          u"guake",
          u"Guake",
          u"xfce4-terminal",
          u"Xfce4-terminal",
          u"mate-terminal",
          u"Mate-terminal",
          u"lxterminal",
          u"Lxterminal",
          u"qterminal",
          u"terminator",
          u"Terminator",
          u"com.gexperts.Tilix",
          u"tilix",
          u"Alacritty",
          u"org.alacritty.Alacritty",
          u"kitty",
          u"foot",
          u"footclient",
          u"org.wezfurlong.wezterm",
          u"com.mitchellh.ghostty",
          u"io.elementary.terminal",
          u"deepin-terminal",
          u"sakura",
          u"tilda",
          u"terminology",
          u"cool-retro-term",
          u"st",
          u"st-256color"},
         {.disableCapitalization = true, .pasteChord = PasteChord::ControlShift}},
        {{u"debian-xterm", u"debian-uxterm", u"xterm", u"XTerm", u"uxterm", u"UXTerm", u"rxvt",
          u"Rxvt", u"rxvt-unicode", u"urxvt", u"URxvt", u"XRxvt"},
         {.disableCapitalization = true, .pasteChord = PasteChord::SelectionInsert}},
        {{u"emacs", u"Emacs", u"emacsclient", u"emacs-term"}, {.pasteChord = PasteChord::Insert}},
        {{u"gvim", u"Gvim"},
         {.disableCapitalization = true, .pasteChord = PasteChord::SelectionInsert}},
        // They fetch what they paste four times, on a busy machine over 0.07 seconds and more, and
        // paste nothing when the clipboard changes meanwhile.
        {{u"google-chrome", u"Google-chrome", u"chromium", u"Chromium", u"chromium-browser",
          u"Chromium-browser", u"org.chromium.Chromium", u"brave-browser", u"Brave-browser",
          u"com.brave.Browser", u"microsoft-edge", u"Microsoft-edge", u"com.microsoft.Edge",
          u"vivaldi-stable", u"Vivaldi-stable"},
         {.useClipboardIfHasNewLine = true, .includeHTMLData = true, .afterPastingDelay = 0.1}},
        {{u"firefox", u"Firefox", u"firefox-esr", u"Firefox-esr", u"firefox_firefox", u"librewolf",
          u"io.gitlab.librewolf-community", u"org.gnome.Epiphany", u"thunderbird", u"Thunderbird",
          u"thunderbird-esr", u"org.mozilla.Thunderbird", u"org.gnome.Evolution", u"evolution",
          u"org.gnome.Geary", u"org.kde.kmail2"},
         {.useClipboardIfHasNewLine = true, .includeHTMLData = true}},
        {{u"opera", u"Opera"}, {.includeHTMLData = true}},
        // Typed text gets before the Backspaces that lag, while a paste is a command like them and
        // keeps its place. Behind RTF with a picture Writer adds empty paragraphs.
        {{u"libreoffice-startcenter", u"libreoffice-writer", u"libreoffice-calc",
          u"libreoffice-impress", u"libreoffice-draw", u"libreoffice-base", u"libreoffice-math",
          u"org.libreoffice.LibreOffice", u"org.libreoffice.LibreOffice.writer",
          u"org.libreoffice.LibreOffice.calc", u"org.libreoffice.LibreOffice.impress",
          u"org.libreoffice.LibreOffice.draw"},
         {.useClipboard = true,
          .includeHTMLData = true,
          .commandsLag = true,
          .htmlForPictures = true}},
        // Their correction of words and lists works on typed text, and a typed line end leaves the
        // cell of a table.
        {{u"onlyoffice-desktopeditors", u"ONLYOFFICE Desktop Editors", u"abiword", u"gnumeric"},
         {.useClipboardIfHasNewLine = true, .includeHTMLData = true, .htmlForPictures = true}},
        // They indent the line behind a typed line end by themselves.
        {{u"sublime_text",
          u"code",
          u"Code",
          u"codium",
          u"VSCodium",
          u"com.visualstudio.code",
          u"com.vscodium.codium",
          u"org.kde.kate",
          u"org.kde.kwrite",
          u"geany",
          u"Geany",
          u"org.gnome.Builder",
          u"org.gnome.TextEditor",
          u"jetbrains-idea",
          u"jetbrains-idea-ce",
          u"jetbrains-pycharm",
          u"jetbrains-pycharm-ce",
          u"jetbrains-clion",
          u"jetbrains-goland",
          u"jetbrains-webstorm",
          u"jetbrains-phpstorm",
          u"jetbrains-rider",
          u"jetbrains-rubymine",
          u"jetbrains-datagrip",
          u"jetbrains-studio",
          u"Eclipse",
          u"eclipse"},
         {.useClipboardIfHasNewLine = true}},
        {{u"VirtualBox Machine", u"VirtualBoxVM"},
         {.disableCapitalization = true,
          .useClipboard = true,
          .doNotRestoreClipboard = true,
          .alternativePasting = true,
          .delayPasting = true,
          .useControlKey = true,
          .pastingDelay = 0.2}},
    };
}

std::shared_ptr<ContextInputSetting> record(const ContextInputSetting& setting) {
    return std::make_shared<ContextInputSetting>(setting);
}

} // namespace

ContextInputSettings::ContextInputSettings()
    : useClipboardIfHasNewLineInputSetting_(record({.useClipboardIfHasNewLine = true})),
      fusionAppInputSetting_(record({.disableCapitalization = true,
                                     .useClipboard = true,
                                     .alternativePasting = true,
                                     .useVMHelper = true,
                                     .clickAtVMHelper = true,
                                     .useControlKey = true})),
      parallelsAppInputSetting_(record({.disableCapitalization = true,
                                        .useClipboard = true,
                                        .doNotRestoreClipboard = true,
                                        .alternativePasting = true,
                                        .reactivate = true})),
      crossOverAppInputSetting_(record({.useClipboard = true})),
      wineskinAppInputSetting_(
          record({.useClipboard = true, .doNotRestoreClipboard = true, .useControlKey = true})),
      adobeAppInputSetting_(record({.useClipboard = true})) {
    const auto add = [this](StringView identifier, const Record& shared) {
        customApplicationSettings_.emplace(identifier, shared);
    };
    for (const auto& rows : {macRows(), linuxRows()})
        for (const Row& row : rows) {
            const Record shared = record(row.setting);
            for (const StringView identifier : row.identifiers)
                add(identifier, shared);
        }
    for (const StringView identifier :
         {u"com.sublimetext", u"com.sublimetext.2", u"com.sublimetext.3", u"com.sublimetext.4",
          u"com.microsoft.Outlook", u"com.microsoft.Word", u"com.microsoft.Excel",
          u"com.barebones.textwrangler", u"com.barebones.bbedit"})
        add(identifier, useClipboardIfHasNewLineInputSetting_);
    add(u"com.parallels.desktop.console", parallelsAppInputSetting_);
}

ContextInputSettings::Record ContextInputSettings::recordByPattern(StringView identifier) const {
    if (identifier.starts_with(u"com.vmware.proxyApp."))
        return fusionAppInputSetting_;
    if (identifier.starts_with(u"com.codeweavers.CrossOverHelper."))
        return crossOverAppInputSetting_;
    if (identifier.ends_with(u".wineskin.prefs"))
        return wineskinAppInputSetting_;
    if (identifier.starts_with(u"com.adobe."))
        return adobeAppInputSetting_;
    if (identifier.starts_with(u"com.parallels.winapp."))
        return parallelsAppInputSetting_;
    if (identifier.starts_with(u"com.jetbrains."))
        return useClipboardIfHasNewLineInputSetting_;
    return nullptr;
}

ContextInputSetting
ContextInputSettings::settingForIdentifier(const std::optional<String>& identifier) const {
    ContextInputSetting setting;
    if (identifier.has_value()) {
        const std::lock_guard lock(mutex_);
        const auto found = customApplicationSettings_.find(*identifier);
        const Record record = found != customApplicationSettings_.end()
                                  ? found->second
                                  : recordByPattern(*identifier);
        if (record != nullptr)
            setting = record->copy();
    }
    setting.bundleIdentifier = identifier;
    return setting;
}

// Meant: once a job has been pasted into one application of a pattern, all that share its record
// are pasted to until the program ends.
void ContextInputSettings::keep(const ContextInputSetting& setting) {
    if (!setting.bundleIdentifier.has_value() || !setting.useClipboard)
        return;
    const std::lock_guard lock(mutex_);
    if (customApplicationSettings_.contains(*setting.bundleIdentifier))
        return;
    if (const Record record = recordByPattern(*setting.bundleIdentifier))
        record->useClipboard = true;
}

} // namespace dresk
