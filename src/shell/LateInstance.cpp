#include "shell/LateInstance.h"

#include "Foundation/Log.h"

namespace dresk {

LateInstance::LateInstance(RunLoop& mainRunLoop, UserInterface& userInterface,
                           std::function<bool(const Files&)> activateOthers,
                           std::function<void()> terminate)
    : mainRunLoop_(mainRunLoop), userInterface_(userInterface),
      activateOthers_(std::move(activateOthers)), terminate_(std::move(terminate)) {}

void LateInstance::launch(const Files& files) {
    if (!files.empty())
        return activateAndTerminate(files);
    const Alert alert{u"There is already one or more instance(s) of Dresk running.",
                      u"This instance will exit and bring other instances to front.",
                      {u"OK"}};
    userInterface_.showAlert(alert, [this](std::size_t) { activateAndTerminate({}); });
}

void LateInstance::activateAndTerminate(const Files& files) {
    if (!activateOthers_(files))
        logLine("The running Dresk does not answer.");
    mainRunLoop_.callAfter(TerminationDelay, {this, "terminate"}, [this] { terminate_(); });
}

} // namespace dresk
