#pragma once

#include <filesystem>
#include <functional>

#include "Foundation/PreferenceStore.h"
#include "Foundation/RunLoop.h"
#include "input/Desktop.h"
#include "language/SnippetExpandedContent.h"
#include "language/SnippetNumericFields.h"
#include "ui/FormDocument.h"

namespace dresk {

/// The form of one expansion: builds its page, keeps inputs of one name and calculated numbers in
/// step while the user types, reads the answers back into the fields, and remembers its size. Made
/// for one form and released when that has closed. Main thread.
class SnippetContentFieldsEditorController final : public FormWindowDelegate {
  public:
    /// What it works with; all of it outlives the controller.
    struct Environment {
        RunLoop& mainRunLoop;
        PreferenceStore& preferences;
        Processes& processes;
        Screens& screens;
        /// Where the caret is, origin at the lower left of the first screen; the place is that of
        /// the top left corner. Zero when unknown.
        std::function<Rect()> getSelectedTextBound;
        /// Holds index.html and the images of the page.
        std::filesystem::path resourceDirectory;
    };
    using Fields = std::vector<std::shared_ptr<SnippetFieldVariable>>;
    using Variables = SnippetExpandedContent::Variables;

    SnippetContentFieldsEditorController(const Environment& environment,
                                         FormWindowFactory& windows);
    ~SnippetContentFieldsEditorController() override;

    /// Called when the window is about to close, whatever the reason. The controller must live on
    /// until the present call of the main loop ends.
    void setOnWillClose(std::function<void()> onWillClose) {
        onWillClose_ = std::move(onWillClose);
    }
    /// Called when the user has accepted and the values are in the fields.
    void setAction(std::function<void()> action) { action_ = std::move(action); }
    /// Shows the content in the page. It is kept, and its fields receive the values.
    void setSnippetExpandedContent(std::shared_ptr<SnippetExpandedContent> content);
    const std::shared_ptr<SnippetExpandedContent>& snippetExpandedContent() const {
        return content_;
    }
    /// The application that was in front when the form was asked for.
    ProcessSerialNumber frontProcess() const { return frontProcess_; }

    /// Notes caret and application now and shows the form `delay` seconds later.
    void showDelayed(double delay);

    // The page and the window.
    void pageChanged(FormState state) override { document_.update(std::move(state)); }
    void onBodyOnLoad(FormState state) override;
    void accept(FormState state) override;
    void onTextInputKeyUp(FormState state, const String& id) override;
    void onTextInputOnChange(FormState state, const String& id) override;
    void acceptFields(FormState state) override;
    void cancel() override { closeWindow(); }
    void pageFailed(const std::string& reason) override;

    /// The whole page. An empty page when there is no template.
    static String generateHtmlWithString(const String& string, const Variables& variables,
                                         const std::filesystem::path& resourceDirectory);
    static String generateHtmlWithAttributedString(const AttributedString& attributedString,
                                                   const Variables& variables,
                                                   const std::filesystem::path& resourceDirectory);
    static String generateHtmlWithDivContent(StringView divContent,
                                             const std::filesystem::path& resourceDirectory);
    /// Empty for a field that shows nothing.
    static String generateHtmlTextInput(const SnippetFieldVariable& field, std::size_t fieldIndex);

  private:
    /// Whether an input follows another of its name.
    enum class Copying { IntoTextInputs, IntoAllInputs };

    void refreshWebView();
    void showWindowAtCaret();
    void onTextInputKeyUpInternal(const String& id);
    void copyToSameName(const String& id, Copying copying);
    void recalculate(const String& id);
    void syncNumberInputValues();
    void takeValues();
    void finish();
    void sendChanges();
    void closeWindow();
    String sizeKey() const;

    const Environment environment_;
    std::function<void()> onWillClose_;
    std::function<void()> action_;
    std::shared_ptr<SnippetExpandedContent> content_;
    Fields fields_;
    SnippetNumericFields numericFields_;
    /// Numbers as number inputs take them: with a point whatever the locale.
    const DecimalFormatter inputFormatter_;
    FormDocument document_;
    ProcessSerialNumber frontProcess_;
    Rect selectedTextBound_;
    bool isClosed_ = false;
    std::unique_ptr<FormWindow> window_;
};

} // namespace dresk
