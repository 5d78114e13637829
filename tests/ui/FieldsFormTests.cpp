// The logic of the fields form on a page and a window in memory.

#include <gtest/gtest.h>

#include "Foundation/PreferenceKeys.h"
#include "Foundation/VirtualRunLoop.h"
#include "input/scripted/ScriptedApplications.h"
#include "input/scripted/ScriptedScreens.h"
#include "language/SnippetFieldVariable.h"
#include "language/SnippetParser.h"
#include "store/Snippet.h"
#include "support/LogLines.h"
#include "ui/SnippetContentFieldsEditorPresenter.h"

namespace dresk {
namespace {

/// A form as its browser would show it: inputs with what the user typed into them.
class MemoryWindow final : public FormWindow {
  public:
    explicit MemoryWindow(FormWindowDelegate& delegate) : delegate_(delegate) {}
    ~MemoryWindow() override { *alive_ = false; }

    void load(const String& html) override { html_ = html; }
    void apply(const std::vector<FormChange>& changes) override {
        waiting_.insert(waiting_.end(), changes.begin(), changes.end());
        if (answersAtOnce_)
            catchUp();
    }
    Size contentSize() const override { return size_; }
    void setContentSize(Size size) override { size_ = size; }
    Size frameSize(bool isPopover) const override {
        return {size_.width, size_.height + (isPopover ? 0 : 20)};
    }
    void show(Point origin, bool isPopover) override {
        shownAt_ = origin;
        isPopover_ = isPopover;
    }
    void close() override { isClosed_ = true; }

    /// Makes the page of these fields; as laid down, numbers begin without a value.
    void show(const std::vector<std::shared_ptr<SnippetFieldVariable>>& fields) {
        for (std::size_t i = 0; i < fields.size(); ++i) {
            const auto& field = *fields[i];
            const String id = fromUTF8(std::to_string(i));
            if (field.isOptional())
                state_.elements.push_back({FormElement::Kind::CheckBox,
                                           u"optional" + id,
                                           u"",
                                           u"on",
                                           {},
                                           field.isSelected()});
            FormElement element{
                kindOf(field), id, field.name().value_or(u""), field.value().value_or(u""), {},
                false};
            if (element.kind == FormElement::Kind::Number)
                element.value.clear();
            if (element.kind == FormElement::Kind::Select) {
                element.options = {u"one", u"two"};
                element.value = u"one";
            }
            if (element.kind == FormElement::Kind::Label)
                element.name.clear();
            state_.elements.push_back(std::move(element));
        }
        delegate_.onBodyOnLoad(state_);
    }
    FormElement& element(StringView id) {
        return *std::find_if(state_.elements.begin(), state_.elements.end(),
                             [id](const auto& each) { return each.id == id; });
    }
    void type(StringView id, StringView text) {
        edit(id, text);
        delegate_.onTextInputKeyUp(state_, String(id));
    }
    /// What the user does, before the program hears of it.
    void edit(StringView id, StringView text) {
        element(id).value = text;
        element(id).editedIn = ++state_.number;
    }
    void change(StringView id, StringView text) {
        edit(id, text);
        delegate_.onTextInputOnChange(state_, String(id));
    }
    std::string value(StringView id) { return toUTF8(element(id).value); }
    void focus(StringView id) { state_.activeElementId = id; }
    void setAnswersAtOnce(bool value) { answersAtOnce_ = value; }
    void catchUp() {
        for (const FormChange& change : std::exchange(waiting_, {})) {
            ++state_.appliedChanges;
            if (element(change.id).editedIn > change.basis)
                continue;
            if (change.kind == FormChange::Kind::Click)
                element(change.id).isChecked = !element(change.id).isChecked;
            else
                element(change.id).value = change.text;
        }
    }
    FormWindowDelegate& delegate() { return delegate_; }
    const FormState& state() const { return state_; }
    const std::optional<Point>& shownAt() const { return shownAt_; }
    bool isPopover() const { return isPopover_; }
    bool isClosed() const { return isClosed_; }
    std::shared_ptr<bool> alive() const { return alive_; }

  private:
    static FormElement::Kind kindOf(const SnippetFieldVariable& field) {
        if (field.canSetReadonly() && field.isReadonly())
            return FormElement::Kind::Label;
        switch (field.type()) {
        case SnippetFieldVariable::Multiline:
            return FormElement::Kind::TextArea;
        case SnippetFieldVariable::PopupMenu:
            return FormElement::Kind::Select;
        case SnippetFieldVariable::Number:
            return FormElement::Kind::Number;
        default:
            return FormElement::Kind::Text;
        }
    }

    FormWindowDelegate& delegate_;
    String html_;
    FormState state_;
    std::vector<FormChange> waiting_;
    Size size_{400, 200};
    std::optional<Point> shownAt_;
    bool isPopover_ = false;
    bool isClosed_ = false;
    bool answersAtOnce_ = true;
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

class MemoryWindows final : public FormWindowFactory {
  public:
    std::unique_ptr<FormWindow> makeFormWindow(FormWindowDelegate& delegate,
                                               const std::string&) override {
        auto window = std::make_unique<MemoryWindow>(delegate);
        newest_ = window.get();
        return window;
    }
    MemoryWindow& newest() { return *newest_; }

