#include "input/PasteboardContract.h"
#include "input/scripted/ScriptedPasteboard.h"

namespace dresk {
namespace {

class ScriptedPasteboardDriver final : public PasteboardDriver {
  public:
    Pasteboard& pasteboard() override { return pasteboard_; }
    void copy(const Items& items) override { pasteboard_.copy(items); }
    std::optional<std::string> paste(StringView type) override { return pasteboard_.paste(type); }
    bool awaitThat(const std::function<bool()>& condition) override { return condition(); }

  private:
    ScriptedPasteboard pasteboard_;
};

std::unique_ptr<PasteboardDriver> make() {
    return std::make_unique<ScriptedPasteboardDriver>();
}
INSTANTIATE_TEST_SUITE_P(Scripted, PasteboardContract, testing::Values(&make));

} // namespace
} // namespace dresk
