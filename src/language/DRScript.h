#pragma once

#include "language/SnippetAbbreviationVariable.h"

namespace dresk {

/// One script, with the scripts whose results go into its source first. One thread at a time has
/// it.
class DRScript {
  public:
    using List = std::vector<std::shared_ptr<DRScript>>;

    /// The reference that the script came from; null for a snippet that is a script itself.
    const std::shared_ptr<SnippetAbbreviationVariable>& snippetVariable() const {
        return snippetVariable_;
    }
    void setSnippetVariable(std::shared_ptr<SnippetAbbreviationVariable> variable) {
        snippetVariable_ = std::move(variable);
    }
    bool isAppleScript() const { return isAppleScript_; }
    void setIsAppleScript(bool value) { isAppleScript_ = value; }
    /// Where the result goes: in the expanded content, or in the source of the script around it,
    /// both with the scripts in front of it taken out.
    std::uint64_t location() const { return location_; }
    void setLocation(std::uint64_t location) { location_ = location; }
    /// The source, without those of the nested scripts.
    const String& script() const { return script_; }
    void setScript(String script) { script_ = std::move(script); }
    const List& nestedScripts() const { return nestedScripts_; }
    void setNestedScripts(List scripts) { nestedScripts_ = std::move(scripts); }
    /// Null until the script has run, and where it gave none.
    const std::optional<String>& result() const { return result_; }
    void setResult(std::optional<String> result) { result_ = std::move(result); }
    /// Text to append to the result; null for none.
    const std::optional<String>& suffix() const { return suffix_; }
    void setSuffix(std::optional<String> suffix) { suffix_ = std::move(suffix); }

  private:
    std::shared_ptr<SnippetAbbreviationVariable> snippetVariable_;
    bool isAppleScript_ = false;
    std::uint64_t location_ = 0;
    String script_;
    List nestedScripts_;
    std::optional<String> result_;
    std::optional<String> suffix_;
};

} // namespace dresk
