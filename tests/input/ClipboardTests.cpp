#include <gtest/gtest.h>

#include "Foundation/RTF.h"
#include "Foundation/TextAttributes.h"
#include "Foundation/VirtualRunLoop.h"
#include "input/ClipboardBackup.h"
#include "input/ClipboardDataProvider.h"
#include "input/ClipboardUtils.h"
#include "input/ContextInputSettings.h"
#include "input/SystemPasteboard.h"
#include "input/scripted/ScriptedPasteboard.h"

namespace dresk {
namespace {

using Types = std::vector<String>;

AttributedString attachment(StringView name, const std::string& contents) {
    auto attributes = std::make_shared<TextAttributes>();
    attributes->attachment =
        std::make_shared<TextAttachment>(TextAttachment{String(name), contents});
    return AttributedString(u"\xFFFC", attributes);
}

AttributedString boldText(StringView text) {
    auto attributes = std::make_shared<TextAttributes>();
    attributes->font = TextFont{u"Helvetica", 12, true, false};
    return AttributedString(text, attributes);
}

class Clipboard : public testing::Test {
  protected:
    std::optional<std::string> data(StringView type) { return pasteboard.dataForType(type); }

    VirtualTime time;
    VirtualRunLoop loop{time};
    ScriptedPasteboard pasteboard;
    ClipboardDataProvider provider{pasteboard};
};

TEST_F(Clipboard, OffersWhatAnExpansionIs) {
    const String rtfd(PasteboardType::RTFD);
    const String rtf(PasteboardType::RTF);
    struct Row {
        const char* name;
        AttributedString text;
        bool includeHTMLData;
        Types types;
    };
    const Row rows[] = {
        {"text", boldText(u"bold"), false, {rtfd, rtf}},
        {"text with HTML", boldText(u"bold"), true, {rtfd, rtf, String(PasteboardType::HTML)}},
        {"PNG", attachment(u"a.b.png", "P"), false, {String(PasteboardType::PNG), rtfd, rtf}},
        {"PDF", attachment(u"a.pdf", "D"), true, {String(PasteboardType::PDF)}},
        {"another picture",
         attachment(u"jpg", "J"),
         false,
         {String(PasteboardType::TIFF), rtfd, rtf}},
        {"nothing", AttributedString(), false, {rtfd, rtf}},
    };
    for (const Row& row : rows) {
        provider.setIncludeHTMLData(row.includeHTMLData);
        provider.setAttributedString(row.text);
        EXPECT_EQ(pasteboard.types(), row.types) << row.name;
        for (const String& type : row.types)
            EXPECT_TRUE(data(type).has_value()) << row.name << ' ' << toUTF8(type);
    }
    provider.setAttributedString(attachment(u"a.png", std::string("\x89PNG\0", 5)));
    EXPECT_EQ(data(PasteboardType::PNG), std::string("\x89PNG\0", 5));
    EXPECT_EQ(data(PasteboardType::TIFF), std::nullopt);
    provider.setString(u"grün 😀");
    EXPECT_EQ(pasteboard.types(), Types{String(PasteboardType::String)});
    EXPECT_EQ(data(PasteboardType::String), "grün 😀");
}

// Asked directly, as back ends do that offer one declared type in several forms.
TEST_F(Clipboard, PicturesGoAsHTMLAloneWhereAsked) {
    provider.setIncludeHTMLData(true);
    provider.setHTMLForPictures(true);
    provider.setAttributedString(attachment(u"a.png", std::string("\x89PNG\0", 5)));
    EXPECT_EQ(pasteboard.types(),
              (std::vector<String>{String(PasteboardType::PNG), String(PasteboardType::RTFD),
                                   String(PasteboardType::HTML)}));
    provider.setAttributedString(boldText(u"bold"));
    EXPECT_EQ(pasteboard.types(),
              (std::vector<String>{String(PasteboardType::RTFD), String(PasteboardType::RTF),
                                   String(PasteboardType::HTML)}));
}

TEST_F(Clipboard, AnswersEveryFormOfARichExpansion) {
    class Capture final : public Pasteboard {
      public:
        std::int64_t changeCount() override { return 0; }
        std::shared_ptr<const PasteboardContents> contents() override { return nullptr; }
        std::int64_t declareTypes(const std::vector<String>&, std::shared_ptr<PasteboardOwner> by,
                                  PasteboardOptions) override {
            owner = std::move(by);
            return 1;
        }
        std::vector<String> types() override { return {}; }
        bool offersType(StringView) override { return false; }
        std::optional<std::string> dataForType(StringView) override { return std::nullopt; }
        void handOver() override {}
        std::shared_ptr<PasteboardOwner> owner;
    };
    Capture captured;
    ClipboardDataProvider ofCaptured(captured);
    ofCaptured.setAttributedString(boldText(u"a <b>\nc"));
    const auto early = captured.owner;
    ofCaptured.setExcludeParagraphTag(true);
    ofCaptured.setAttributedString(boldText(u"d\ne"));
    // The earlier one still answers with what it offered.
    EXPECT_EQ(early->provideDataForType(PasteboardType::String), "a <b>\nc");
    const std::string html = early->provideDataForType(PasteboardType::HTML).value_or("");
    EXPECT_NE(html.find("a &lt;b&gt;"), std::string::npos) << html;
    EXPECT_NE(html.find("<p"), std::string::npos) << html;
    EXPECT_EQ(captured.owner->provideDataForType(PasteboardType::HTML).value_or("<p").find("<p"),
              std::string::npos);
    const auto rtf = attributedStringWithRTF(*early->provideDataForType(PasteboardType::RTF));
    ASSERT_TRUE(rtf.has_value());
    EXPECT_EQ(rtf->string(), u"a <b>\nc");
    EXPECT_TRUE(rtf->attributesAtIndex(0)->font->bold);
    EXPECT_TRUE(early->provideDataForType(PasteboardType::RTFD).has_value());
    EXPECT_EQ(early->provideDataForType(PasteboardType::PNG), std::nullopt);
    // Taking the earlier one says nothing of the present one.
    early->dataTaken(PasteboardType::RTF);
    EXPECT_EQ(*ofCaptured.providedData(), 0);
    captured.owner->dataTaken(PasteboardType::RTF);
    EXPECT_NE(*ofCaptured.providedData(), 0);
}

TEST_F(Clipboard, NothingIsRestoredThatWasNotSaved) {
    provider.setRunLoop(&loop);
    pasteboard.copy({{String(PasteboardType::String), "mine"}});
    provider.setString(u"text");
    pasteboard.paste(PasteboardType::String);
    provider.restoreAfterDelay();
    ASSERT_TRUE(time.advance(10));
    EXPECT_EQ(data(PasteboardType::String), "text");
    provider.restoreNow();
    EXPECT_EQ(data(PasteboardType::String), "text");
}

TEST_F(Clipboard, SimpleFormsPutEverythingBackAtOnce) {
    ClipboardBackup backup(pasteboard);
    backup.restoreAfterDelay(loop);
    ClipboardUtils::setAttributedString(pasteboard, boldText(u"rich"));
    const Types types = pasteboard.types();
    EXPECT_EQ(types.size(), 4U);
    const auto html = data(PasteboardType::HTML);
    backup.backup();
    EXPECT_TRUE(backup.hasData());
    ClipboardUtils::setString(pasteboard, u"other");
    EXPECT_EQ(data(PasteboardType::String), "other");
    backup.restoreAfterDelay(loop);
    time.advance(0.29);
    EXPECT_EQ(data(PasteboardType::String), "other");
    time.advance(0.02);
    EXPECT_EQ(pasteboard.types(), types);
    EXPECT_EQ(data(PasteboardType::String), "rich");
    EXPECT_EQ(data(PasteboardType::HTML), html);
}

TEST_F(Clipboard, SnippetsReadIt) {
    const SnippetEnvironment environment = snippetEnvironmentWithPasteboard(pasteboard);
    GeneralPasteboard& general = *environment.pasteboard;
    EXPECT_EQ(general.string(), std::nullopt);
    const std::string rtf = RTFFromAttributedString(boldText(u"bold"));
    pasteboard.copy({{String(PasteboardType::HTML), "<b>bold</b>"},
                     {String(PasteboardType::RTF), rtf},
                     {String(PasteboardType::String), "b\xC3\xB6ld"}});
    EXPECT_EQ(general.string(), u"böld");
    EXPECT_TRUE(general.offersType(PasteboardType::HTML));
    EXPECT_TRUE(general.offersType(PasteboardType::RTF));
    EXPECT_FALSE(general.offersType(PasteboardType::RTFD));
    const auto rich =
        environment.richTextReader(PasteboardType::RTF, *general.dataForType(PasteboardType::RTF));
    ASSERT_TRUE(rich.has_value());
    EXPECT_TRUE(rich->attributesAtIndex(0)->font->bold);
    EXPECT_EQ(environment.richTextReader(PasteboardType::PNG, "x"), std::nullopt);
}

// A record in one line: its flags by their letters, then delays and block length.
std::string text(const ContextInputSetting& s) {
    std::string result;
    const std::pair<bool, const char*> flags[] = {{s.disableCapitalization, "cap"},
                                                  {s.useClipboard, "use"},
                                                  {s.useClipboardIfHasNewLine, "line"},
                                                  {s.useClipboardIfLong, "long"},
                                                  {s.doNotRestoreClipboard, "keep"},
                                                  {s.alternativePasting, "alt"},
                                                  {s.useVMHelper, "vm"},
                                                  {s.clickAtVMHelper, "clickhelper"},
                                                  {s.clickAtVM, "click"},
                                                  {s.deleteAfterActivateVM, "del"},
                                                  {s.reactivate, "re"},
                                                  {s.doNotSetModifier, "nomod"},
                                                  {s.delayPasting, "delay"},
                                                  {s.postToSessionEventTap, "session"},
                                                  {s.useControlKey, "ctl"},
                                                  {s.includeHTMLData, "html"},
                                                  {s.excludeParagraphTag, "nop"},
                                                  {s.commandsLag, "lag"}};
    for (const auto& [set, name] : flags)
        if (set)
            result += (result.empty() ? "" : " ") + std::string(name);
    for (const double number :
         {s.pastingDelay, s.afterPastingDelay, static_cast<double>(s.blockLength)})
        if (number != 0)
            result += " " + std::to_string(number).substr(0, 4);
    if (s.pasteChord != PasteChord::Shortcut)
        result += " chord" + std::to_string(static_cast<int>(s.pasteChord));
    return result;
}

TEST(ContextInputSettings, KnowsEachApplication) {
    struct Row {
        StringView identifiers;
        const char* setting;
    };
    const Row rows[] = {
        {u"org.lyx.lyx net.ichi2.anki org.neooffice.NeoOffice com.viber.osx org.editra.Editra "
         u"com.transtex.texeditplus com.codeweavers.CrossOverHelper.x com.adobe.Photoshop",
         "use"},
        {u"com.sublimetext com.sublimetext.2 com.sublimetext.3 com.sublimetext.4 "
         u"com.microsoft.Outlook com.microsoft.Word com.microsoft.Excel "
         u"com.barebones.textwrangler com.barebones.bbedit com.jetbrains.intellij "
         u"jetbrains-idea sublime_text",
         "line"},
        {u"com.apple.iBooksAuthor", "delay"},
        {u"com.evernote.Evernote", "line html nop"},
        {u"com.google.Chrome", "line html 0.05"},
        {u"google-chrome chromium", "line html 0.10"},
        {u"org.mozilla.firefox com.postbox-inc.postbox org.mozilla.thunderbird firefox-esr "
         u"gnumeric",
         "line html"},
        {u"libreoffice-writer libreoffice-calc", "use html lag"},
        {u"com.operasoftware.Opera", "html"},
        {u"com.apple.Safari", "long"},
        {u"com.apple.javajdk16.cmd wine wine.bin org.macosforge.xquartz.X11", "use ctl"},
        {u"com.teamviewer.TeamViewer", "keep alt delay ctl"},
        {u"com.2X.Client.Mac", "use keep alt ctl"},
        {u"com.microsoft.rdc com.p5sys.jump.mac.viewer.web", "use keep alt re"},
        {u"com.microsoft.rdc.mac", "cap use alt vm nomod ctl"},
        {u"net.sf.cord", "use keep re ctl"},
        {u"com.citrix.XenAppViewer", "line ctl"},
        {u"com.parallels.desktop.console com.parallels.winapp.x", "cap use keep alt re"},
        {u"org.virtualbox.app.VirtualBoxVM", "cap use keep alt delay ctl 0.20"},
        {u"com.vmware.fusion", "cap use alt vm click del ctl"},
        {u"com.vmware.proxyApp.x", "cap use alt vm clickhelper ctl"},
        {u"de.jinx.JollysFastVNC.Pro de.jinx.JollysFastVNC", "use re ctl"},
        {u"de.ragtime.ragtime", " 5.00"},
        {u"x.wineskin.prefs", "use keep ctl"},
        {u"org.gnome.Terminal Alacritty", "cap chord1"},
        {u"emacs", " chord2"},
        {u"XTerm debian-uxterm", "cap chord3"},
        {u"com.microsoft.rdc.mac.x com.apple.mail com.adobe wineskin.prefs firefox2", ""},
    };
    const ContextInputSettings settings;
    for (const Row& row : rows)
        for (StringView rest = row.identifiers; !rest.empty();) {
            const String identifier(rest.substr(0, rest.find(u' ')));
            rest.remove_prefix(std::min(identifier.size() + 1, rest.size()));
            const auto setting = settings.settingForIdentifier(identifier);
            EXPECT_EQ(text(setting), row.setting) << toUTF8(identifier);
            EXPECT_EQ(setting.bundleIdentifier, identifier);
        }
    EXPECT_EQ(text(settings.settingForIdentifier(std::nullopt)), "");
}

TEST(ContextInputSettings, WhatAJobTurnsOnStaysInTheRecordOfAPattern) {
    ContextInputSettings settings;
    for (const StringView identifier : {u"com.microsoft.Word", u"unknown", u"com.jetbrains.x"}) {
        ContextInputSetting setting = settings.settingForIdentifier(String(identifier));
        setting.useClipboard = true;
        settings.keep(setting);
        const bool stays = identifier == u"com.jetbrains.x";
        EXPECT_EQ(text(settings.settingForIdentifier(u"com.microsoft.Word")),
                  stays ? "use line" : "line");
        EXPECT_EQ(text(settings.settingForIdentifier(u"com.jetbrains.y")),
                  stays ? "use line" : "line");
    }
}

} // namespace
} // namespace dresk
