#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <mutex>

#include <gtest/gtest.h>

#include "input/Pasteboard.h"

/// What every pasteboard must do. A test program of a back end includes this once, derives a
/// PasteboardDriver and instantiates the suite.
namespace dresk {

/// A pasteboard, and the other programs that use it. All operations belong to the test's thread.
class PasteboardDriver {
  public:
    using Items = std::vector<std::pair<String, std::string>>;

    PasteboardDriver() = default;
    PasteboardDriver(const PasteboardDriver&) = delete;
    PasteboardDriver& operator=(const PasteboardDriver&) = delete;
    virtual ~PasteboardDriver() = default;

    virtual Pasteboard& pasteboard() = 0;
    /// Another program copies; returns when the pasteboard shows it.
    virtual void copy(const Items& items) = 0;
    /// The application in front takes data of the type; null when it gets none.
    virtual std::optional<std::string> paste(StringView type) = 0;
    virtual bool awaitThat(const std::function<bool()>& condition) = 0;
};

/// Promises data and notes what is asked and taken. Any thread.
class TestOwner final : public PasteboardOwner {
  public:
    explicit TestOwner(std::map<String, std::string> data) : data_(std::move(data)) {}

    std::optional<std::string> provideDataForType(StringView type) override {
        ++asked_;
        const auto found = data_.find(String(type));
        return found != data_.end() ? std::optional(found->second) : std::nullopt;
    }
    void dataTaken(StringView type) override {
        const std::lock_guard lock(mutex_);
        taken_.emplace_back(type);
    }

    int asked() const { return asked_; }
    std::vector<String> taken() const {
        const std::lock_guard lock(mutex_);
        return taken_;
    }

  private:
    const std::map<String, std::string> data_;
    std::atomic<int> asked_{0};
    mutable std::mutex mutex_;
    std::vector<String> taken_;
};

/// Gives back what was read.
inline std::shared_ptr<TestOwner> ownerOfContents(const PasteboardContents& contents) {
    std::map<String, std::string> data;
    for (const String& type : contents.types())
        if (auto bytes = contents.dataForType(type))
            data.emplace(type, std::move(*bytes));
    return std::make_shared<TestOwner>(std::move(data));
}

class PasteboardContract : public testing::TestWithParam<std::unique_ptr<PasteboardDriver> (*)()> {
  protected:
    void SetUp() override { driver_ = GetParam()(); }
    PasteboardDriver& driver() { return *driver_; }
    Pasteboard& pasteboard() { return driver_->pasteboard(); }

    std::shared_ptr<const PasteboardContents> readContents() {
        auto contents = pasteboard().contents();
        EXPECT_TRUE(driver_->awaitThat([&] { return contents->isComplete(); }));
        return contents;
    }
    /// A busy machine may take longer than one call waits.
    void expectData(StringView type, const std::string& expected) {
        std::optional<std::string> data;
        EXPECT_TRUE(driver_->awaitThat([&] {
            data = pasteboard().dataForType(type);
            return data.has_value();
        }));
        EXPECT_EQ(data, expected);
    }
    void awaitTypes(std::size_t count) {
        EXPECT_TRUE(driver_->awaitThat([&] { return pasteboard().types().size() == count; }));
    }
    std::shared_ptr<TestOwner> promise(std::map<String, std::string> data,
                                       PasteboardOptions options = {}) {
        std::vector<String> types;
        types.reserve(data.size());
        for (const auto& [type, bytes] : data)
            types.push_back(type);
        auto owner = std::make_shared<TestOwner>(std::move(data));
        const std::int64_t before = pasteboard().changeCount();
        const std::int64_t count = pasteboard().declareTypes(types, owner, options);
        EXPECT_GT(count, before);
        EXPECT_EQ(pasteboard().changeCount(), count);
        return owner;
    }

