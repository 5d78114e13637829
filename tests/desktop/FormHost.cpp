// The fields form on the real desktop, without an engine: form_host MODULE RESOURCES COMMANDS.
//
// It prints "ready" once it knows the application in front, and takes a line at a time from the
// pipe COMMANDS. "form" and a snippet's content, with \n for a line end, opens a form at once. It
// prints "shown" with the milliseconds until the page could be used and had the keys, then
// "closed", and "accepted" with the values of the fields, each behind a tab and with "-" in front
// of one that is not ticked. "popover" has the next forms stand at a caret, "dark" and "light"
// change the colours, "quit" ends it.

#include <iostream>

#include <fcntl.h>
#include <unistd.h>

#include "Foundation/Log.h"
#include "desktop/LineText.h"
#include "input/MacInputService.h"
#include "input/x11/X11Desktop.h"
#include "language/SnippetFieldVariable.h"
#include "language/SnippetParser.h"
#include "store/Snippet.h"
#include "ui/SnippetContentFieldsEditorPresenter.h"
#include "ui/qt/QtRunLoop.h"

#include <QApplication>
#include <QPalette>

namespace dresk {
namespace {

/// The module's windows, with a note of when a page is ready and when a form has closed.
class TimedWindows final : public FormWindowFactory {
  public:
    TimedWindows(std::vector<std::filesystem::path> candidates, RunLoop& loop, Processes& processes)
        : loop_(loop), processes_(processes), module_(std::move(candidates)) {}

    std::unique_ptr<FormWindow> makeFormWindow(FormWindowDelegate& delegate,
                                               const std::string& resourceDirectory) override;
    bool isAvailable() { return module_.factory() != nullptr; }
    void noteStart() { start_ = steadySeconds(); }
    double start() const { return start_; }
    RunLoop& loop() { return loop_; }
    bool haveKeys() const { return processes_.frontProcess() == processes_.currentProcess(); }

  private:
    RunLoop& loop_;
    Processes& processes_;
    FormWindowModule module_;
    double start_ = 0;
};

class TimedWindow final : public FormWindow, public FormWindowDelegate {
  public:
    TimedWindow(TimedWindows& windows, FormWindowFactory& factory, FormWindowDelegate& delegate,
                const std::string& resourceDirectory)
        : windows_(windows), delegate_(delegate),
          window_(factory.makeFormWindow(*this, resourceDirectory)) {}

    ~TimedWindow() override { windows_.loop().cancelAll(this); }

    void load(const String& html) override { window_->load(html); }
    void apply(const std::vector<FormChange>& changes) override { window_->apply(changes); }
    Size contentSize() const override { return window_->contentSize(); }
    void setContentSize(Size size) override { window_->setContentSize(size); }
    Size frameSize(bool isPopover) const override { return window_->frameSize(isPopover); }
    void show(Point origin, bool isPopover) override {
        window_->show(origin, isPopover);
        isShown_ = true;
        tell();
    }
    void close() override {
        window_->close();
        std::cout << "closed" << std::endl;
    }

    void pageChanged(FormState state) override { delegate_.pageChanged(std::move(state)); }
    void onBodyOnLoad(FormState state) override {
        delegate_.onBodyOnLoad(std::move(state));
        isLoaded_ = true;
        tell();
    }
    void accept(FormState state) override { delegate_.accept(std::move(state)); }
    void onTextInputKeyUp(FormState state, const String& id) override {
        delegate_.onTextInputKeyUp(std::move(state), id);
    }
    void onTextInputOnChange(FormState state, const String& id) override {
        delegate_.onTextInputOnChange(std::move(state), id);
    }
    void acceptFields(FormState state) override { delegate_.acceptFields(std::move(state)); }
    void cancel() override { delegate_.cancel(); }
    void pageFailed(const std::string& reason) override { delegate_.pageFailed(reason); }

  private:
    void tell() {
        constexpr double SecondsBetweenLooks = 0.005;
        if (!isShown_ || !isLoaded_)
            return;
        if (!windows_.haveKeys()) {
            windows_.loop().cancelAndCallAfter(SecondsBetweenLooks, {this, "tell"},
                                               [this] { tell(); });
            return;
        }
        std::cout << "shown " << static_cast<int>((steadySeconds() - windows_.start()) * 1000)
                  << std::endl;
    }

