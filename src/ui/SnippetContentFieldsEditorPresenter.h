#pragma once

#include "engine/FieldsEditorPresenter.h"
#include "ui/FormWindowModule.h"
#include "ui/SnippetContentFieldsEditorController.h"

namespace dresk {

/// Gives the engine its forms, each with a controller and a window of its own. Where no window can
/// be had, the expansion stays as if the user had cancelled. Main thread.
class SnippetContentFieldsEditorPresenter final : public FieldsEditorPresenter {
  public:
    using Environment = SnippetContentFieldsEditorController::Environment;

    SnippetContentFieldsEditorPresenter(Environment environment, FormWindowModule module)
        : environment_(std::move(environment)), module_(std::move(module)) {}
    /// For a window that does not come from a module; `windows` outlives this.
    SnippetContentFieldsEditorPresenter(Environment environment, FormWindowFactory& windows)
        : environment_(std::move(environment)), module_({}), windows_(&windows) {}
    SnippetContentFieldsEditorPresenter(const SnippetContentFieldsEditorPresenter&) = delete;
    SnippetContentFieldsEditorPresenter&
    operator=(const SnippetContentFieldsEditorPresenter&) = delete;
    /// Open forms go without a word.
    ~SnippetContentFieldsEditorPresenter() override;

    void showFieldsEditor(std::shared_ptr<SnippetExpandedContent> content,
                          std::function<void()> accepted) override;

  private:
    using Controller = SnippetContentFieldsEditorController;

    void release(const Controller* controller);
    void awaitFrontProcess(ProcessSerialNumber process, double deadline,
                           std::function<void()> accepted);

    const Environment environment_;
    FormWindowModule module_;
    FormWindowFactory* windows_ = nullptr;
    std::vector<std::unique_ptr<Controller>> controllers_;
};

} // namespace dresk
