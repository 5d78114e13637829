// The pasteboard among ordinary programs, those that the user has.

#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "desktop/ClipboardManager.h"
#include "desktop/DesktopTest.h"
#include "desktop/SelectionPeer.h"
#include "input/PasteboardContract.h"

namespace dresk {
namespace {

/// Another program copies, and a window with the focus pastes.
class X11PasteboardDriver final : public PasteboardDriver {
  public:
    X11PasteboardDriver() { front_.takeFocus(); }

    Pasteboard& pasteboard() override { return *pasteboard_; }
    void copy(const Items& items) override {
        std::vector<String> types;
        std::map<String, std::string> data;
        for (const auto& [type, bytes] : items) {
            types.push_back(type);
            data.emplace(type, bytes);
        }
        const std::int64_t before = pasteboard_->changeCount();
        other_->declareTypes(types, std::make_shared<TestOwner>(std::move(data)), {});
        EXPECT_TRUE(await([&] { return pasteboard_->changeCount() > before; }));
    }
    std::optional<std::string> paste(StringView type) override {
        const auto answer = front_.fetch("CLIPBOARD", targetsForType(type).front());
        return answer.has_value() ? std::optional(answer->bytes) : std::nullopt;
    }
    bool awaitThat(const std::function<bool()>& condition) override { return await(condition); }

  private:
    std::unique_ptr<X11Pasteboard> pasteboard_ = openPasteboard();
    std::unique_ptr<X11Pasteboard> other_ = openPasteboard();
    SelectionPeer front_;
};

std::unique_ptr<PasteboardDriver> make() {
    return std::make_unique<X11PasteboardDriver>();
}
INSTANTIATE_TEST_SUITE_P(X11, PasteboardContract, testing::Values(&make));

class RealPrograms : public DesktopTest {
  protected:
    static constexpr std::uint8_t KeyA = 38;
    static constexpr std::uint8_t KeyC = 54;
    static constexpr std::uint8_t KeyV = 55;

    void press(std::uint8_t key) {
        keys().press(KeyInjector::LeftControl);
        keys().tap(key);
        keys().release(KeyInjector::LeftControl);
    }
    Pasteboard& pasteboard() { return *pasteboard_; }
    std::shared_ptr<TestOwner> promise(const String& text, PasteboardOptions options = {}) {
        const String type(PasteboardType::String);
        auto owner =
            std::make_shared<TestOwner>(std::map<String, std::string>{{type, toUTF8(text)}});
        pasteboard_->declareTypes({type}, owner, options);
        return owner;
    }
    std::string path(const char* name) const { return folder_ + name; }

    void SetUp() override {
        DesktopTest::SetUp();
        folder_ = testing::TempDir() + "dresk-pasteboard-" + std::to_string(getpid()) + "-";
    }

