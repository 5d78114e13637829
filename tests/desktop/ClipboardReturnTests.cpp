// What the user has copied comes back behind every pasted expansion, among programs that do as they
// please with the clipboard.

#include <csignal>
#include <fstream>

#include <unistd.h>

#include "desktop/ClipboardManager.h"
#include "desktop/DesktopTest.h"
#include "desktop/ExpansionScript.h"
#include "desktop/SelectionPeer.h"
#include "desktop/UserCopy.h"

namespace dresk {
namespace {

using Mode = Abbreviation::Mode;

constexpr std::size_t Rounds = 250;
/// Beyond what goes in one piece, and as large as a screen full of pixels.
constexpr std::size_t SmallPicture = 300'000;
constexpr std::size_t LargePicture = 20'000'000;
constexpr double RestoreDelay = 0.05;

class ClipboardReturn : public DesktopTest, public testing::WithParamInterface<TextTarget::Kind> {
  protected:
    void SetUp() override {
        DesktopTest::SetUp();
        tablePath_ = testing::TempDir() + "dresk-return-" + std::to_string(getpid());
        std::ofstream(tablePath_) << tableOf(abbreviations_);
        target_ = startTarget(GetParam());
        ASSERT_NE(target_, nullptr);
        ASSERT_NE(startProgram(
                      {DRESK_TEST_EXPANDER, "--paste", std::to_string(RestoreDelay), tablePath_}),
                  nullptr);
    }
    void TearDown() override {
        DesktopTest::TearDown();
        unlink(tablePath_.c_str());
    }

    TextTarget& target() { return *target_; }
    ClipboardManager& manager() { return manager_; }

    /// The user copies in a program that was started for it. The one before is killed.
    void copy(std::size_t pictureSize) {
        ++copies_;
        auto program = ChildProcess::start(
            {DRESK_COPYING_PROGRAM, std::to_string(copies_), std::to_string(pictureSize)});
        ASSERT_NE(program, nullptr);
        ASSERT_EQ(program->readLine(20), "ready");
        killOwner();
        owner_ = std::move(program);
        copied_ = UserCopy::make(copies_, pictureSize);
    }
    /// The program goes before anybody but the manager has asked it.
    void killOwnerOfCopy(bool managerTakesOver) {
        ASSERT_TRUE(await([&] { return manager_.keeps(copied_.items.back().second); }));
        manager_.setTakesOver(managerTakesOver);
        const xcb_window_t gone = user_.owner("CLIPBOARD");
        killOwner();
        ASSERT_TRUE(await([&] {
            const xcb_window_t owner = user_.owner("CLIPBOARD");
            return owner != gone && managerTakesOver == (owner != XCB_WINDOW_NONE);
        }));
        if (!managerTakesOver)
            copied_ = {};
    }

    /// Whether a program that asks finds just what the user copied.
    testing::AssertionResult isBack() {
        std::vector<std::string> expected;
        for (const auto& [target, bytes] : copied_.items)
            expected.push_back(target);
        std::vector<std::string> targets;
        const bool areBack = await([&] {
            targets = user_.targets("CLIPBOARD");
            std::erase_if(targets, [](const auto& name) { return !SelectionTarget::isData(name); });
            return targets == expected;
        });
        if (!areBack) {
            auto result = testing::AssertionFailure() << "on the clipboard:";
            for (const std::string& target : targets)
                result << ' ' << target;
            return result;
        }
        for (const auto& [target, bytes] : copied_.items) {
            const auto answer = user_.fetch("CLIPBOARD", target);
            if (!answer.has_value() || answer->type != target || answer->format != 8)
                return testing::AssertionFailure() << "no answer, or not as it was: " << target;
            if (answer->bytes != bytes)
                return testing::AssertionFailure() << "other bytes: " << target;
        }
        return testing::AssertionSuccess();
    }

    /// The abbreviation of a round; its text is that of no other round for a long while.
    const Abbreviation& abbreviation(std::size_t round) const {
        return abbreviations_[round % abbreviations_.size()];
    }
    void typeAbbreviation(const Abbreviation& row) {
        ExpansionScript script;
        script.type(u" ");
        script.abbreviate(row);
        expected_ += script.expected;
        type(script.keys);
    }
    /// What came too late for one look shows at the next.
    testing::AssertionResult hasText() {
        constexpr double seconds = 10;
        constexpr double quietSeconds = 0.02;
        if (target().awaitText(expected_, seconds, quietSeconds) == expected_)
            return testing::AssertionSuccess();
        return holds(target(), expected_);
    }
    void clearText() {
        EXPECT_TRUE(holds(target(), expected_));
        target().clear();
        expected_.clear();
    }

  private:
    void killOwner() {
        if (owner_ != nullptr)
            owner_->signal(SIGKILL);
        owner_.reset();
    }

    const std::vector<Abbreviation> abbreviations_ = sampleAbbreviations(120);
    std::string tablePath_;
    TextTarget* target_ = nullptr;
    SelectionPeer user_;
    ClipboardManager manager_;
    std::unique_ptr<ChildProcess> owner_;
    unsigned copies_ = 0;
    UserCopy copied_;
    String expected_;
};

TEST_P(ClipboardReturn, BehindEveryExpansion) {
    constexpr std::size_t Large = 50;
    constexpr std::size_t Small = 10;
    for (std::size_t round = 0; round < Rounds && !HasFailure(); ++round) {
        SCOPED_TRACE(round);
        if (round % Small == 0) {
            clearText();
            copy(round % Large == 0 ? LargePicture : SmallPicture);
        }
        switch (round % Large) {
        case 14: // what was given back is taken over
            manager().takeNow();
            ASSERT_TRUE(await([&] { return manager().hasTaken(); }));
            break;
        case 20:
        case 30:
            killOwnerOfCopy(round % Large == 20);
            break;
        default:
            break;
        }
        const Abbreviation& row = abbreviation(round);
        // A key behind the abbreviation does not wait for so long.
        const bool stalls = round % Small == 5 && row.mode == Mode::Swallow && round >= 100;
        if (stalls)
            target().stallNextPaste(3);
        typeAbbreviation(row);
        if (round % Small == 7)
            typeAbbreviation(abbreviation(round + 1));
        ASSERT_TRUE(hasText());
        ASSERT_TRUE(isBack());
    }
}

INSTANTIATE_TEST_SUITE_P(, ClipboardReturn,
                         testing::Values(TextTarget::Kind::Gtk, TextTarget::Kind::Qt),
                         [](const auto& info) { return nameOf(info.param); });

} // namespace
} // namespace dresk
