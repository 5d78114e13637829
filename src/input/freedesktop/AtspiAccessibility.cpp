#include "input/freedesktop/AtspiAccessibility.h"

#include "input/freedesktop/AtspiElement.h"

namespace dresk {

namespace {

class AtspiAccessibility final : public Accessibility {
  public:
    AXElement applicationElement(ProcessSerialNumber process) override {
        if (process.low == 0)
            return nullptr;
        return std::make_shared<AtspiApplication>(thread_.queue(), process.low);
    }

  private:
    AtspiThread thread_;
};

} // namespace

std::unique_ptr<Accessibility> makeAtspiAccessibility() {
    return std::make_unique<AtspiAccessibility>();
}

} // namespace dresk
