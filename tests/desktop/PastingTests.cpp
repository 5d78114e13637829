// Expansions that are pasted into real applications: rich text, long text, and text that the
// keyboard lacks, with what comes before and behind.

#include <fstream>

#include <unistd.h>

#include "desktop/DesktopTest.h"
#include "desktop/ExpansionScript.h"
#include "desktop/LineText.h"
#include "desktop/PasteField.h"
#include "desktop/PasteboardRig.h"
#include "desktop/Prose.h"
#include "desktop/SelectionPeer.h"

namespace dresk {
namespace {

using Mode = Abbreviation::Mode;

// A green picture of 24 by 16 pixels.
constexpr StringView Picture =
    u"iVBORw0KGgoAAAANSUhEUgAAABgAAAAQCAIAAACDRijCAAAAGklEQVR42mNQaHCgCmIYNWjUoFGDRg2iDAEAgXJQEADk"
    u"+CAAAAAASUVORK5CYII=";

/// Longer than what is typed.
String longText() {
    String text = u"Grüße:\n";
    while (text.size() < 1200) {
        text += proseOf(u"en", 12) + (text.size() % 2 == 0 ? u" — ü €; " : u"\n");
    }
    return text + u"end";
}

/// More different characters than the keyboard has room for, in a text that would be typed.
String foreignText() {
    String text;
    for (char16_t c = 0x4E00; text.size() < 60; c++) {
        text += c;
    }
    return text;
}

const Abbreviation Long{u"zjl", Mode::Immediate, longText()};
const Abbreviation Short{u"zjs", Mode::Immediate, u"Kind regards"};
const Abbreviation Foreign{u"zjf", Mode::Delimiter, foreignText()};
const Abbreviation Rich{u"zjr", Mode::Immediate,
                        u"Dear <b>bold</b> and <span style=\"color:#c80000\">red</span> "
                        u"<a href=\"https://example.org/a?b=1&amp;c=2\">link</a> "
                        u"<img src=\"data:image/png;base64," +
                            String(Picture) + u"\">!",
                        true};
constexpr StringView RichContent =
    u"Dear [b]bold[] and [#c80000]red[] [@https://example.org/a?b=1&c=2]link[] [picture 24x16]!";
constexpr StringView RichAsText = u"Dear bold and red link \uFFFC!";
const Abbreviation Caret{u"zjc", Mode::Immediate, longText() + u"【|】 behind the caret"};
const Abbreviation Keys{u"zjk", Mode::Immediate,
                        longText() + u"【key:↩ code:36 count:2 delay:0.2】" + longText() +
                            u"【key:← code:123 count:3】."};
const Abbreviation Swallowing{u"zjw", Mode::Swallow, u"on " + longText()};

/// What the user has copied before, on a clipboard that belongs to the test.
class UserCopy {
  public:
    UserCopy() {
        owner_->declareTypes({PasteboardType::String.data(), PasteboardType::HTML.data(),
                              PasteboardType::PNG.data()},
                             std::make_shared<Owner>(), {});
        window_ = peer_.owner("CLIPBOARD");
        targets_ = peer_.targets("CLIPBOARD");
    }

    /// Waits until someone else offers the same.
    void expectBack() {
        ASSERT_TRUE(await([this] {
            return peer_.owner("CLIPBOARD") != window_ && peer_.targets("CLIPBOARD") == targets_;
        })) << testing::PrintToString(peer_.targets("CLIPBOARD"));
        for (const char* target : {"UTF8_STRING", "text/html", "image/png"}) {
            const auto data = peer_.fetch("CLIPBOARD", target);
            ASSERT_TRUE(data.has_value()) << target;
            EXPECT_TRUE(data->bytes == bytesFor(target)) << target;
        }
    }

  private:
    static std::string bytesFor(const std::string& target) {
        return target == "UTF8_STRING" ? "the user's copy" : target + noise(300'000);
    }

    class Owner final : public PasteboardOwner {
      public:
        std::optional<std::string> provideDataForType(StringView type) override {
            return bytesFor(type == PasteboardType::String ? "UTF8_STRING"
                            : type == PasteboardType::HTML ? "text/html"
                                                           : "image/png");
        }
        void dataTaken(StringView /*type*/) override {}
    };

    SelectionPeer peer_;
    std::unique_ptr<X11Pasteboard> owner_ = openPasteboard();
    xcb_window_t window_ = XCB_WINDOW_NONE;
    std::vector<std::string> targets_;
};

/// One application for all tests of a kind: some take long to start.
template <class Kind>
class Pasting : public DesktopTest {
  protected:
    static void TearDownTestSuite() { field_.reset(); }

