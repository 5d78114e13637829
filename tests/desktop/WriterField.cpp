// A document in a word processor, which tells its text to office_text.py. (While it saves it drops
// keys, so the document cannot be read from its file.)

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "desktop/Deadline.h"
#include "desktop/LineText.h"
#include "desktop/PasteField.h"
#include "desktop/WindowTitle.h"

namespace dresk {
namespace {

// What would change typed text, and what would come up over the document.
constexpr std::pair<const char*, const char*> TurnedOff[] = {
    {"Common/AutoCorrect", "CapitalAtStartSentence"}, {"Common/AutoCorrect", "TwoCapitalsAtStart"},
    {"Common/AutoCorrect", "SetInetAttribute"},       {"Common/AutoCorrect", "ChangeDash"},
    {"Common/AutoCorrect", "ChangeUnderlineWeight"},  {"Common/AutoCorrect", "ChangeOrdinalNumber"},
    {"Common/AutoCorrect", "AddNonBreakingSpace"},    {"Common/AutoCorrect", "RemoveDoubleSpaces"},
    {"Common/AutoCorrect", "UseReplacementTable"},    {"Common/AutoCorrect", "ReplaceSingleQuote"},
    {"Common/AutoCorrect", "ReplaceDoubleQuote"},     {"Common/Misc", "ShowTipOfTheDay"},
    {"Linguistic/SpellChecking", "IsSpellAuto"},      {"Writer/AutoFunction/Completion", "Enable"},
    {"Writer/AutoFunction/Format/ByInput", "Enable"},
};

void writeProfile(const std::string& folder) {
    std::filesystem::create_directories(folder + "/user");
    std::ofstream file(folder + "/user/registrymodifications.xcu");
    file << R"(<?xml version="1.0" encoding="UTF-8"?>
<oor:items xmlns:oor="http://openoffice.org/2001/registry">
)";
    for (const auto& [path, name] : TurnedOff) {
        file << "<item oor:path=\"/org.openoffice.Office." << path << "\"><prop oor:name=\"" << name
             << "\" oor:op=\"fuse\"><value>false</value></prop></item>\n";
    }
    file << "</oor:items>\n";
}

class WriterField final : public PasteField {
  public:
    explicit WriterField(std::string folder) : folder_(std::move(folder)) {}
    ~WriterField() override {
        text_.reset();
        if (const pid_t program = window_.process(); program > 0) {
            kill(program, SIGKILL); // it would ask whether to save
            ChildProcess::awaitEnd(program, SecondsToAnswer);
        }
        process_.reset();
        std::filesystem::remove_all(folder_);
    }

    bool start(std::string& error) {
        constexpr double SecondsToStart = 60;
        writeProfile(folder_ + "/profile");
        const std::string pipe = folder_.substr(folder_.rfind('/') + 1);
        process_ =
            ChildProcess::start({"soffice", "--norestore", "--nologo", "--nofirststartwizard",
                                 "-env:UserInstallation=file://" + folder_ + "/profile",
                                 "--accept=pipe,name=" + pipe + ";urp;", "--writer"});
        const auto isDocument = [](const std::string& title) {
            return title.ends_with(" - LibreOffice Writer");
        };
        if (process_ == nullptr || !window_.await(isDocument, SecondsToStart)) {
            error = "soffice did not show its window";
            return false;
        }
        window_.activate();
        text_ = ChildProcess::start({DRESK_OFFICE_TEXT, pipe});
        if (text_ == nullptr || text_->readLine(SecondsToStart) != "ready") {
            error = "soffice does not tell its text";
            return false;
        }
        return true;
    }

    bool isRich() const override { return true; }

    String awaitContent(StringView expected, double seconds) override {
        constexpr double QuietSeconds = 0.25;
        const Deadline deadline(seconds);
        for (;;) {
            const bool isExpected = fromUTF8(content_) == expected;
            const auto line =
                text_->readLine(isExpected ? QuietSeconds : std::max(deadline.remaining(), 0.0));
            if (!line.has_value()) {
                return fromUTF8(content_);
            }
            noteLine(*line);
        }
    }

    bool clear(KeyInjector& keys) override {
        // What was typed before is forgotten at such a key. Writer may come to it only behind the
        // keys that are typed next, where it does nothing.
        keys.tap(KeyInjector::Right);
        text_->signal(SIGUSR1);
        const Deadline deadline(SecondsToAnswer);
        while (const auto line = text_->readLine(std::max(deadline.remaining(), 0.0))) {
            if (*line == "cleared") {
                content_.clear();
                return true;
            }
        }
        return false;
    }

  private:
    static constexpr double SecondsToAnswer = 10;

    void noteLine(const std::string& line) {
        constexpr std::string_view Content = "content ";
        if (line.starts_with(Content)) {
            content_ = unescapeLine(line.substr(Content.size()));
        }
    }

    const std::string folder_;
    WindowTitle window_;
    std::unique_ptr<ChildProcess> process_;
    /// Tells what the document holds.
    std::unique_ptr<ChildProcess> text_;
    std::string content_;
};

} // namespace

std::string reasonToSkipWriter() {
    return ChildProcess::run({DRESK_OFFICE_TEXT, "--check"}) == 0 ? ""
                                                                  : "python3-uno is not installed";
}

std::unique_ptr<PasteField> startWriter(std::string& error) {
    char folder[] = "/tmp/dresk-writer-XXXXXX";
    if (mkdtemp(folder) == nullptr) {
        error = "no folder";
        return nullptr;
    }
    auto field = std::make_unique<WriterField>(folder);
    return field->start(error) ? std::move(field) : nullptr;
}

} // namespace dresk
