#include "ui/SnippetContentFieldsEditorPresenter.h"

namespace dresk {

namespace {

// Seconds that let the backspaces reach the application before the form takes the keys.
constexpr double ShowDelay = 0.1;
// Seconds that the application in front may take to have the keys again, and between looks.
constexpr double LongestFrontDelay = 0.5;
constexpr double FrontInterval = 0.01;

} // namespace

SnippetContentFieldsEditorPresenter::~SnippetContentFieldsEditorPresenter() {
    environment_.mainRunLoop.cancelAll(this);
}

void SnippetContentFieldsEditorPresenter::showFieldsEditor(
    std::shared_ptr<SnippetExpandedContent> content, std::function<void()> accepted) {
    FormWindowFactory* windows = windows_ != nullptr ? windows_ : module_.factory();
    if (windows == nullptr)
        return;
    auto& controller =
        *controllers_.emplace_back(std::make_unique<Controller>(environment_, *windows));
    controller.setOnWillClose([this, form = &controller] {
        environment_.mainRunLoop.post({this, "release"}, [this, form] { release(form); });
    });
    controller.setAction([this, form = &controller, accepted = std::move(accepted)] {
        awaitFrontProcess(form->frontProcess(), environment_.mainRunLoop.now() + LongestFrontDelay,
                          accepted);
    });
    controller.setSnippetExpandedContent(std::move(content));
    controller.showDelayed(ShowDelay);
}

void SnippetContentFieldsEditorPresenter::release(const Controller* controller) {
    std::erase_if(controllers_,
                  [controller](const auto& each) { return each.get() == controller; });
}

void SnippetContentFieldsEditorPresenter::awaitFrontProcess(ProcessSerialNumber process,
                                                            double deadline,
                                                            std::function<void()> accepted) {
    // The desktop hands the keys over in its own time; text sent before that would go astray. An
    // application that has gone is not waited for any longer.
    RunLoop& loop = environment_.mainRunLoop;
    if (process == ProcessSerialNumber{} || environment_.processes.frontProcess() == process ||
        loop.now() >= deadline) {
        accepted();
        return;
    }
    loop.callAfter(FrontInterval, {this, "awaitFrontProcess"},
                   [this, process, deadline, accepted = std::move(accepted)]() mutable {
                       awaitFrontProcess(process, deadline, std::move(accepted));
                   });
}

} // namespace dresk