    void SetUp() override {
        if (const auto reason = PasteField::reasonToSkip(Kind::value); !reason.empty())
            GTEST_SKIP() << reason;
        DesktopTest::SetUp();
        const std::string path =
            testing::TempDir() + "dresk-abbreviations-" + std::to_string(getpid());
        std::ofstream(path) << tableOf({Long, Short, Foreign, Rich, Caret, Keys, Swallowing});
        ASSERT_NE(startProgram({DRESK_TEST_EXPANDER, path}), nullptr);
        unlink(path.c_str());
        if (field_ == nullptr) {
            std::string error;
            field_ = PasteField::start(Kind::value, error);
            ASSERT_NE(field_, nullptr) << error;
        } else {
            ASSERT_TRUE(field_->clear(keys()));
        }
    }

    void expectContent(StringView expected) {
        const String content = field_->awaitContent(expected, 15);
        const auto parting =
            std::mismatch(content.begin(), content.end(), expected.begin(), expected.end()).first;
        EXPECT_TRUE(content == expected)
            << "they part at " << parting - content.begin() << "\n is     "
            << escapeToLine(toUTF8(content)) << "\n should " << escapeToLine(toUTF8(expected));
    }
    void clear() { ASSERT_TRUE(field_->clear(keys())); }
    static bool isRich() { return field_->isRich(); }

  private:
    static inline std::unique_ptr<PasteField> field_;
};

struct KindName {
    template <class Kind>
    static std::string GetName(int) {
        return nameOf(Kind::value);
    }
};
template <PasteField::Kind kind>
using KindOf = std::integral_constant<PasteField::Kind, kind>;
using Kinds =
    testing::Types<KindOf<PasteField::Kind::Gtk>, KindOf<PasteField::Kind::Qt>,
                   KindOf<PasteField::Kind::Xterm>, KindOf<PasteField::Kind::BrowserText>,
                   KindOf<PasteField::Kind::BrowserRich>, KindOf<PasteField::Kind::Writer>>;
TYPED_TEST_SUITE(Pasting, Kinds, KindName);

TYPED_TEST(Pasting, RichTextArrivesAsFarAsTheFieldTakesIt) {
    UserCopy copy;
    this->type(u"so zjr");
    this->expectContent(u"so " + String(this->isRich() ? RichContent : RichAsText));
    copy.expectBack();
}

TYPED_TEST(Pasting, TextThatIsLongOrForeignToTheKeyboardIsExact) {
    UserCopy copy;
    ExpansionScript script;
    script.type(u"so ");
    script.abbreviate(Foreign);
    script.abbreviate(Long);
    this->type(script.keys);
    this->expectContent(script.expected);
    copy.expectBack();
}

TYPED_TEST(Pasting, TypingGoesOnBehindIt) {
    for (const double interval : {0.015, 0.03}) {
        SCOPED_TRACE(interval);
        ExpansionScript script;
        for (const Abbreviation* row : {&Long, &Short, &Foreign, &Swallowing, &Short, &Long}) {
            script.type(proseOf(u"en", 4) + u" ");
            script.abbreviate(*row);
        }
        script.type(proseOf(u"en", 4));
        script.type(u"\n");
        this->type(script.keys, {.interval = interval, .hold = interval * 0.7});
        this->expectContent(script.expected);
        if (interval < 0.03) {
            this->clear();
        }
    }
}

TYPED_TEST(Pasting, CaretAndKeysStandWhereTheyWereWritten) {
    this->type(u"so zjc");
    this->expectContent(u"so " + longText() + u" behind the caret");
    this->type(u"X");
    this->expectContent(u"so " + longText() + u"X behind the caret");
    this->clear();
    // Between a paste into a browser and what comes behind it there is a pause, in which keys pass.
    if (TypeParam::value != PasteField::Kind::BrowserText &&
        TypeParam::value != PasteField::Kind::BrowserRich) {
        this->type(u"so zjcX");
        this->expectContent(u"so " + longText() + u"X behind the caret");
        this->clear();
    }

    this->type(u"so zjk");
    String second = longText();
    second.insert(second.size() - 3, u".");
    this->expectContent(u"so " + longText() + u"\n\n" + second);
}

TYPED_TEST(Pasting, UndoTakesAPasteBack) {
    constexpr std::uint8_t KeyF8 = 74;
    const String rich(this->isRich() ? RichContent : RichAsText);
    const std::pair<String, String> rows[] = {
        {u"zjw ", Swallowing.expansion}, {u"zjf ", Foreign.expansion + u" "}, {u"zjr", rich}};
    for (const auto& [letters, expansion] : rows) {
        this->type(letters);
        this->expectContent(expansion);
        this->keys().tap(KeyF8);
        this->expectContent(letters);
        this->clear();
    }
}

} // namespace
} // namespace dresk
