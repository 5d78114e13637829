#include "desktop/DesktopTest.h"

#include <algorithm>
#include <filesystem>
#include <iostream>

#include "desktop/LineText.h"
#include "desktop/Screenshot.h"

namespace dresk {
namespace {

std::string picturePathOfCurrentTest() {
    const testing::TestInfo* test = testing::UnitTest::GetInstance()->current_test_info();
    std::string name = std::string(test->test_suite_name()) + "." + test->name();
    std::replace(name.begin(), name.end(), '/', '_');
    std::filesystem::create_directories(DRESK_SCREENSHOTS);
    return std::string(DRESK_SCREENSHOTS) + "/" + name + ".png";
}

/// A stretch of text around a place, for a message.
std::string excerpt(StringView text, std::size_t place) {
    constexpr std::size_t Before = 20;
    constexpr std::size_t Length = 60;
    const std::size_t start = place > Before ? place - Before : 0;
    return escapeToLine(toUTF8(text.substr(std::min(start, text.size()), Length)));
}

} // namespace

void DesktopTest::SetUp() {
    std::string error;
    keys_ = KeyInjector::connect(error);
    ASSERT_NE(keys_, nullptr) << error;
}

void DesktopTest::TearDown() {
    keys_.reset();
    if (HasFailure()) {
        const std::string path = picturePathOfCurrentTest();
        std::cout << (saveScreenshot(path) ? "screenshot: " : "no screenshot: ") << path << '\n';
    }
    programs_.clear();
    targets_.clear();
}

TextTarget* DesktopTest::startTarget(TextTarget::Kind kind) {
    std::string error;
    auto target = TextTarget::start(kind, error);
    if (target == nullptr) {
        ADD_FAILURE() << error;
        return nullptr;
    }
    return targets_.emplace_back(std::move(target)).get();
}

ChildProcess* DesktopTest::startProgram(const std::vector<std::string>& command) {
    constexpr double SecondsToStart = 20;
    auto program = ChildProcess::start(command);
    if (program == nullptr) {
        ADD_FAILURE() << command[0] << " cannot be started";
        return nullptr;
    }
    while (const auto line = program->readLine(SecondsToStart)) {
        if (*line == "ready") {
            return programs_.emplace_back(std::move(program)).get();
        }
        std::cout << command[0] << ": " << *line << '\n';
    }
    ADD_FAILURE() << command[0] << " did not get ready";
    return nullptr;
}

void DesktopTest::type(StringView text, TypingPace pace) {
    ASSERT_TRUE(keys_->type(text, pace)) << "not on this keyboard: " << toUTF8(text);
}

testing::AssertionResult DesktopTest::holds(TextTarget& target, StringView expected,
                                            double seconds) {
    const String text = target.awaitText(expected, seconds);
    if (text == expected) {
        return testing::AssertionSuccess();
    }
    const auto parting =
        std::mismatch(text.begin(), text.end(), expected.begin(), expected.end()).first;
    const auto place = static_cast<std::size_t>(parting - text.begin());
    return testing::AssertionFailure()
           << nameOf(target.kind()) << " holds " << text.size() << " units, expected "
           << expected.size() << "; they part at " << place << "\n  is     ..."
           << excerpt(text, place) << "...\n  should ..." << excerpt(expected, place)
           << "...\n  whole: " << escapeToLine(toUTF8(text))
           << "\n  should: " << escapeToLine(toUTF8(expected));
}

std::size_t pressesOf(const std::vector<TargetKey>& keys, std::uint8_t key) {
    return static_cast<std::size_t>(
        std::count_if(keys.begin(), keys.end(), [key](const TargetKey& event) {
            return event.press && event.keycode == key;
        }));
}

} // namespace dresk
