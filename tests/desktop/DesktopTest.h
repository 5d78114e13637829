#pragma once

#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "desktop/KeyInjector.h"
#include "desktop/TextTarget.h"

namespace dresk {

/// Base of the tests that type on a display, one display a test program (tools/with-display). A
/// test that fails leaves a picture of the screen in the folder screenshots of its build folder.
class DesktopTest : public testing::Test {
  protected:
    void SetUp() override;
    void TearDown() override;

    /// Starts an application that runs to the end of the test and waits until it has the focus.
    /// Null, and the test fails, if it does not come up.
    TextTarget* startTarget(TextTarget::Kind kind);
    /// Starts a program under test, which runs to the end of the test, and waits until it prints
    /// the line "ready". Null, and the test fails, if it does not.
    ChildProcess* startProgram(const std::vector<std::string>& command);
    KeyInjector& keys() { return *keys_; }
    /// Types and fails the test when a character is not on the keyboard.
    void type(StringView text, TypingPace pace = {});

    /// Whether the target comes to hold that text, with no longer than `seconds` between two
    /// changes, and then stays so; the message shows both texts and where they part.
    static testing::AssertionResult holds(TextTarget& target, StringView expected,
                                          double seconds = 5);

  private:
    std::unique_ptr<KeyInjector> keys_;
    std::vector<std::unique_ptr<TextTarget>> targets_;
    std::vector<std::unique_ptr<ChildProcess>> programs_;
};

/// How often each key went down, by X key code, among the events of a target.
std::size_t pressesOf(const std::vector<TargetKey>& keys, std::uint8_t key);

} // namespace dresk
