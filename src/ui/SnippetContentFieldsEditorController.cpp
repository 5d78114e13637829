#include "ui/SnippetContentFieldsEditorController.h"

#include "Foundation/Log.h"
#include "Foundation/PreferenceKeys.h"
#include "store/Snippet.h"
#include "ui/FormPlacement.h"

namespace dresk {

namespace {

// Seconds until the value of an element holds what was typed.
constexpr double SettleDelay = 0.1;

String identifierOf(std::size_t fieldIndex) {
    return fromUTF8(std::to_string(fieldIndex));
}

String checkBoxOf(StringView id) {
    return u"optional" + String(id);
}

bool isReadonly(const SnippetFieldVariable& field) {
    return field.canSetReadonly() && field.isReadonly();
}

} // namespace

SnippetContentFieldsEditorController::SnippetContentFieldsEditorController(
    const Environment& environment, FormWindowFactory& windows)
    : environment_(environment), inputFormatter_(u"en_US_POSIX", false),
      window_(windows.makeFormWindow(*this, environment.resourceDirectory.string())) {}

SnippetContentFieldsEditorController::~SnippetContentFieldsEditorController() {
    environment_.mainRunLoop.cancelAll(this);
}

void SnippetContentFieldsEditorController::setSnippetExpandedContent(
    std::shared_ptr<SnippetExpandedContent> content) {
    content_ = std::move(content);
    fields_ = content_->fields();
    refreshWebView();
}

void SnippetContentFieldsEditorController::refreshWebView() {
    const auto* rich = std::get_if<AttributedString>(&content_->content());
    window_->load(rich != nullptr
                      ? generateHtmlWithAttributedString(*rich, content_->variables(),
                                                         environment_.resourceDirectory)
                      : generateHtmlWithString(content_->string(), content_->variables(),
                                               environment_.resourceDirectory));
}

void SnippetContentFieldsEditorController::onBodyOnLoad(FormState state) {
    document_.update(std::move(state));
    if (numericFields_.onBodyOnLoad(fields_))
        environment_.mainRunLoop.callAfter(SettleDelay, {this, "syncNumberInputValues"}, [this] {
            syncNumberInputValues();
            sendChanges();
        });
}

void SnippetContentFieldsEditorController::onTextInputKeyUp(FormState state, const String& id) {
    document_.update(std::move(state));
    environment_.mainRunLoop.callAfter(SettleDelay, {this, "onTextInputKeyUpInternal"},
                                       [this, id] { onTextInputKeyUpInternal(id); });
}

void SnippetContentFieldsEditorController::onTextInputKeyUpInternal(const String& id) {
    copyToSameName(id, Copying::IntoTextInputs);
    sendChanges();
}

void SnippetContentFieldsEditorController::copyToSameName(const String& id, Copying copying) {
    const FormElement* source = document_.elementById(id);
    if (source == nullptr)
        return;
    const String checkBoxId = checkBoxOf(id);
    const FormElement* checkBox = document_.elementById(checkBoxId);
    if (checkBox != nullptr && !checkBox->isChecked)
        document_.click(checkBoxId);
    if (source->name.empty())
        return;
    for (std::size_t i = 0; i < fields_.size(); ++i) {
        const String otherId = identifierOf(i);
        const FormElement* other = document_.elementById(otherId);
        if (otherId == id || other == nullptr || fields_[i]->name() != source->name)
            continue;
        if (isReadonly(*fields_[i]))
            document_.setTextContent(otherId, source->value);
        else if (copying == Copying::IntoAllInputs || other->kind != FormElement::Kind::Select)
            document_.setValue(otherId, source->value);
    }
}

void SnippetContentFieldsEditorController::onTextInputOnChange(FormState state, const String& id) {
    document_.update(std::move(state));
    recalculate(id);
    sendChanges();
}

void SnippetContentFieldsEditorController::recalculate(const String& id) {
    copyToSameName(id, Copying::IntoAllInputs);
    const FormElement* element = document_.elementById(id);
    if (element != nullptr && numericFields_.onTextInputOnChange(element->name, element->value))
        syncNumberInputValues();
}

void SnippetContentFieldsEditorController::syncNumberInputValues() {
    for (const FormElement& element : document_.elements()) {
        const auto& records = numericFields_.numericFieldDataMap();
        const auto record = records.find(element.name);
        if (record == records.end())
            continue;
        if (element.kind == FormElement::Kind::Number)
            document_.setValue(element.id, inputFormatter_.stringFromNumber(record->second.value));
        else if (element.kind == FormElement::Kind::Text)
            document_.setValue(element.id,
                               numericFields_.formattedValue(element.name).value_or(String()));
    }
}

void SnippetContentFieldsEditorController::acceptFields(FormState state) {
    document_.update(std::move(state));
    // A number that is still being typed counts.
    const FormElement* active = document_.activeElement();
    if (active != nullptr &&
        (active->kind == FormElement::Kind::Text || active->kind == FormElement::Kind::Number ||
         active->kind == FormElement::Kind::CheckBox))
        recalculate(active->id);
    finish();
}

void SnippetContentFieldsEditorController::accept(FormState state) {
    document_.update(std::move(state));
    finish();
}

void SnippetContentFieldsEditorController::finish() {
    if (isClosed_)
        return;
    closeWindow();
    takeValues();
    if (action_)
        action_();
}

void SnippetContentFieldsEditorController::takeValues() {
    for (std::size_t i = 0; i < fields_.size(); ++i) {
        const String id = identifierOf(i);
        if (const FormElement* element = document_.elementById(id))
            fields_[i]->setValue(element->value);
        const FormElement* checkBox = document_.elementById(checkBoxOf(id));
        if (fields_[i]->isOptional() && checkBox != nullptr)
            fields_[i]->setIsSelected(checkBox->isChecked);
    }
}

void SnippetContentFieldsEditorController::sendChanges() {
    const auto changes = document_.takeChanges();
    if (!changes.empty() && !isClosed_)
        window_->apply(changes);
}

void SnippetContentFieldsEditorController::pageFailed(const std::string& reason) {
    logLine("The fields form is cancelled: " + reason);
    cancel();
}

void SnippetContentFieldsEditorController::showDelayed(double delay) {
    selectedTextBound_ = environment_.getSelectedTextBound();
    frontProcess_ = environment_.processes.frontProcess();
    environment_.mainRunLoop.callAfter(delay, {this, "showWindowAtCaret"},
                                       [this] { showWindowAtCaret(); });
}

void SnippetContentFieldsEditorController::showWindowAtCaret() {
    const auto size =
        sizeFromString(environment_.preferences.stringForKey(sizeKey()).value_or(String()));
    // A size of nothing is what a form leaves that was never shown.
    if (size.width > 0 && size.height > 0)
        window_->setContentSize(size);
    const auto screens = environment_.screens.screens();
    const bool isPopover = selectedTextBound_.width > 0 && selectedTextBound_.height > 0;
    const Size frame = window_->frameSize(isPopover);
    window_->show(isPopover ? popoverOrigin(selectedTextBound_, frame, screens)
                            : centredOrigin(frame, screens),
                  isPopover);
}

void SnippetContentFieldsEditorController::closeWindow() {
    if (isClosed_)
        return;
    isClosed_ = true;
    environment_.mainRunLoop.cancelAll(this);
    environment_.processes.setFrontProcess(frontProcess_);
    environment_.preferences.setString(stringFromSize(window_->contentSize()), sizeKey());
    if (onWillClose_)
        onWillClose_();
    window_->close();
}

String SnippetContentFieldsEditorController::sizeKey() const {
    const auto& snippet = content_->originalSnippet();
    // Without an abbreviation the key is spelled as the platform writes nothing.
    return PreferenceKey::fieldsEditorSize(
        snippet == nullptr ? String(u"(null)") : snippet->abbreviation().value_or(u"(null)"));
}

} // namespace dresk
