// dresk-play: the engine without a desktop.
#include <cstdio>

#include "play/Player.h"

namespace {

constexpr std::size_t MaxInputBytes = 1 << 20;
constexpr int BadData = 1;
constexpr int BadUsage = 2;

constexpr const char* Help = R"(Usage: dresk-play [OPTION]... [TYPED]

Types into a text field in memory, with Dresk watching, and prints what the
field holds in the end. No desktop is needed and nothing waits. Without TYPED,
or with -, it is read from standard input, less a line end at its end. Forms are
accepted with what they would show at first.

  --data FILE          the snippets of an archive, in full or of one group
  --snippet ABBR=TEXT  a snippet, besides; may be given several times
  --script ABBR=SOURCE a shell script whose output is typed, in the same way; it runs
                       on this machine, for 10 seconds at most
  --trigger WHEN       when the snippets behind it expand: immediate, delimiter
                       (the default), swallow (a delimiter that goes), hotkey
  --clipboard TEXT     what is on the clipboard; without it there is nothing
  --now TIME           local time when typing begins, as 2026-01-31T12:30; without
                       it, the present time
  --time-zone NAME     such as Europe/Berlin; without it, the machine's
  --locale NAME        such as fr or en_GB; without it, the machine's
  --layout NAME        keyboard layout: us (the default) or de
  --trace              list what Dresk posts, on standard error: the time in
                       seconds, keys by name or code, and typed text in quotes
  --help, --version    print this text, or the version

In TYPED, keys without a character stand in angle brackets: <Return>, <Delete>,
<LeftArrow>, <Shift-Tab>, <Command-v>. <Expand> is the expansion hot key, <Undo>
takes an expansion back, <Wait 0.5> lets half a second pass, << is the character.

Example: dresk-play --snippet 'sig=Kind regards' 'Bye. sig<Return>'

The status is 1 when the data cannot be read in full, 2 for arguments that make
no sense.
)";

// Null when there is more than can be meant.
std::optional<std::string> readStandardInput() {
    std::string text(MaxInputBytes + 1, '\0');
    text.resize(std::fread(text.data(), 1, text.size(), stdin));
    if (text.size() > MaxInputBytes)
        return std::nullopt;
    if (text.ends_with('\n'))
        text.pop_back();
    return text;
}

int fail(int status, const std::string& message) {
    (void)std::fprintf(stderr, "dresk-play: %s\n", message.c_str());
    return status;
}

} // namespace

int main(int argc, char** argv) {
    std::string error;
    const auto options =
        dresk::PlayOptions::parse(std::vector<std::string>(argv + 1, argv + argc), error);
    if (!options.has_value())
        return fail(BadUsage, error);
    if (options->help || options->version) {
        (void)std::fputs(options->help ? Help : "dresk-play " DRESK_VERSION "\n", stdout);
        return 0;
    }
    dresk::Player player(*options);
    if (options->data.has_value() && !player.addData(*options->data, error))
        return fail(BadData, error);
    const auto typed = options->typed.has_value() ? options->typed : readStandardInput();
    if (!typed.has_value())
        return fail(BadUsage, "standard input is too long");
    const auto steps = dresk::parseKeyNotation(*typed, error);
    if (!steps.has_value())
        return fail(BadUsage, error);

    player.play(*steps);
    player.finish();
    if (options->trace)
        for (const std::string& line : player.trace())
            (void)std::fprintf(stderr, "%s\n", line.c_str());
    (void)std::printf("%s\n", dresk::toUTF8(player.text()).c_str());
    return 0;
}
