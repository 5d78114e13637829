#include "language/DRScript.h"

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <system_error>

#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>

#include "Foundation/Log.h"
#include "Foundation/XCDUUID.h"
#include "language/ContentRewriter.h"

namespace dresk {

namespace {

/// Where the sources of scripts lie while they run, up to the identity that ends their names.
std::string temporaryFilePrefix() {
    std::error_code failure;
    const auto folder = std::filesystem::temp_directory_path(failure);
    return ((failure ? std::filesystem::path("/tmp") : folder) / "Dresk-").string();
}

/// The folder that "~" or "~name" stands for; empty for an unknown name.
std::string homeFolder(const std::string& name) {
    if (name.empty())
        if (const char* home = std::getenv("HOME")) // NOLINT(concurrency-mt-unsafe): never changed
            return home;
    passwd entry{};
    passwd* found = nullptr;
    std::string buffer(16384, '\0');
    if (name.empty())
        getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found);
    else
        getpwnam_r(name.c_str(), &entry, buffer.data(), buffer.size(), &found);
    return found != nullptr ? found->pw_dir : "";
}

std::string stringByExpandingTildeInPath(std::string path) {
    if (!path.starts_with('~'))
        return path;
    const std::size_t nameEnd = std::min(path.find('/'), path.size());
    const std::string home = homeFolder(path.substr(1, nameEnd - 1));
    return home.empty() ? path : home + path.substr(nameEnd);
}

/// The file that the whole text names by an absolute path; null where it names none.
std::optional<std::string> fileNamedBy(StringView script) {
    constexpr std::size_t longestPath = 4096;
    if (script.empty() || script.size() > longestPath ||
        (script.front() != u'/' && script.front() != u'~'))
        return std::nullopt;
    std::string path = stringByExpandingTildeInPath(toUTF8(script));
    std::error_code ignored;
    if (!path.starts_with('/') || !std::filesystem::is_regular_file(path, ignored))
        return std::nullopt;
    return path;
}

/// Whether the file begins like text, which a shell can read, and not like a program.
bool isTextFile(const std::string& path) {
    std::string beginning(128, ' ');
    std::ifstream(path, std::ios::binary)
        .read(beginning.data(), static_cast<std::streamsize>(beginning.size()));
    return beginning.find('\0') == std::string::npos;
}

/// Empty, with a line in the log, when it cannot be written.
std::string writeTemporaryFile(const std::string& source, bool isExecutable) {
    std::string path = temporaryFilePrefix() + toUTF8(XCDUUID().UUIDString());
    const Descriptor file(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    std::string_view rest = source;
    bool isWritten = file.isOpen() && (!isExecutable || fchmod(file.get(), 0700) == 0);
    while (isWritten && !rest.empty()) {
        const ssize_t count = write(file.get(), rest.data(), rest.size());
        if (count >= 0)
            rest.remove_prefix(static_cast<std::size_t>(count));
        else
            isWritten = errno == EINTR;
    }
    if (isWritten)
        return path;
    logLine("The script was not run: " + path + ": " + std::generic_category().message(errno));
    if (file.isOpen())
        unlink(path.c_str());
    return {};
}

std::optional<String> resultOf(const std::optional<std::string>& output) {
    if (!output.has_value())
        return std::nullopt;
    auto text = fromValidUTF8(*output);
    if (text.has_value() && text->ends_with(u'\n'))
        text->pop_back();
    return text;
}

} // namespace

void DRScript::execute(ScriptHost& host) {
    if (!nestedScripts_.empty()) {
        for (const auto& nested : nestedScripts_)
            nested->execute(host);
        mergerNestedScriptResults();
    }
    if (runsInShell()) {
        result_ = resultOf(host.runInShell(script_));
    } else if (const auto task = newTaskForScript(script_, isAppleScript_, host.commands())) {
        result_ = resultOf(host.run(*task));
        deleteTempFileForTask(*task);
    }
    if (result_.has_value() && suffix_.has_value())
        result_->append(*suffix_);
    executed_.raise(this);
}

void DRScript::mergerNestedScriptResults() {
    const SnippetExpandedContent::Content source = script_;
    ContentRewriter rewriter(source);
    for (const auto& nested : nestedScripts_) {
        rewriter.copyTo(nested->location());
        rewriter.insert(nested->result().value_or(String()), nullptr);
    }
    script_ = std::get<String>(rewriter.finish());
}

// A script for another interpreter, and a file of the user's, have processes of their own. A
// program that is named by its path is a command like any other.
bool DRScript::runsInShell() const {
    if (isAppleScript_)
        return false;
    if (script_.starts_with(u"#!"))
        return script_.starts_with(u"#!/bin/sh") || script_.starts_with(u"#!/bin/bash");
    const auto file = fileNamedBy(script_);
    return !file.has_value() || !isTextFile(*file);
}

std::unique_ptr<Task> DRScript::newTaskForScript(StringView script, bool isAppleScript,
                                                 const ScriptCommands& commands) {
    auto task = std::make_unique<Task>();
    if (const auto file = fileNamedBy(script)) {
        // The file's own first line has no say. That is meant.
        task->launchPath = isAppleScript ? commands.appleScriptPath : commands.shellPath;
        task->arguments = {*file};
        return task;
    }
    std::string source = toUTF8(script);
    if (!isAppleScript && !source.starts_with("#!"))
        source.insert(0, "#!/bin/sh\n");
    else if (!isAppleScript && !source.ends_with('\n'))
        source += '\n';
    const std::string path = writeTemporaryFile(source, !isAppleScript);
    if (path.empty())
        return nullptr;
    task->launchPath = isAppleScript ? commands.appleScriptPath : path;
    if (isAppleScript)
        task->arguments = {path};
    return task;
}

void DRScript::deleteTempFileForTask(const Task& task) {
    const std::string& path = task.arguments.empty() ? task.launchPath : task.arguments.front();
    if (path.starts_with(temporaryFilePrefix()))
        unlink(path.c_str());
}

} // namespace dresk
