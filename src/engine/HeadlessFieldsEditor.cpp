#include "engine/HeadlessFieldsEditor.h"

#include "language/SnippetFieldVariable.h"
#include "language/SnippetNumericFields.h"

namespace dresk {

namespace {

void acceptDefaults(const SnippetExpandedContent& content) {
    const auto fields = content.fields();
    SnippetNumericFields numbers;
    numbers.onBodyOnLoad(fields);
    for (const auto& field : fields) {
        if (field->isNumber())
            field->setValue(numbers.formattedValue(field->name().value_or(String())));
        else if (field->isPopupMenu() && field->value().has_value())
            field->setValue(field->value()->substr(0, field->value()->find(u'\n')));
    }
}

} // namespace

void HeadlessFieldsEditor::showFieldsEditor(std::shared_ptr<SnippetExpandedContent> content,
                                            std::function<void()> accepted) {
    constexpr double delay = 0.1;
    mainRunLoop_.callAfter(delay, {this, "showWindowAtCaret"},
                           [content = std::move(content), accepted = std::move(accepted)] {
                               acceptDefaults(*content);
                               accepted();
                           });
}

} // namespace dresk
