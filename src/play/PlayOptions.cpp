#include "play/PlayOptions.h"

#include <algorithm>

#include "input/scripted/ScriptedLayout.h"
#include "play/TimeAndLocale.h"
#include "store/SnippetGroup.h"

namespace dresk {

namespace {

std::optional<std::int32_t> expandTriggerNamed(std::string_view name) {
    if (name == "immediate")
        return ExpandTrigger::Immediately;
    if (name == "delimiter")
        return ExpandTrigger::AtDelimiter;
    if (name == "swallow")
        return ExpandTrigger::AtSwallowedDelimiter;
    if (name == "hotkey")
        return ExpandTrigger::AtHotKey;
    return std::nullopt;
}

/// The arguments from left to right.
class ArgumentReader {
  public:
    ArgumentReader(const std::vector<std::string>& arguments, std::string& error)
        : arguments_(arguments), error_(error) {}

    bool read() {
        bool onlyText = false;
        while (next_ < arguments_.size()) {
            const std::string& argument = arguments_[next_++];
            if (!onlyText && argument == "--")
                onlyText = true;
            else if (!onlyText && argument.size() > 1 && argument.starts_with('-')) {
                if (!readOption(argument))
                    return false;
            } else if (!readTyped(argument))
                return false;
        }
        return resolveNow();
    }
    PlayOptions options;

  private:
    bool fail(const std::string& message) {
        error_ = message;
        return false;
    }

    bool readTyped(const std::string& argument) {
        if (hasTyped_)
            return fail("more than one text to type");
        hasTyped_ = true;
        if (argument != "-")
            options.typed = argument;
        return true;
    }

    bool readOption(const std::string& argument) {
        if (argument == "--trace")
            options.trace = true;
        else if (argument == "--help")
            options.help = true;
        else if (argument == "--version")
            options.version = true;
        else
            return readOptionWithValue(argument);
        return true;
    }

    bool readOptionWithValue(const std::string& argument) {
        struct ValueOption {
            std::string_view name;
            bool (ArgumentReader::*read)(const std::string& value);
        };
        static constexpr ValueOption valueOptions[] = {
            {"--data", &ArgumentReader::readData},
            {"--snippet", &ArgumentReader::readText},
            {"--script", &ArgumentReader::readScript},
            {"--trigger", &ArgumentReader::readTrigger},
            {"--clipboard", &ArgumentReader::readClipboard},
            {"--now", &ArgumentReader::readNow},
            {"--time-zone", &ArgumentReader::readTimeZone},
            {"--locale", &ArgumentReader::readLocale},
            {"--layout", &ArgumentReader::readLayout},
        };
        const std::size_t equals = argument.find('=');
        const std::string name = argument.substr(0, equals);
        const auto* option =
            std::find_if(std::begin(valueOptions), std::end(valueOptions),
                         [&](const ValueOption& other) { return other.name == name; });
        if (option == std::end(valueOptions))
            return fail("unknown option " + name + "; --help lists them");
        if (equals == std::string::npos && next_ == arguments_.size())
            return fail(name + " needs a value");
        const std::string value =
            equals == std::string::npos ? arguments_[next_++] : argument.substr(equals + 1);
        return (this->*option->read)(value);
    }

    bool readData(const std::string& value) {
        options.data = value;
        return !value.empty() || fail("--data needs the name of a file");
    }

    bool readText(const std::string& value) {
        return readSnippet(value, SnippetContentType::PlainText);
    }

    bool readScript(const std::string& value) {
        return readSnippet(value, SnippetContentType::ShellScript);
    }

    bool readSnippet(const std::string& value, std::int64_t contentType) {
        const std::size_t equals = value.find('=');
        if (equals == std::string::npos || equals == 0)
            return fail("a snippet is ABBR=TEXT, not " + value);
        options.snippets.push_back({fromUTF8(value.substr(0, equals)),
                                    fromUTF8(value.substr(equals + 1)), contentType,
                                    expandTrigger_});
        return true;
    }

    bool readTrigger(const std::string& value) {
        const auto trigger = expandTriggerNamed(value);
        if (!trigger.has_value())
            return fail("unknown trigger " + value);
        expandTrigger_ = *trigger;
        return true;
    }

    bool readClipboard(const std::string& value) {
        options.clipboard = fromUTF8(value);
        return true;
    }

    bool readNow(const std::string& value) {
        now_ = value;
        return true;
    }

    /// Behind all options: the time zone may stand behind the time.
    bool resolveNow() {
        if (!now_.has_value())
            return true;
        options.now = dateFromLocalTime(*now_, options.timeZone);
        return options.now.has_value() ||
               fail("no such local time: " + *now_ + "; it is written 2026-01-31T12:30");
    }

    bool readTimeZone(const std::string& value) {
        options.timeZone = fromUTF8(value);
        return isTimeZone(options.timeZone) || fail("unknown time zone " + value);
    }

    bool readLocale(const std::string& value) {
        const auto locale = localeNamed(value);
        if (!locale.has_value())
            return fail("unknown locale " + value);
        options.locale = *locale;
        return true;
    }

    bool readLayout(const std::string& value) {
        options.layout = fromUTF8(value);
        return ScriptedLayout::named(options.layout) != nullptr || fail("unknown layout " + value);
    }

    const std::vector<std::string>& arguments_;
    std::string& error_;
    std::size_t next_ = 0;
    bool hasTyped_ = false;
    std::optional<std::string> now_;
    std::int32_t expandTrigger_ = ExpandTrigger::AtDelimiter;
};

} // namespace

std::optional<PlayOptions> PlayOptions::parse(const std::vector<std::string>& arguments,
                                              std::string& error) {
    ArgumentReader reader(arguments, error);
    if (!reader.read())
        return std::nullopt;
    return reader.options;
}

} // namespace dresk
