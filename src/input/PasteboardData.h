#pragma once

#include <map>

#include "input/Pasteboard.h"

namespace dresk {

/// Bytes that stand ready, by type.
class PasteboardData final : public PasteboardOwner {
  public:
    using Datas = std::map<String, std::string, std::less<>>;

    explicit PasteboardData(Datas datas) : datas_(std::move(datas)) {}
    std::optional<std::string> provideDataForType(StringView type) override {
        const auto found = datas_.find(type);
        return found != datas_.end() ? std::optional(found->second) : std::nullopt;
    }
    void dataTaken(StringView /*type*/) override {}

  private:
    const Datas datas_;
};

} // namespace dresk
