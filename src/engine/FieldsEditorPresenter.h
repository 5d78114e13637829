#pragma once

#include <functional>
#include <memory>

#include "language/SnippetExpandedContent.h"

namespace dresk {

/// Shows the form of an expansion that has fields. Whoever has windows implements it and gives it
/// to the engine. Main thread.
class FieldsEditorPresenter {
  public:
    virtual ~FieldsEditorPresenter() = default;

    /// Shows the form 0.1 seconds later, at the caret of the application in front. When the user
    /// accepts, the values are in the fields of the content, the form has closed, and `accepted` is
    /// called; when the user cancels, nothing is. Every call makes a form of its own.
    virtual void showFieldsEditor(std::shared_ptr<SnippetExpandedContent> content,
                                  std::function<void()> accepted) = 0;
};

} // namespace dresk