  private:
    std::unique_ptr<PasteboardDriver> driver_;
};

namespace {

const String Custom = u"application/x-test;kind=\"ü\"";

} // namespace

TEST_P(PasteboardContract, ACopyIsSeen) {
    const std::int64_t before = pasteboard().changeCount();
    driver().copy({{String(PasteboardType::String), "Grüße 漢"},
                   {String(PasteboardType::HTML), "<b>漢</b>"},
                   {Custom, {"\0\xFF", 2}}});
    EXPECT_GT(pasteboard().changeCount(), before);
    expectData(PasteboardType::String, "Grüße 漢");
    expectData(Custom, std::string("\0\xFF", 2));
    for (const StringView type : {PasteboardType::String, PasteboardType::HTML, StringView(Custom)})
        EXPECT_TRUE(pasteboard().offersType(type)) << toUTF8(type);
    for (const StringView type : {PasteboardType::PNG, PasteboardType::RTFD, StringView()})
        EXPECT_FALSE(pasteboard().offersType(type)) << toUTF8(type);
    EXPECT_EQ(pasteboard().dataForType(u"image/x-none"), std::nullopt);
    EXPECT_EQ(pasteboard().dataForType(PasteboardType::RTFD), std::nullopt);
    EXPECT_EQ(pasteboard().dataForType(u""), std::nullopt);
}

TEST_P(PasteboardContract, APromiseIsKeptWhenItIsTaken) {
    const auto owner = promise({{String(PasteboardType::String), "text"}, {Custom, ""}});
    EXPECT_EQ(owner->asked(), 0);
    EXPECT_EQ(driver().paste(PasteboardType::String), "text");
    EXPECT_TRUE(driver().awaitThat([&] { return owner->taken().size() == 1; }));
    EXPECT_EQ(driver().paste(Custom), "");
    EXPECT_TRUE(driver().awaitThat([&] { return owner->taken().size() == 2; }));
    EXPECT_EQ(owner->taken(), (std::vector<String>{String(PasteboardType::String), Custom}));
    EXPECT_EQ(driver().paste(PasteboardType::PNG), std::nullopt);
}

TEST_P(PasteboardContract, WhatWasThereComesBack) {
    std::string picture(3'000'000, '\0');
    for (std::size_t i = 0; i < picture.size(); ++i)
        picture[i] = static_cast<char>(i * i >> 7);
    driver().copy({{Custom, "first"}, {u"UTF8_STRING", "old"}, {u"image/png", picture}});
    awaitTypes(3);
    const auto types = pasteboard().types();
    // Taken over right behind the call, while the reading goes on.
    const auto contents = pasteboard().contents();
    const auto expansion = promise({{String(PasteboardType::String), "new"}});
    EXPECT_EQ(driver().paste(PasteboardType::String), "new");
    ASSERT_TRUE(driver().awaitThat([&] { return contents->isComplete(); }));
    EXPECT_EQ(contents->types(), types);

    const auto saved = ownerOfContents(*contents);
    pasteboard().declareTypes(types, saved, {});
    EXPECT_EQ(pasteboard().types(), types);
    EXPECT_EQ(driver().paste(Custom), "first");
    EXPECT_EQ(driver().paste(u"UTF8_STRING"), "old");
    EXPECT_TRUE(driver().paste(u"image/png") == picture);
    // What is our own can be read as well.
    const auto own = readContents();
    EXPECT_EQ(own->types(), types);
    EXPECT_TRUE(own->dataForType(u"image/png") == picture);
}

TEST_P(PasteboardContract, EmptyingAndReadingNothing) {
    driver().copy({{u"UTF8_STRING", "there"}});
    const std::int64_t before = pasteboard().changeCount();
    EXPECT_GT(pasteboard().declareTypes({}, nullptr, {}), before);
    EXPECT_TRUE(pasteboard().types().empty());
    EXPECT_EQ(pasteboard().dataForType(PasteboardType::String), std::nullopt);
    const auto contents = readContents();
    EXPECT_TRUE(contents->types().empty());
    EXPECT_EQ(driver().paste(u"UTF8_STRING"), std::nullopt);
}

TEST_P(PasteboardContract, AnotherCopyEndsAPromise) {
    const auto owner = promise({{String(PasteboardType::String), "promised"}});
    const std::int64_t count = pasteboard().changeCount();
    driver().copy({{u"UTF8_STRING", "copied"}});
    EXPECT_GT(pasteboard().changeCount(), count);
    EXPECT_EQ(driver().paste(u"UTF8_STRING"), "copied");
    expectData(u"UTF8_STRING", "copied");
    EXPECT_TRUE(owner->taken().empty());
}

TEST_P(PasteboardContract, AnOwnerWithoutDataIsAsIfItHadNotPromised) {
    auto owner = std::make_shared<TestOwner>(std::map<String, std::string>());
    pasteboard().declareTypes({u"text/html"}, owner, {});
    EXPECT_EQ(driver().paste(u"text/html"), std::nullopt);
    EXPECT_EQ(pasteboard().dataForType(u"text/html"), std::nullopt);
    EXPECT_TRUE(owner->taken().empty());
}

} // namespace dresk
