#include "play/PlayOptions.h"

#include "input/scripted/ScriptedLayout.h"
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
        return true;
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
        const std::size_t equals = argument.find('=');
        const std::string name = argument.substr(0, equals);
        if (name != "--snippet" && name != "--trigger" && name != "--layout")
            return fail("unknown option " + name);
        if (equals == std::string::npos && next_ == arguments_.size())
            return fail(name + " needs a value");
        const std::string value =
            equals == std::string::npos ? arguments_[next_++] : argument.substr(equals + 1);
        if (name == "--snippet")
            return readSnippet(value);
        if (name == "--layout") {
            options.layout = fromUTF8(value);
            return ScriptedLayout::named(options.layout) != nullptr ||
                   fail("unknown layout " + value);
        }
        const auto trigger = expandTriggerNamed(value);
        if (!trigger.has_value())
            return fail("unknown trigger " + value);
        expandTrigger_ = *trigger;
        return true;
    }

    bool readSnippet(const std::string& value) {
        const std::size_t equals = value.find('=');
        if (equals == std::string::npos || equals == 0)
            return fail("a snippet is ABBR=TEXT, not " + value);
        options.snippets.push_back({fromUTF8(value.substr(0, equals)),
                                    fromUTF8(value.substr(equals + 1)), expandTrigger_});
        return true;
    }

    const std::vector<std::string>& arguments_;
    std::string& error_;
    std::size_t next_ = 0;
    bool hasTyped_ = false;
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
