#include "desktop/ProgramTest.h"

#include <fstream>
#include <iostream>
#include <sstream>

#include "Foundation/VirtualRunLoop.h"
#include "desktop/Deadline.h"
#include "desktop/Screenshot.h"
#include "seam/GeneralHotKey.h"
#include "store/DataManager.h"

namespace dresk {
namespace {

constexpr StringView OwnAbbreviation = u"]]r";
constexpr StringView OwnContent = u"ready";
constexpr std::uint8_t LeftAlt = 64;

} // namespace

void ProgramTest::TearDown() {
    program_.reset();
    panel_.reset();
    if (HasFailure())
        std::cout << "log of the program:\n" << log();
    DesktopTest::TearDown();
}

std::filesystem::path ProgramTest::preferenceFile() const {
    return folder_ / "config/dresk/preferences.plist";
}

void ProgramTest::setHotKey(StringView name, Letter letter) {
    const GeneralHotKey hotKey(KeyModifier::Control | KeyModifier::Option, letter.keyCode);
    preferences_->setInteger(hotKey.getValue(), name);
}

SnippetGroup& ProgramTest::addGroup(StringView name, std::int32_t expandTrigger) {
    auto group = std::make_shared<SnippetGroup>();
    group->setName(String(name));
    group->setExpandTrigger(expandTrigger);
    return *groups_.emplace_back(std::move(group));
}

std::shared_ptr<Snippet> ProgramTest::addSnippet(SnippetGroup& group, StringView abbreviation,
                                                 StringView content) {
    auto snippet = Snippet::initWithAbbreviation(String(abbreviation), String(content));
    group.addItem(snippet);
    return snippet;
}

void ProgramTest::startPanel() {
    panel_ = ChildProcess::start({"trayer", "--edge", "top", "--align", "left", "--widthtype",
                                  "request", "--heighttype", "pixel", "--height", "24"});
    ASSERT_NE(panel_, nullptr);
}

void ProgramTest::writeData() {
    SnippetGroup& own = addGroup(u"Own", ExpandTrigger::Immediately);
    own.setExpandAfter(ExpandAfter::Anything);
    own.setShowInMenuBar(false);
    own.setSuggestAbbreviations(false);
    addSnippet(own, OwnAbbreviation, OwnContent);
    VirtualTime time;
    VirtualRunLoop loop(time);
    DataManager data(*preferences_, loop, {});
    data.loadData();
    data.restoreFromSnippetGroups(groups_);
    data.saveData();
    ASSERT_TRUE(preferences_->synchronize());
    preferences_.reset();
}

std::vector<std::string> ProgramTest::command(const std::vector<std::string>& arguments) const {
    std::vector<std::string> words{"sh",
                                   "-c",
                                   "exec \"$@\" 2>>\"$0\"",
                                   folder_ / "log",
                                   "env",
                                   "XDG_CONFIG_HOME=" + (folder_ / "config").string(),
                                   "XDG_DATA_HOME=" + (folder_ / "data").string(),
                                   DRESK_PROGRAM};
    words.insert(words.end(), arguments.begin(), arguments.end());
    return words;
}

void ProgramTest::start(const std::vector<std::string>& arguments) {
    if (preferences_ != nullptr)
        writeData();
    program_ = ChildProcess::start(command(arguments));
    ASSERT_NE(program_, nullptr);
    ASSERT_TRUE(awaitSight(10, [this] { return worker() > 0; }));
}

void ProgramTest::launch(TextTarget::Kind kind) {
    target_ = startTarget(kind);
    ASSERT_NE(target_, nullptr);
    start();
    ASSERT_TRUE(expandsWithin());
}

testing::AssertionResult ProgramTest::expandsWithin(double seconds) {
    const Deadline deadline(seconds);
    do {
        target_->clear();
        type(OwnAbbreviation);
        if (target_->awaitText(OwnContent, 0.5) == OwnContent) {
            // A key that moves the caret, so that the engine forgets the word as well.
            keys().tap(KeyInjector::Left);
            target_->clear();
            return testing::AssertionSuccess();
        }
    } while (!deadline.passed());
    return testing::AssertionFailure() << "the program does not expand";
}

pid_t ProgramTest::worker() const {
    const std::string id = std::to_string(program_->pid());
    std::ifstream children("/proc/" + id + "/task/" + id + "/children");
    pid_t worker = 0;
    children >> worker;
    return worker;
}

bool ProgramTest::storedBool(StringView key) const {
    FilePreferenceStore store(preferenceFile());
    store.registerDefaults(registeredDefaults({}));
    return store.boolForKey(key);
}

void ProgramTest::chord(Letter letter) {
    keys().press(KeyInjector::LeftControl);
    keys().press(LeftAlt);
    keys().tap(letter.key);
    keys().release(LeftAlt);
    keys().release(KeyInjector::LeftControl);
}

void ProgramTest::clickAt(int x, int y) {
    // Menus want to see the pointer move.
    keys().movePointer(x - 1, y);
    keys().movePointer(x, y);
    keys().click();
}

DesktopWindow ProgramTest::window(const std::string& title) {
    const auto found = awaitWindow(worker(), title);
    if (!found.has_value()) {
        std::string others;
        for (const DesktopWindow& other : visibleWindows())
            others += "\n  " + std::to_string(other.pid) + " " + other.title;
        ADD_FAILURE() << "no window: " << title << "; there are" << others;
    }
    return found.value_or(DesktopWindow());
}

DesktopWindow ProgramTest::windowBy(const std::function<void()>& action) {
    const auto found = awaitNewWindow(worker(), action);
    EXPECT_TRUE(found.has_value()) << "no new window";
    return found.value_or(DesktopWindow());
}

void ProgramTest::picture(const std::string& name) {
    std::filesystem::create_directories(DRESK_SCREENSHOTS);
    EXPECT_TRUE(saveScreenshot(DRESK_SCREENSHOTS "/" + name + ".png"));
}

std::string ProgramTest::log() const {
    std::ostringstream text;
    text << std::ifstream(folder_ / "log").rdbuf();
    return text.str();
}

testing::AssertionResult ProgramTest::logs(const std::string& text, double seconds) const {
    if (awaitSight(seconds, [&] { return log().find(text) != std::string::npos; }))
        return testing::AssertionSuccess();
    return testing::AssertionFailure() << "not in the log: " << text << "\n" << log();
}

} // namespace dresk
