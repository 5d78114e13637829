#pragma once

#include "Foundation/RunLoop.h"
#include "engine/FieldsEditorPresenter.h"

namespace dresk {

/// Stands in for the form where there are no windows: accepts what the form would show at first.
class HeadlessFieldsEditor final : public FieldsEditorPresenter {
  public:
    /// `mainRunLoop` outlives the object.
    explicit HeadlessFieldsEditor(RunLoop& mainRunLoop) : mainRunLoop_(mainRunLoop) {}
    ~HeadlessFieldsEditor() override { mainRunLoop_.cancelAll(this); }

    void showFieldsEditor(std::shared_ptr<SnippetExpandedContent> content,
                          std::function<void()> accepted) override;

  private:
    RunLoop& mainRunLoop_;
};

} // namespace dresk