  private:
    std::unique_ptr<X11Pasteboard> pasteboard_ = openPasteboard();
    std::string folder_;
};

std::string fileBytes(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream bytes;
    bytes << file.rdbuf();
    return bytes.str();
}

class InTarget : public RealPrograms, public testing::WithParamInterface<TextTarget::Kind> {};

TEST_P(InTarget, AnExpansionIsPastedAndTheCopyComesBack) {
    TextTarget* target = startTarget(GetParam());
    ASSERT_NE(target, nullptr);
    const std::int64_t before = pasteboard().changeCount();
    type(u"copied");
    ASSERT_TRUE(holds(*target, u"copied"));
    press(KeyA);
    press(KeyC);
    ASSERT_TRUE(await([&] { return pasteboard().changeCount() > before; }));
    const auto contents = readAll(pasteboard());
    const auto types = contents->types();
    EXPECT_EQ(contents->dataForType(u"UTF8_STRING"), "copied");
    EXPECT_EQ(contents->dataForType(PasteboardType::String), "copied");

    // Those who fetch at every change are no reason to take an expansion for pasted.
    ClipboardManager manager;
    ASSERT_TRUE(await([&] { return manager.fetched() >= 1; }));
    const auto first = promise(u"Grüße, 漢字 ", {.concealed = true});
    ASSERT_TRUE(await([&] { return manager.fetched() >= 2; }));
    EXPECT_GT(first->asked(), 0);
    EXPECT_TRUE(first->taken().empty());
    press(KeyV);
    ASSERT_TRUE(await([&] { return !first->taken().empty(); }));
    ASSERT_TRUE(holds(*target, u"Grüße, 漢字 "));
    const auto second = promise(u"again");
    press(KeyV);
    ASSERT_TRUE(await([&] { return !second->taken().empty(); }));
    ASSERT_TRUE(holds(*target, u"Grüße, 漢字 again"));

    pasteboard().declareTypes(types, ownerOfContents(*contents), {});
    const auto other = openPasteboard();
    EXPECT_TRUE(await([&] { return other->types() == types; }));
    press(KeyV);
    EXPECT_TRUE(holds(*target, u"Grüße, 漢字 againcopied"));
}

INSTANTIATE_TEST_SUITE_P(, InTarget, testing::Values(TextTarget::Kind::Gtk, TextTarget::Kind::Qt),
                         [](const auto& info) { return nameOf(info.param); });

TEST_F(RealPrograms, ALargePictureGoesInPiecesBothWays) {
    const std::string picture = noise(20'000'000);
    const std::string source = path("source");
    const std::string copy = path("copy");
    std::ofstream(source, std::ios::binary) << picture;
    const std::int64_t before = pasteboard().changeCount();
    const auto owner = ChildProcess::start(
        {"xclip", "-quiet", "-i", "-selection", "clipboard", "-t", "image/png", source});
    ASSERT_NE(owner, nullptr);
    ASSERT_TRUE(await([&] { return pasteboard().changeCount() > before; }));
    const auto contents = readAll(pasteboard());
    EXPECT_EQ(contents->types(), std::vector<String>{u"image/png"});
    EXPECT_TRUE(contents->dataForType(PasteboardType::PNG) == picture);

    pasteboard().declareTypes(contents->types(), ownerOfContents(*contents), {});
    EXPECT_EQ(
        ChildProcess::run(
            {"sh", "-c", "exec timeout 60 xclip -o -selection clipboard -t image/png >" + copy}),
        0);
    EXPECT_TRUE(fileBytes(copy) == picture);
    std::filesystem::remove(source);
    std::filesystem::remove(copy);
}

TEST_F(RealPrograms, AStoppedOwnerHoldsUpNobody) {
    const std::string source = path("source");
    std::ofstream(source) << "text";
    for (const bool isKnown : {true, false}) {
        SCOPED_TRACE(isKnown);
        const std::int64_t before = pasteboard().changeCount();
        const auto owner =
            ChildProcess::start({"xclip", "-quiet", "-i", "-selection", "clipboard", source});
        ASSERT_NE(owner, nullptr);
        ASSERT_TRUE(await([&] { return pasteboard().changeCount() > before; }));
        if (isKnown) {
            ASSERT_TRUE(await([&] { return !pasteboard().types().empty(); }));
        }
        owner->signal(SIGSTOP);
        // Without its targets this comes as after a change of the owner that nobody has asked yet.
        const auto fresh = isKnown ? nullptr : openPasteboard();
        Pasteboard& tested = isKnown ? pasteboard() : *fresh;

        const auto secondsOf = [](const std::function<void()>& call) {
            const double begin = steadySeconds();
            call();
            return steadySeconds() - begin;
        };
        const auto text = [&] {
            EXPECT_EQ(tested.dataForType(PasteboardType::String), std::nullopt);
        };
        EXPECT_LT(secondsOf(text), 0.6);
        std::shared_ptr<const PasteboardContents> contents;
        EXPECT_LT(secondsOf([&] { contents = tested.contents(); }), 0.5);
        EXPECT_LT(secondsOf([&] { tested.declareTypes({}, nullptr, {}); }), 0.5);
        EXPECT_FALSE(contents->isComplete());
        // What it was asked before it lost the clipboard it answers when it can.
        owner->signal(SIGCONT);
        ASSERT_TRUE(await([&] { return contents->isComplete(); }));
        EXPECT_EQ(contents->dataForType(PasteboardType::String), "text");
        EXPECT_TRUE(tested.types().empty());
    }
    std::filesystem::remove(source);
}

TEST_F(RealPrograms, AFreshCopyIsNotLost) {
    const auto other = openPasteboard();
    for (int i = 0; i < 100; ++i) {
        const std::string text = std::to_string(i);
        other->declareTypes({String(PasteboardType::String)},
                            std::make_shared<TestOwner>(std::map<String, std::string>{
                                {String(PasteboardType::String), text}}),
                            {});
        const auto contents = pasteboard().contents();
        promise(u"expansion");
        ASSERT_TRUE(await([&] { return contents->isComplete(); }));
        ASSERT_EQ(contents->dataForType(PasteboardType::String), text);
    }
}

TEST_F(RealPrograms, TheManagerKeepsWhatIsHandedOver) {
    SelectionPeer manager;
    pasteboard().handOver(); // to nobody
    manager.own("CLIPBOARD_MANAGER");
    pasteboard().handOver(); // nothing
    EXPECT_FALSE(manager.awaitRequest(0.05).has_value());
    promise(u"to be kept");

    std::thread keeper([&] {
        const auto request = manager.awaitRequest();
        ASSERT_TRUE(request.has_value());
        EXPECT_EQ(request->target, "SAVE_TARGETS");
        const auto text = manager.fetch("CLIPBOARD", "UTF8_STRING");
        ASSERT_TRUE(text.has_value());
        EXPECT_EQ(text->bytes, "to be kept");
        manager.own("CLIPBOARD");
        manager.answer(*request, "NULL", 32, "");
    });
    pasteboard().handOver();
    EXPECT_EQ(manager.owner("CLIPBOARD"), manager.window());
    keeper.join();
    // One that never answers is not waited for.
    promise(u"kept by nobody");
    const double begin = steadySeconds();
    pasteboard().handOver();
    EXPECT_LT(steadySeconds() - begin, 3);
}

} // namespace
} // namespace dresk
