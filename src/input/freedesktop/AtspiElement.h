#pragma once

#include "input/freedesktop/AtspiThread.h"

namespace dresk {

/// An application by its process. Any thread.
class AtspiApplication final : public AXUIElement {
  public:
    AtspiApplication(std::shared_ptr<AtspiQueue> queue, std::uint32_t process)
        : queue_(std::move(queue)), process_(process) {}

    AXValue attributeValue(StringView name) override;
    AXValue parameterizedAttributeValue(StringView /*name*/,
                                        const AXValue& /*parameter*/) override {
        return {};
    }

  private:
    const std::shared_ptr<AtspiQueue> queue_;
    const std::uint32_t process_;
};

/// A share in an element, kept by whoever may still ask it. Made on the accessibility thread; any
/// thread.
struct AtspiHandle {
    /// Takes the reference.
    AtspiHandle(std::shared_ptr<AtspiQueue> owner, std::uint32_t ofProcess,
                GObjectRef<AtspiAccessible> element)
        : queue(std::move(owner)), process(ofProcess), accessible(element.release()) {}
    AtspiHandle(const AtspiHandle&) = delete;
    AtspiHandle& operator=(const AtspiHandle&) = delete;
    ~AtspiHandle() { queue->release(accessible); }

    const std::shared_ptr<AtspiQueue> queue;
    const std::uint32_t process;
    AtspiAccessible* const accessible;
};

/// An element of an application, asked on the accessibility thread. Any thread.
class AtspiElement final : public AXUIElement {
  public:
    explicit AtspiElement(std::shared_ptr<const AtspiHandle> handle) : handle_(std::move(handle)) {}

    AXValue attributeValue(StringView name) override;
    AXValue parameterizedAttributeValue(StringView name, const AXValue& parameter) override;

  private:
    const std::shared_ptr<const AtspiHandle> handle_;
};

} // namespace dresk