    TimedWindows& windows_;
    FormWindowDelegate& delegate_;
    std::unique_ptr<FormWindow> window_;
    bool isShown_ = false;
    bool isLoaded_ = false;
};

std::unique_ptr<FormWindow> TimedWindows::makeFormWindow(FormWindowDelegate& delegate,
                                                         const std::string& resourceDirectory) {
    return std::make_unique<TimedWindow>(*this, *module_.factory(), delegate, resourceDirectory);
}

void setDark(bool dark) {
    QPalette palette;
    if (dark) {
        palette = QPalette(QColor(0x35, 0x36, 0x3a));
        palette.setColor(QPalette::Base, QColor(0x26, 0x27, 0x2b));
    }
    QApplication::setPalette(palette);
}

void printAnswers(const SnippetExpandedContent& content) {
    std::cout << "accepted";
    for (const auto& field : content.fields())
        std::cout << '\t' << (field->isOptional() && !field->isSelected() ? "-" : "")
                  << escapeToLine(toUTF8(field->value().value_or(u"(null)")));
    std::cout << std::endl;
}

class Host {
  public:
    Host(Desktop& desktop, RunLoop& loop, TimedWindows& windows, const std::string& resources)
        : windows_(windows), presenter_({loop, preferences_, desktop.processes(), desktop.screens(),
                                         [this] { return selectedTextBound_; }, resources},
                                        windows) {}

    void handle(const std::string& line) {
        constexpr std::string_view form = "form ";
        if (line == "dark" || line == "light")
            setDark(line == "dark");
        else if (line == "popover")
            selectedTextBound_ = {600, 700, 8, 16};
        else if (line.starts_with(form))
            show(line.substr(form.size()));
    }

  private:
    void show(const std::string& line) {
        const auto snippet = Snippet::initWithAbbreviation(u"form", fromUTF8(unescapeLine(line)));
        const auto content = SnippetParser().parseSnippet(*snippet, {});
        content->setOriginalSnippet(snippet);
        windows_.noteStart();
        if (!windows_.isAvailable())
            return;
        presenter_.showFieldsEditor(content, [content] { printAnswers(*content); });
    }

    PreferenceStore preferences_;
    Rect selectedTextBound_;
    TimedWindows& windows_;
    SnippetContentFieldsEditorPresenter presenter_;
};

/// Says "ready" once the process in front is known.
void awaitFrontProcess(RunLoop& loop, Processes& processes) {
    if (processes.frontProcess() != ProcessSerialNumber{})
        std::cout << "ready" << std::endl;
    else
        loop.callAfter(0.01, {&processes, "awaitFrontProcess"},
                       [&] { awaitFrontProcess(loop, processes); });
}

/// Takes whole lines from the pipe.
class Commands {
  public:
    explicit Commands(const char* path)
        : descriptor_(open(path, O_RDWR | O_NONBLOCK | O_CLOEXEC)) {}
    Commands(const Commands&) = delete;
    Commands& operator=(const Commands&) = delete;
    ~Commands() { close(descriptor_); }

    int descriptor() const { return descriptor_; }
    std::vector<std::string> takeLines() {
        char buffer[4096];
        const ssize_t count = read(descriptor_, buffer, sizeof buffer);
        received_.append(buffer, static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
        std::vector<std::string> lines;
        for (std::size_t end; (end = received_.find('\n')) != std::string::npos;) {
            lines.push_back(received_.substr(0, end));
            received_.erase(0, end + 1);
        }
        return lines;
    }

  private:
    int descriptor_;
    std::string received_;
};

int runHost(const char* module, const char* resources, const char* pipe) {
    std::string error;
    const auto desktop = makeX11Desktop(nullptr, error);
    if (desktop == nullptr) {
        std::cerr << error << '\n';
        return 1;
    }
    QtRunLoop loop;
    BundleIdentifierResolver resolver(desktop->processes());
    MacInputService service(*desktop, resolver, loop);
    SnippetGroupList noSnippets;
    service.setSnippetGroupList(&noSnippets);
    service.enableEvents();
    TimedWindows windows({module}, loop, desktop->processes());
    Host host(*desktop, loop, windows, resources);
    Commands commands(pipe);
    loop.addDescriptor(commands.descriptor(), [&] {
        for (const std::string& line : commands.takeLines()) {
            if (line == "quit")
                loop.stop();
            else
                host.handle(line);
        }
    });
    awaitFrontProcess(loop, desktop->processes());
    loop.run();
    loop.removeDescriptor(commands.descriptor());
    service.disableEvents();
    loop.cancelAll(&desktop->processes());
    return 0;
}

} // namespace
} // namespace dresk

int main(int argc, char** argv) {
    if (argc != 4) {
        std::cerr << "usage: form_host MODULE RESOURCES COMMANDS\n";
        return 2;
    }
    QApplication::setQuitOnLastWindowClosed(false);
    QApplication application(argc, argv);
    return dresk::runHost(argv[1], argv[2], argv[3]);
}
