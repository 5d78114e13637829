#include "play/Player.h"

#include <algorithm>

#include "Foundation/FileStorage.h"
#include "store/SnippetArchive.h"

namespace dresk {

namespace {

constexpr double SecondsPerKey = 0.1;
/// Longer than any sensible pause inside an expansion.
constexpr double SecondsToFinish = 3600;
/// Real ones, after which a script is killed.
constexpr double ScriptSeconds = 10;

GeneralHotKey hotKey(const KeyPress& press) {
    return {static_cast<std::int32_t>((press.flags >> 17) & 15), press.keyCode};
}

SnippetEnvironment environment(const PlayOptions& options, const Clock& clock) {
    SnippetEnvironment result;
    result.clock = &clock;
    result.richTextReader = pasteboardRichTextReader();
    result.formats = std::make_shared<DateTimeFormats>(options.timeZone, options.locale);
    if (options.clipboard.has_value()) {
        const auto pasteboard = std::make_shared<InMemoryPasteboard>();
        pasteboard->setString(options.clipboard);
        result.pasteboard = pasteboard;
    }
    return result;
}

} // namespace

Player::Player(const PlayOptions& options)
    : time_(options.now.value_or(systemClock().now())), snippetParser_(environment(options, time_)),
      expandHotKey_(hotKey(ExpandKey)), undoHotKey_(hotKey(UndoKey)) {
    addSnippets(options.snippets);
    if (options.clipboard.has_value())
        desktop_.pasteboard().copy({{String(PasteboardType::String), toUTF8(*options.clipboard)}});
    autoText_.setSnippetGroups(&snippetGroups_);
    autoText_.setSnippetParser(&snippetParser_);
    ScriptCommands commands;
    commands.timeLimit = ScriptSeconds;
    autoText_.setScriptCommands(std::move(commands));
    autoText_.setScriptRunLoop(mainRunLoop_);
    autoText_.setEnabled(true);
    macInputService_.setSnippetGroupList(&snippetGroups_);
    macInputService_.registerHotKey(&expandHotKey_);
    macInputService_.registerHotKey(&undoHotKey_);
    macInputService_.hotKeysPressed().addObserver(this, &Player::onHotKeysPressed);
    macInputService_.enableEvents();
    time_.runPending();
    desktop_.selectLayout(options.layout);
}

Player::~Player() {
    macInputService_.disableEvents();
}

void Player::addSnippets(const std::vector<PlayOptions::SnippetDefinition>& definitions) {
    auto& groups = snippetGroups_.groups;
    for (const auto& definition : definitions) {
        auto group = std::find_if(groups.begin(), groups.end(), [&](const auto& other) {
            return other->expandTrigger() == definition.expandTrigger;
        });
        if (group == groups.end()) {
            group = groups.insert(group, std::make_shared<SnippetGroup>(time_));
            (*group)->setExpandTrigger(definition.expandTrigger);
        }
        const auto snippet =
            Snippet::initWithAbbreviation(definition.abbreviation, definition.content, time_);
        snippet->setContentType(definition.contentType);
        (*group)->addItem(snippet);
    }
}

bool Player::addData(const std::string& path, std::string& error) {
    std::error_code failure;
    const auto bytes = readFile(path, failure);
    if (!bytes.has_value()) {
        error = path + ": " + (failure ? failure.message() : "there is no such file");
        return false;
    }
    const auto archive = SnippetArchive::unarchive(*bytes, time_);
    if (!archive.has_value() || !archive->groups.has_value()) {
        error = path + ": damaged, or no archive of snippets";
        return false;
    }
    if (!archive->isLossless) {
        error = path + ": damaged in part";
        return false;
    }
    const std::unique_lock exclusive(snippetGroups_.lock);
    snippetGroups_.groups.insert(snippetGroups_.groups.begin(), archive->groups->begin(),
                                 archive->groups->end());
    return true;
}

void Player::onHotKeysPressed(ZPHotKeysPressedEventArgs* args) {
    for (const GeneralHotKey* pressed : args->hotKeys()) {
        args->cancel = true;
        if (pressed == &expandHotKey_)
            autoText_.expandAtHotkey();
        else
            autoText_.undo(false);
    }
}

void Player::play(const std::vector<PlayStep>& steps) {
    for (const PlayStep& step : steps) {
        double seconds = SecondsPerKey;
        if (const auto* codePoint = std::get_if<char32_t>(&step)) {
            String character;
            appendCodePoint(character, *codePoint);
            desktop_.typeText(character);
        } else if (const auto* press = std::get_if<KeyPress>(&step)) {
            desktop_.typeKey(press->keyCode, press->flags);
        } else {
            seconds = std::get<PlayPause>(step).seconds;
        }
        time_.advance(seconds);
    }
}

void Player::finish() {
    time_.advance(SecondsToFinish);
}

} // namespace dresk
