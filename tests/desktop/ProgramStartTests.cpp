// Starts and ends of the program: what is missing or damaged, and who comes twice.

#include <csignal>
#include <fstream>

#include "desktop/Deadline.h"
#include "desktop/ProgramTest.h"

namespace dresk {
namespace {

class ProgramStart : public ProgramTest {
  protected:
    std::vector<std::string> commandWith(const std::vector<std::string>& variables) {
        auto words = command();
        words.insert(words.begin() + 5, variables.begin(), variables.end());
        return words;
    }
    static std::size_t linesOf(const std::string& text) {
        return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
    }
};

TEST_F(ProgramStart, WithoutDisplayItSaysSoInOneLine) {
    writeData();
    for (const std::string variable : {"-uDISPLAY", "DISPLAY=:987", "DISPLAY=nonsense"}) {
        SCOPED_TRACE(variable);
        std::filesystem::remove(folder_ / "log");
        EXPECT_EQ(ChildProcess::run(commandWith({variable})), 1);
        EXPECT_EQ(linesOf(log()), 1U) << log();
        EXPECT_NE(log().find("Dresk cannot start"), std::string::npos) << log();
    }
}

TEST_F(ProgramStart, WorksWithoutBusesAndWithoutPanel) {
    target_ = startTarget(TextTarget::Kind::Gtk);
    ASSERT_NE(target_, nullptr);
    writeData();
    program_ = ChildProcess::start(
        commandWith({"-uAT_SPI_BUS_ADDRESS", "DBUS_SESSION_BUS_ADDRESS=unix:path=/nowhere"}));
    EXPECT_TRUE(expandsWithin());
    program_->signal(SIGTERM);
    EXPECT_EQ(program_->wait(10), 0);
    EXPECT_EQ(log(), "");
}

TEST_F(ProgramStart, ValuesOfTheWrongKindCountAsAbsent) {
    target_ = startTarget(TextTarget::Kind::Gtk);
    ASSERT_NE(target_, nullptr);
    for (const auto& key : registeredDefaults({}))
        preferences_->setObject(PropertyList(PropertyList::Array{}), key.first);
    preferences_->setBool(true, PreferenceKey::IsEnabled);
    preferences_->setString(u"F5", PreferenceKey::switchHotKey);
    preferences_->setInteger(-1, PreferenceKey::quickSearchHotKey);
    preferences_->setInteger(INT64_MIN, PreferenceKey::UndoHotKey);
    preferences_->setString(u"large", PreferenceKey::FontSizeDelta);
    start();
    EXPECT_TRUE(expandsWithin());
}

TEST_F(ProgramStart, ADamagedPreferenceFileIsToldOnceAndKept) {
    target_ = startTarget(TextTarget::Kind::Gtk);
    ASSERT_NE(target_, nullptr);
    writeData();
    std::ofstream(preferenceFile()) << "bplist00 of no use";
    std::filesystem::remove(preferenceFile().string() + ".previous");
    start();
    const DesktopWindow alert = window("Dresk");
    picture("alert-damaged");
    ASSERT_TRUE(awaitKeyboardAt(worker()));
    keys().tap(KeyInjector::Return);
    EXPECT_TRUE(awaitWindowGone(alert));
    std::size_t kept = 0;
    for (const auto& entry : std::filesystem::directory_iterator(preferenceFile().parent_path())) {
        std::string content;
        std::getline(std::ifstream(entry.path()), content);
        kept += content == "bplist00 of no use" ? 1 : 0;
    }
    EXPECT_EQ(kept, 1U);

    program_->signal(SIGTERM);
    EXPECT_EQ(program_->wait(10), 0);
    start();
    EXPECT_TRUE(awaitKeyboardAt(target_->process().pid()));
    EXPECT_TRUE(awaitSight(20, [&] {
        target_->clear();
        type(u"tyvm ");
        return target_->awaitText(u"Thank you very much! ", 0.5) == u"Thank you very much! ";
    }));
    EXPECT_FALSE(awaitWindow(worker(), "Dresk", 0).has_value());
}

TEST_F(ProgramStart, ASecondStartTellsTheFirst) {
    SnippetGroup& group = addGroup(u"Handed over");
    group.setShowInMenuBar(false);
    addSnippet(group, u"sig", u"Kind regards,");
    ASSERT_NO_FATAL_FAILURE(launch());

    auto late = ChildProcess::start(command());
    ASSERT_NE(late, nullptr);
    const auto alert = awaitWindow(late->pid(), "Dresk");
    ASSERT_TRUE(alert.has_value());
    ASSERT_TRUE(awaitKeyboardAt(late->pid()));
    picture("alert-second");
    keys().tap(KeyInjector::Return);
    EXPECT_EQ(late->wait(10), 0);

    // A file is handed over without a question of its own.
    const std::string file = folder_ / "Other.dresk";
    std::ofstream(file) << "no archive";
    late = ChildProcess::start(command({file}));
    DesktopWindow question = window("Dresk");
    EXPECT_EQ(late->wait(10), 0);
    ASSERT_TRUE(awaitKeyboardAt(worker()));
    picture("alert-open");
    keys().tap(KeyInjector::Return);
    EXPECT_TRUE(awaitWindowGone(question));
    question = window("Dresk");
    picture("alert-unreadable");
    ASSERT_TRUE(awaitKeyboardAt(worker()));
    keys().tap(KeyInjector::Return);
    EXPECT_TRUE(awaitWindowGone(question));
    ASSERT_TRUE(awaitKeyboardAt(target_->process().pid()));
    EXPECT_TRUE(expandsWithin());
}

/// A display of the test's own, with a panel.
struct Display {
    Display()
        : server(ChildProcess::start({"Xvfb", "-noreset", "-nolisten", "tcp", "-displayfd", "1"})) {
        if (server != nullptr)
            name = ":" + server->readLine(20).value_or("");
        panel = ChildProcess::start({"env", "DISPLAY=" + name, "trayer"});
    }
    /// Whether the program has its icon there, which comes behind its data.
    bool holdsIcon() const {
        return ChildProcess::run(
                   {"sh", "-c",
                    "xwininfo -display \"$0\" -root -tree | grep -q '\"dresk\".* 2.x2.'", name}) ==
               0;
    }

