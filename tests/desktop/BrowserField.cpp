// A field of a page in a browser. The page tells what the field holds in its title: a title is all
// that a page can show to other programs without a network.

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "desktop/Deadline.h"
#include "desktop/LineText.h"
#include "desktop/PasteField.h"
#include "desktop/WindowTitle.h"

namespace dresk {
namespace {

// Titles drop blanks and line ends, so these go as other characters. The first character tells
// whether the field has the focus.
constexpr std::string_view Page = R"PAGE(<!DOCTYPE html>
<html><head><meta charset="UTF-8"><title>page</title></head><body>
<FIELD></FIELD>
<script>
const field = document.getElementById('field');
function formatOf(node) {
    const style = getComputedStyle(node.parentElement);
    const link = node.parentElement.closest('a');
    if (link) return '[@' + link.href + ']';
    const color = '#' + style.color.match(/\d+/g).slice(0, 3)
        .map(part => Number(part).toString(16).padStart(2, '0')).join('');
    return (style.fontWeight >= 600 ? '[b]' : '') + (color === '#000000' ? '' : '[' + color + ']');
}
function describe() {
    let text = '', before = '';
    const add = (format, part) => {
        if (format !== before) text += (before ? '[]' : '') + format;
        before = format;
        text += part;
    };
    // A line end counts once something stands on the line behind it: the one at the end of a block
    // only keeps its line open.
    let isEnded = false, isOpen = false;
    const openLine = () => {
        if (isEnded) add('', '\n');
        isEnded = false;
        isOpen = true;
    };
    const endLine = () => {
        isEnded = isEnded || isOpen;
        isOpen = false;
    };
    const put = (format, part) => {
        if (!part) return;
        openLine();
        add(format, part);
    };
    const walk = node => {
        if (node.nodeType === Node.TEXT_NODE) put(formatOf(node), node.data);
        else if (node.tagName === 'IMG')
            put('', '[picture ' + node.naturalWidth + 'x' + node.naturalHeight + ']');
        else if (node.tagName === 'BR') {
            openLine();
            endLine();
        } else {
            const isBlock = getComputedStyle(node).display === 'block';
            if (isBlock) endLine();
            node.childNodes.forEach(walk);
            if (isBlock) endLine();
        }
    };
    walk(field);
    add('', '');
    return text.replaceAll('\u00a0', ' ');
}
function tell() {
    const text = field.value !== undefined ? field.value : describe();
    document.title = (document.hasFocus() && document.activeElement === field ? '+' : '-') +
        text.replaceAll('\\', '\\\\').replaceAll('\n', '\\n').replaceAll(' ', '\u2423') + '.';
}
for (const name of ['input', 'focus', 'blur', 'load'])
    document.addEventListener(name, tell, true);
window.addEventListener('focus', tell);
field.focus();
tell();
</script></body></html>
)PAGE";
constexpr std::string_view FieldMark = "<FIELD></FIELD>";
constexpr std::string_view TextField =
    R"(<textarea id="field" style="width:95%;height:500px" spellcheck="false"></textarea>)";
constexpr std::string_view RichField =
    R"(<div id="field" contenteditable="true" spellcheck="false" style="height:500px"></div>)";

constexpr std::string_view TitleEnd = ". - Chromium";
constexpr std::string_view BlankMark = "\xE2\x90\xA3";

class BrowserField final : public PasteField {
  public:
    BrowserField(std::string folder, bool isRich) : folder_(std::move(folder)), isRich_(isRich) {}
    ~BrowserField() override {
        process_.reset();
        std::filesystem::remove_all(folder_);
    }

    bool start(std::string& error) {
        constexpr double SecondsToStart = 40;
        std::string page(Page);
        page.replace(page.find(FieldMark), FieldMark.size(), isRich_ ? RichField : TextField);
        const std::string path = folder_ + "/page.html";
        std::ofstream(path) << page;
        process_ =
            ChildProcess::start({"chromium", "--no-sandbox", "--test-type", "--no-first-run",
                                 "--disable-gpu", "--disable-background-networking",
                                 "--disable-component-update", "--password-store=basic",
                                 "--user-data-dir=" + folder_ + "/profile", "file://" + path});
        const auto isThere = [](const std::string& title) { return title.ends_with(TitleEnd); };
        const auto hasFocus = [](const std::string& title) { return title.starts_with('+'); };
        const bool isUp = process_ != nullptr && window_.await(isThere, SecondsToStart);
        window_.activate();
        if (!isUp || !window_.await(hasFocus, SecondsToStart)) {
            error = "chromium did not get ready";
            return false;
        }
        return true;
    }

    bool isRich() const override { return isRich_; }

    // A page that is loaded again has no formatting left at the caret.
    bool clear(KeyInjector& keys) override {
        constexpr std::uint8_t KeyR = 27;
        constexpr double SecondsToLoad = 10;
        pressWithControl(keys, KeyR);
        return awaitContent({}, SecondsToLoad).empty();
    }

    String awaitContent(StringView expected, double seconds) override {
        constexpr double QuietSeconds = 0.15;
        std::string content;
        const auto isExpected = [&](const std::string& title) {
            content = contentOf(title);
            return title.starts_with('+') && fromUTF8(content) == expected;
        };
        const auto isOther = [&](const std::string& title) { return !isExpected(title); };
        const Deadline deadline(seconds);
        while (window_.await(isExpected, deadline.remaining()) &&
               window_.await(isOther, QuietSeconds)) {
        }
        return fromUTF8(content);
    }

  private:
    static std::string contentOf(const std::string& title) {
        if (title.empty() || !title.ends_with(TitleEnd)) {
            return title;
        }
        std::string text = title.substr(1, title.size() - 1 - TitleEnd.size());
        for (auto place = text.find(BlankMark); place != std::string::npos;
             place = text.find(BlankMark, place)) {
            text.replace(place, BlankMark.size(), " ");
        }
        return unescapeLine(text);
    }

    const std::string folder_;
    const bool isRich_;
    WindowTitle window_;
    std::unique_ptr<ChildProcess> process_;
};

} // namespace

std::unique_ptr<PasteField> startBrowser(bool isRich, std::string& error) {
    char folder[] = "/tmp/dresk-browser-XXXXXX";
    if (mkdtemp(folder) == nullptr) {
        error = "no folder";
        return nullptr;
    }
    auto field = std::make_unique<BrowserField>(folder, isRich);
    return field->start(error) ? std::move(field) : nullptr;
}

} // namespace dresk
