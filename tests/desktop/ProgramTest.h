#pragma once

#include "Foundation/FilePreferenceStore.h"
#include "Foundation/PreferenceKeys.h"
#include "desktop/DesktopTest.h"
#include "desktop/WindowList.h"
#include "store/SnippetGroup.h"
#include "support/TemporaryFolder.h"

namespace dresk {

/// Base of the tests of the whole program: started as a user starts it, on preferences and snippets
/// that the test has written before, in folders of its own.
class ProgramTest : public DesktopTest {
  protected:
    /// A key that with Control and Alt makes a hot key.
    struct Letter {
        /// As an X key code, and as the preferences have it.
        std::uint8_t key;
        std::int32_t keyCode;
    };
    static constexpr Letter A{38, 0}, S{39, 1}, D{40, 2}, F{41, 3}, Q{24, 12}, W{25, 13};

    void TearDown() override;

    // What the program finds when it starts.
    void setHotKey(StringView name, Letter letter);
    SnippetGroup& addGroup(StringView name,
                           std::int32_t expandTrigger = ExpandTrigger::AtDelimiter);
    static std::shared_ptr<Snippet> addSnippet(SnippetGroup& group, StringView abbreviation,
                                               StringView content);
    void startPanel();

    /// Writes the data and starts the program, until it has its worker.
    void start(const std::vector<std::string>& arguments = {});
    /// Starts it in front of an application and waits until it expands.
    void launch(TextTarget::Kind kind = TextTarget::Kind::Gtk);
    /// The program on the folders of this test, its error stream in the log.
    std::vector<std::string> command(const std::vector<std::string>& arguments = {}) const;
    void writeData();

    /// Types an abbreviation of this class's own again and again until it is replaced: the program
    /// does not tell when it is ready. Leaves the application empty.
    testing::AssertionResult expandsWithin(double seconds = 20);
    /// The process that holds the keyboard; 0 when there is none.
    pid_t worker() const;
    /// What the program has stored meanwhile.
    bool storedBool(StringView key) const;
    void chord(Letter letter);
    void clickAt(int x, int y);
    /// Waits for a window of the worker; the test fails without one.
    DesktopWindow window(const std::string& title);
    /// The window that comes by an action.
    DesktopWindow windowBy(const std::function<void()>& action);
    static void picture(const std::string& name);
    std::filesystem::path preferenceFile() const;
    std::string log() const;
    testing::AssertionResult logs(const std::string& text, double seconds = 10) const;

    test::TemporaryFolder folder_;
    std::unique_ptr<FilePreferenceStore> preferences_ =
        std::make_unique<FilePreferenceStore>(preferenceFile());
    SnippetGroupArray groups_;
    TextTarget* target_ = nullptr;
    std::unique_ptr<ChildProcess> panel_;
    std::unique_ptr<ChildProcess> program_;
};

} // namespace dresk