    std::unique_ptr<ChildProcess> server;
    std::unique_ptr<ChildProcess> panel;
    std::string name;
};

TEST_F(ProgramStart, WhenTheDisplayGoesItSavesAndEnds) {
    for (const int signal : {SIGTERM, SIGKILL}) {
        SCOPED_TRACE(signal);
        std::filesystem::remove_all(folder_ / "config");
        std::filesystem::remove(folder_ / "log");
        Display display;
        program_ = ChildProcess::start(commandWith({"DISPLAY=" + display.name}));
        ASSERT_TRUE(awaitSight(20, [&] { return display.holdsIcon(); }));
        display.server->signal(signal);
        EXPECT_EQ(program_->wait(10), 1);
        EXPECT_NE(log().find("Dresk ends"), std::string::npos) << log();
        FilePreferenceStore stored(preferenceFile());
        EXPECT_TRUE(stored.dataForKey(PreferenceKey::Data).has_value());
    }
}

TEST_F(ProgramStart, WithoutTheModuleOfTheFormItGoesOn) {
    addSnippet(addGroup(u"Forms"), u"ask", u"Dear 【field:name】");
    const auto alone = folder_ / "dresk";
    std::error_code error;
    std::filesystem::create_hard_link(DRESK_PROGRAM, alone, error);
    if (error)
        std::filesystem::copy_file(DRESK_PROGRAM, alone);
    target_ = startTarget(TextTarget::Kind::Gtk);
    ASSERT_NE(target_, nullptr);
    writeData();
    auto words = command();
    words.back() = alone;
    program_ = ChildProcess::start(words);
    EXPECT_TRUE(expandsWithin());
    type(u"ask ");
    EXPECT_TRUE(logs("There is no window for the fields form: libdreskform.so is not installed."));
    EXPECT_TRUE(expandsWithin());
}

TEST_F(ProgramStart, HotKeysOfWindowsThatAreMissingDoNothing) {
    setHotKey(PreferenceKey::openMainWindowHotKey, W);
    setHotKey(PreferenceKey::OpenLastUsedSnippetHotKey, F);
    setHotKey(PreferenceKey::makeSnippetFromClipboardHotKey, D);
    setHotKey(PreferenceKey::makeSnippetFromSelectionHotKey, S);
    ASSERT_NO_FATAL_FAILURE(launch());
    type(u"a");
    for (const Letter letter : {W, F, D, S})
        chord(letter);
    type(u"b");
    EXPECT_TRUE(holds(*target_, u"ab"));
    EXPECT_TRUE(logs("no main window"));
    EXPECT_TRUE(expandsWithin());
}

} // namespace
} // namespace dresk
