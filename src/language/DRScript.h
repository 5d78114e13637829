#pragma once

#include <memory>

#include "Foundation/ZPEvent.h"
#include "language/ScriptHost.h"
#include "language/SnippetAbbreviationVariable.h"

namespace dresk {

/// One script, with the scripts whose results go into its source first. It runs once. One thread at
/// a time has it.
class DRScript : public ZPObject {
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
    /// The source, without those of the nested scripts until they have run; or the absolute path of
    /// a file, which may begin with "~".
    const String& script() const { return script_; }
    void setScript(String script) { script_ = std::move(script); }
    const List& nestedScripts() const { return nestedScripts_; }
    void setNestedScripts(List scripts) { nestedScripts_ = std::move(scripts); }
    /// Null until the script has run, and where it gave none.
    const std::optional<String>& result() const { return result_; }
    /// Text to append to the result; null for none.
    const std::optional<String>& suffix() const { return suffix_; }
    void setSuffix(std::optional<String> suffix) { suffix_ = std::move(suffix); }

    /// Raised with the script, on the thread that ran it, when it has finished.
    ZPEvent& executed() { return executed_; }
    /// Runs the nested scripts, then this one, and raises `executed`. Waits for them as long as it
    /// takes. The status of a script has no say: where it wrote nothing but messages of errors,
    /// these are the result.
    void execute(ScriptHost& host);
    /// Puts the results of the nested scripts into the source.
    void mergerNestedScriptResults();

    /// A process for the script, not started. A source goes into a new file in the temporary
    /// folder; null, with a line in the log, when that cannot be written.
    static std::unique_ptr<Task> newTaskForScript(StringView script, bool isAppleScript,
                                                  const ScriptCommands& commands = {});
    /// Removes that file; no other file is ever touched.
    static void deleteTempFileForTask(const Task& task);

  private:
    bool runsInShell() const;

    std::shared_ptr<SnippetAbbreviationVariable> snippetVariable_;
    bool isAppleScript_ = false;
    std::uint64_t location_ = 0;
    String script_;
    List nestedScripts_;
    std::optional<String> result_;
    std::optional<String> suffix_;
    ZPEvent executed_;
};

} // namespace dresk