  private:
    MemoryWindow* newest_ = nullptr;
};

class FieldsForm : public testing::Test {
  protected:
    void SetUp() override {
        mail_ = applications_.launch(u"org.example.Mail", u"Mail");
        applications_.setFrontProcess(mail_);
    }

    /// Shows the form of a snippet and loads its page.
    MemoryWindow& open(StringView snippetContent) {
        const auto snippet = Snippet::initWithAbbreviation(u"ab", String(snippetContent));
        content_ = SnippetParser().parseSnippet(*snippet, {});
        content_->setOriginalSnippet(snippet);
        presenter_.showFieldsEditor(content_, [this] { ++accepted_; });
        MemoryWindow& window = windows_.newest();
        window.show(content_->fields());
        EXPECT_FALSE(window.shownAt().has_value());
        // Its own window has the keys while the form is there.
        time_.advance(0.1);
        applications_.setFrontProcess(own_);
        return window;
    }
    std::string answers() {
        std::string text;
        for (const auto& field : content_->fields())
            text += (text.empty() ? "" : "|") + toUTF8(field->value().value_or(u""));
        return text;
    }

    VirtualTime time_;
    VirtualRunLoop loop_{time_};
    PreferenceStore preferences_;
    ScriptedApplications applications_;
    ScriptedScreens screens_;
    ProcessSerialNumber mail_;
    ProcessSerialNumber own_ = applications_.launch(std::nullopt, u"Dresk");
    Rect selectedTextBound_;
    MemoryWindows windows_;
    SnippetContentFieldsEditorPresenter presenter_{{loop_, preferences_, applications_, screens_,
                                                    [this] { return selectedTextBound_; },
                                                    DRESK_RESOURCES},
                                                   windows_};
    std::shared_ptr<SnippetExpandedContent> content_;
    int accepted_ = 0;
};

TEST_F(FieldsForm, AcceptingGivesTheValuesAndTheKeysBack) {
    MemoryWindow& window = open(u"【field:a value:x】 【field:b type:2 value:\"one\ntwo\"】");
    const auto alive = window.alive();
    window.element(u"0").value = u"typed";
    window.element(u"1").value = u"two";
    window.delegate().accept(window.state());
    EXPECT_TRUE(window.isClosed());
    EXPECT_TRUE(applications_.frontProcess() == mail_);
    EXPECT_EQ(answers(), "typed|two");
    EXPECT_EQ(accepted_, 1);
    EXPECT_TRUE(*alive);
    time_.runPending();
    EXPECT_FALSE(*alive);
}

TEST_F(FieldsForm, CancellingChangesAndTellsNothing) {
    MemoryWindow& window = open(u"【field:a value:x】");
    window.change(u"0", u"typed");
    window.delegate().cancel();
    EXPECT_TRUE(window.isClosed());
    EXPECT_TRUE(applications_.frontProcess() == mail_);
    window.delegate().accept(window.state());
    time_.advance(5);
    EXPECT_EQ(answers(), "x");
    EXPECT_EQ(accepted_, 0);
}

TEST_F(FieldsForm, ApplicationThatHasGoneIsNotWaitedForLong) {
    MemoryWindow& window = open(u"【field:a】");
    applications_.terminate(mail_);
    window.delegate().accept(window.state());
    EXPECT_EQ(accepted_, 0);
    time_.advance(0.6);
    EXPECT_EQ(accepted_, 1);
}

TEST_F(FieldsForm, TypingIsCopiedToInputsOfTheSameName) {
    MemoryWindow& window = open(u"【field:a】【field:a type:1】【field:a readonly:yes】【field:b】"
                                u"【field:a type:2 value:\"one\ntwo\"】【field:】【field】");
    window.type(u"0", u"two");
    EXPECT_EQ(window.value(u"1"), "");
    time_.advance(0.1);
    EXPECT_EQ(window.value(u"1") + window.value(u"2") + window.value(u"3"), "twotwo");
    EXPECT_EQ(window.value(u"4"), "one");
    // A menu follows a finished change only.
    window.change(u"1", u"two");
    EXPECT_EQ(window.value(u"4"), "two");
    // Fields without a name are not tied.
    window.change(u"5", u"x");
    EXPECT_EQ(window.value(u"6"), "");
    // Set apart in the order of typing.
    window.element(u"0").value = u"last";
    window.delegate().accept(window.state());
    EXPECT_EQ(answers(), "last|two|two||two|x|");
}

TEST_F(FieldsForm, TypingTicksAnOptionalField) {
    MemoryWindow& window =
        open(u"【field:a value:x optional:yes】【field:b value:y optional:yes】");
    window.type(u"0", u"z");
    window.type(u"0", u"zz");
    time_.advance(0.1);
    EXPECT_TRUE(window.element(u"optional0").isChecked);
    window.delegate().accept(window.state());
    const auto fields = content_->fields();
    EXPECT_TRUE(fields[0]->isSelected());
    EXPECT_FALSE(fields[1]->isSelected());
    SnippetParser().mergeFields(*content_);
    EXPECT_EQ(toUTF8(content_->string()), "zz");
}

TEST_F(FieldsForm, NumbersAreCalculated) {
    MemoryWindow& window = open(u"【field:price type:3 value:10】 【field:qty type:3 value:2】 "
                                u"【field:total type:3 value:\"price*qty\"】 "
                                u"【field:total】【field:\"my own\" type:3 value:7】");
    EXPECT_EQ(window.value(u"2"), "20");
    EXPECT_EQ(window.value(u"3"), "20");
    EXPECT_EQ(window.value(u"4"), "");
    window.change(u"1", u"2.25");
    EXPECT_EQ(window.value(u"2"), "22.5");
    window.change(u"1", u"");
    EXPECT_EQ(window.value(u"1") + " " + window.value(u"2"), "0 0");
    // The button counts what is being typed.
    window.element(u"1").value = u"3";
    window.focus(u"1");
    window.delegate().acceptFields(window.state());
    EXPECT_EQ(answers(), "10|3|30|30|");
}

TEST_F(FieldsForm, FormulaThatFailsLeavesTheFormUsable) {
    MemoryWindow& window = open(u"【field:n type:3 value:4】【field:f type:3 value:\"n*(\"】");
    EXPECT_EQ(window.value(u"0"), "");
    window.change(u"0", u"5");
    EXPECT_EQ(window.value(u"1"), "");
    window.delegate().accept(window.state());
    EXPECT_EQ(answers(), "5|");
}

TEST_F(FieldsForm, PageThatIsBehindLosesNothing) {
    MemoryWindow& window = open(u"【field:a】【field:a】【field:b】【field:c optional:yes】");
    window.setAnswersAtOnce(false);
    window.change(u"0", u"x");
    window.change(u"3", u"y");
    // The page has not seen the copy and the tick yet when the user accepts.
    window.delegate().accept(window.state());
    EXPECT_EQ(answers(), "x|x||y");
    EXPECT_TRUE(content_->fields()[3]->isSelected());
}

TEST_F(FieldsForm, WhatTheUserTypesMeanwhileStays) {
    MemoryWindow& window = open(u"【field:a】【field:a】");
    window.setAnswersAtOnce(false);
    window.change(u"0", u"x");
    window.edit(u"1", u"y");
    window.catchUp();
    EXPECT_EQ(window.value(u"1"), "y");
    window.change(u"0", u"z");
    window.edit(u"1", u"yy");
    // Known here only from the page that the user accepts.
    window.delegate().accept(window.state());
    EXPECT_EQ(answers(), "z|yy");
}

TEST_F(FieldsForm, LastSizeIsRememberedForTheAbbreviation) {
    const String key = PreferenceKey::fieldsEditorSize(u"ab");
    MemoryWindow& first = open(u"【field:a】");
    EXPECT_EQ(*first.shownAt(), (Point{760, 445}));
    EXPECT_FALSE(first.isPopover());
    first.setContentSize({500, 300});
    first.delegate().cancel();
    EXPECT_EQ(preferences_.stringForKey(key), u"{500, 300}");

    applications_.setFrontProcess(mail_);
    selectedTextBound_ = {600, 700, 2, 16};
    MemoryWindow& second = open(u"【field:a】");
    EXPECT_EQ(second.contentSize(), (Size{500, 300}));
    EXPECT_TRUE(second.isPopover());
    EXPECT_EQ(*second.shownAt(), (Point{351, 402}));

    for (const StringView bad : {u"{0, 0}", u"", u"nonsense", u"{-5, 20}"}) {
        preferences_.setString(String(bad), key);
        EXPECT_EQ(open(u"【field:a】").contentSize(), (Size{400, 200}));
    }
}

TEST_F(FieldsForm, PageThatFailsCancelsWithALineInTheLog) {
    test::LogLines log;
    MemoryWindow& window = open(u"【field:a】");
    const std::size_t before = log.count();
    window.delegate().pageFailed("its process has ended.");
    time_.advance(1);
    EXPECT_EQ(log.count(), before + 1);
    EXPECT_EQ(accepted_, 0);
    MemoryWindow& next = open(u"【field:a】");
    next.delegate().accept(next.state());
    EXPECT_EQ(accepted_, 1);
}

TEST_F(FieldsForm, ModuleThatCannotBeHadCancels) {
    test::LogLines log;
    for (const char* module : {"/nowhere/libdreskform.so", "/dev/null"}) {
        SnippetContentFieldsEditorPresenter presenter{
            {loop_, preferences_, applications_, screens_, [] { return Rect(); }, {}},
            FormWindowModule({module})};
        presenter.showFieldsEditor(std::make_shared<SnippetExpandedContent>(),
                                   [this] { ++accepted_; });
    }
    time_.advance(1);
    EXPECT_EQ(accepted_, 0);
    EXPECT_EQ(log.count(), 2U);
}

} // namespace
} // namespace dresk
