#pragma once

#include "Foundation/AttributedString.h"
#include "language/SnippetVariableParams.h"

namespace dresk {

/// The object form of one token of the mark-up. Lives for one expansion or one edit; one thread at
/// a time has it.
class SnippetVariable {
  public:
    SnippetVariable() = default;
    /// Reads "optional" and "readonly".
    explicit SnippetVariable(const SnippetVariableParams& params);
    SnippetVariable(const SnippetVariable&) = delete;
    SnippetVariable& operator=(const SnippetVariable&) = delete;
    virtual ~SnippetVariable() = default;

    /// Index into the text under expansion.
    std::uint64_t location() const { return location_; }
    void setLocation(std::uint64_t location) { location_ = location; }
    /// Attributes of the token's first character in a rich parse, else null.
    const AttributedString::Attributes& attributes() const { return attributes_; }
    void setAttributes(AttributedString::Attributes attributes) {
        attributes_ = std::move(attributes);
    }
    /// The user may leave it out.
    bool isOptional() const { return isOptional_; }
    void setIsOptional(bool value) { isOptional_ = value; }
    /// For an optional variable, whether it is ticked.
    bool isSelected() const { return isSelected_; }
    void setIsSelected(bool value) { isSelected_ = value; }
    bool isReadonly() const { return isReadonly_; }
    void setIsReadonly(bool value) { isReadonly_ = value; }
    virtual bool canSetReadonly() const { return true; }

    /// The body of a token that reads back as this variable. The base gives the text of its own
    /// parameters, or null where there is none.
    virtual std::optional<String> toString() const;

  private:
    std::uint64_t location_ = 0;
    AttributedString::Attributes attributes_;
    bool isOptional_ = false;
    bool isSelected_ = false;
    bool isReadonly_ = false;
};

/// Where the caret ends. Made by the parser alone.
class SnippetContentCaret final : public SnippetVariable {};

/// A key press in the middle of the text.
class SnippetKeyVariable final : public SnippetVariable {
  public:
    static constexpr std::uint64_t ShiftFlag = 0x20000;
    static constexpr std::uint64_t ControlFlag = 0x40000;
    static constexpr std::uint64_t OptionFlag = 0x80000;
    static constexpr std::uint64_t CommandFlag = 0x100000;

    /// No count, so it presses nothing unless it passes through the text form.
    SnippetKeyVariable() = default;
    /// Knows neither "optional" nor "readonly".
    explicit SnippetKeyVariable(const SnippetVariableParams& params);
    std::optional<String> toString() const override;

    /// The key's display text; it has no effect on what is sent.
    const std::optional<String>& key() const { return key_; }
    void setKey(std::optional<String> key) { key_ = std::move(key); }
    /// Virtual key code; 65535 means none.
    std::uint16_t keyCode() const { return keyCode_; }
    void setKeyCode(std::uint16_t keyCode) { keyCode_ = keyCode; }
    bool isKeyCodeValid() const { return keyCode_ < 65535; }
    /// Event flags.
    std::uint64_t modifiers() const { return modifiers_; }
    void setModifiers(std::uint64_t modifiers) { modifiers_ = modifiers; }
    bool shift() const { return (modifiers_ & ShiftFlag) != 0; }
    void setShift(bool value) { setFlag(ShiftFlag, value); }
    bool control() const { return (modifiers_ & ControlFlag) != 0; }
    void setControl(bool value) { setFlag(ControlFlag, value); }
    bool option() const { return (modifiers_ & OptionFlag) != 0; }
    void setOption(bool value) { setFlag(OptionFlag, value); }
    bool command() const { return (modifiers_ & CommandFlag) != 0; }
    void setCommand(bool value) { setFlag(CommandFlag, value); }
    /// Presses still to send; the sender counts it down.
    std::uint64_t count() const { return count_; }
    void setCount(std::uint64_t count) { count_ = count; }
    /// Pause behind the key, in seconds.
    double delay() const { return delay_; }
    void setDelay(double delay) { delay_ = delay; }

  private:
    void setFlag(std::uint64_t flag, bool value) {
        modifiers_ = value ? modifiers_ | flag : modifiers_ & ~flag;
    }

    std::optional<String> key_;
    std::uint16_t keyCode_ = 0;
    std::uint64_t modifiers_ = 0;
    std::uint64_t count_ = 0;
    double delay_ = 0;
};

} // namespace dresk
