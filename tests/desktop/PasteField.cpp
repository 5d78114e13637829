#include "desktop/PasteField.h"

#include <cstdlib>
#include <filesystem>
#include <ostream>
#include <sstream>

namespace dresk {
namespace {

class OwnField final : public PasteField {
  public:
    explicit OwnField(std::unique_ptr<TextTarget> target) : target_(std::move(target)) {}

    String awaitContent(StringView expected, double seconds) override {
        return target_->awaitText(expected, seconds);
    }
    bool clear(KeyInjector&) override {
        target_->clear();
        return true;
    }

  private:
    std::unique_ptr<TextTarget> target_;
};

bool isInstalled(const std::string& program) {
    const char* path = std::getenv("PATH"); // NOLINT(concurrency-mt-unsafe)
    std::istringstream folders(path != nullptr ? path : "");
    for (std::string folder; std::getline(folders, folder, ':');) {
        if (std::filesystem::exists(folder + "/" + program)) {
            return true;
        }
    }
    return false;
}

} // namespace

std::string PasteField::reasonToSkip(Kind kind) {
    std::string program;
    if (kind == Kind::Writer)
        program = "soffice";
    else if (kind == Kind::BrowserText || kind == Kind::BrowserRich)
        program = "chromium";
    if (program.empty())
        return {};
    if (std::getenv("DRESK_TEST_APPLICATIONS") == nullptr) // NOLINT(concurrency-mt-unsafe)
        return "runs with DRESK_TEST_APPLICATIONS=1";
    if (!isInstalled(program))
        return program + " is not installed";
    return kind == Kind::Writer ? reasonToSkipWriter() : std::string();
}

std::unique_ptr<PasteField> PasteField::start(Kind kind, std::string& error) {
    switch (kind) {
    case Kind::Gtk:
    case Kind::Qt:
    case Kind::Xterm:
        break;
    case Kind::BrowserText:
        return startBrowser(false, error);
    case Kind::BrowserRich:
        return startBrowser(true, error);
    case Kind::Writer:
        return startWriter(error);
    }
    auto target = TextTarget::start(TextTarget::AllKinds[static_cast<std::size_t>(kind)], error);
    return target != nullptr ? std::make_unique<OwnField>(std::move(target)) : nullptr;
}

std::string nameOf(PasteField::Kind kind) {
    constexpr const char* Names[] = {"Gtk", "Qt", "Xterm", "BrowserText", "BrowserRich", "Writer"};
    return Names[static_cast<std::size_t>(kind)];
}

void PrintTo(PasteField::Kind kind, std::ostream* stream) {
    *stream << nameOf(kind);
}

void pressWithControl(KeyInjector& keys, std::uint8_t key) {
    keys.press(KeyInjector::LeftControl);
    keys.tap(key);
    keys.release(KeyInjector::LeftControl);
}

} // namespace dresk
