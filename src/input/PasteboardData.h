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

/// Offers what was read from the pasteboard, as far as it has come. `contents` is not null.
class PasteboardContentsOwner final : public PasteboardOwner {
  public:
    explicit PasteboardContentsOwner(std::shared_ptr<const PasteboardContents> contents)
        : contents_(std::move(contents)) {}
    std::optional<std::string> provideDataForType(StringView type) override {
        return contents_->dataForType(type);
    }
    void dataTaken(StringView /*type*/) override {}

  private:
    const std::shared_ptr<const PasteboardContents> contents_;
};

} // namespace dresk
