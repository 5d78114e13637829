#include "language/SnippetParser.h"

#include <algorithm>

#include "language/ContentRewriter.h"
#include "language/SnippetExpansion.h"
#include "language/SnippetFieldVariable.h"
#include "language/SnippetUtils.h"

namespace dresk {

namespace {

using ScriptReferences = std::vector<std::shared_ptr<SnippetAbbreviationVariable>>;

void insertFields(SnippetExpandedContent& content) {
    const auto fields = content.fields();
    ContentRewriter rewriter(content.content());
    for (const auto& field : fields) {
        // An answer left out clears the value only: a rich value goes in all the same. That is
        // meant.
        if (!field->value().has_value() || (field->isOptional() && !field->isSelected()))
            field->setValue(String());
        rewriter.copyTo(field->location());
        if (content.isRichText() && field->richTextValue().has_value())
            rewriter.insert(*field->richTextValue());
        else
            rewriter.insert(*field->value(), field->attributes());
    }
    content.setContent(rewriter.finish());
}

// Keeps keys, the caret and scripts in step with the text; a field in a script's source makes the
// source longer. Lengths are those of the plain values.
void shiftVariables(const SnippetExpandedContent::Variables& variables) {
    std::uint64_t offset = 0;
    ScriptReferences scripts;
    for (const auto& variable : variables) {
        if (const auto* field = dynamic_cast<SnippetFieldVariable*>(variable.get())) {
            const std::uint64_t length = field->value()->size();
            const std::uint64_t place = field->location() + offset;
            for (const auto& script : scripts)
                if (script->end() > place)
                    script->setScriptLength(script->scriptLength() + length);
            offset += length;
            continue;
        }
        variable->setLocation(variable->location() + offset);
        if (auto script = std::dynamic_pointer_cast<SnippetAbbreviationVariable>(variable)) {
            // Scripts that end in front of this one cannot hold what follows.
            std::erase_if(scripts,
                          [&](const auto& earlier) { return earlier->end() < script->location(); });
            scripts.push_back(std::move(script));
        }
    }
}

} // namespace

SnippetParser::SnippetParser(SnippetEnvironment environment)
    : environment_(std::move(environment)) {}

std::shared_ptr<SnippetExpandedContent>
SnippetParser::parseSnippet(const Snippet& snippet, const SnippetGroupArray& groups) const {
    if (!snippet.hasContent())
        return nullptr;
    return parse(snippet, *snippet.richTextContent(),
                 snippet.contentType() == SnippetContentType::RichText, groups);
}

std::shared_ptr<SnippetExpandedContent>
SnippetParser::parse(const Snippet& snippet, const AttributedString& content, bool isRichText,
                     const SnippetGroupArray& groups) const {
    return SnippetExpansion(environment_, groups).parse(snippet, content, isRichText);
}

std::shared_ptr<Snippet>
SnippetParser::findSnippetBySnippetAbbreviationVariable(const SnippetAbbreviationVariable& variable,
                                                        const Snippet* inSnippet,
                                                        const SnippetGroupArray& groups) {
    const String abbreviation = variable.abbreviation().value_or(String());
    auto target = variable.uuid().has_value()
                      ? SnippetUtils::findSnippetByUUID(*variable.uuid(), groups)
                      : SnippetUtils::findSnippetByAbbreviation(abbreviation, groups, true);
    if (target == nullptr && inSnippet != nullptr && inSnippet->parentGroup() != nullptr)
        target = inSnippet->parentGroup()->findSnippetWithAbbreviation(abbreviation);
    if (target == nullptr)
        target = SnippetUtils::findSnippetByAbbreviation(abbreviation, groups, false);
    return target;
}

void SnippetParser::mergeFields(SnippetExpandedContent& content) const {
    insertFields(content);
    shiftVariables(content.variables());
}

void SnippetParser::processScripts(SnippetExpandedContent& content) const {
    ScriptReferences references = content.abbreviations();
    if (references.empty())
        return;
    ContentRewriter rewriter(content.content());
    SnippetExpandedContent::Scripts scripts;
    std::uint64_t removed = 0;
    while (!references.empty()) {
        const auto reference = references.front();
        auto script = newScriptWithAbbreviationVariable(reference, content.string(), references);
        rewriter.copyTo(reference->location());
        rewriter.skipTo(reference->end());
        script->setLocation(reference->location() - removed);
        removed += reference->scriptLength();
        scripts.push_back(std::move(script));
    }
    content.setContent(rewriter.finish());
    content.setScripts(std::move(scripts));
    // What stays keeps its location, that of the text with the sources in it. That is meant.
    auto variables = content.variables();
    std::erase_if(variables, [](const auto& variable) {
        return dynamic_cast<SnippetAbbreviationVariable*>(variable.get()) != nullptr;
    });
    content.setVariables(std::move(variables));
}

std::shared_ptr<DRScript> SnippetParser::newScriptWithAbbreviationVariable(
    const std::shared_ptr<SnippetAbbreviationVariable>& variable, StringView snippetContent,
    ScriptReferences& variables) {
    auto script = std::make_shared<DRScript>();
    script->setSnippetVariable(variable);
    script->setIsAppleScript(variable->isAppleScript());
    std::erase(variables, variable);

    const std::uint64_t start =
        std::min<std::uint64_t>(variable->location(), snippetContent.size());
    const std::uint64_t end = std::min<std::uint64_t>(variable->end(), snippetContent.size());
    String source;
    std::uint64_t position = start;
    std::uint64_t removed = 0;
    DRScript::List nestedScripts;
    for (std::size_t i = 0; i < variables.size() && variables[i]->location() <= variable->end();) {
        const auto child = variables[i];
        if (child->location() < variable->location() || child->end() > variable->end()) {
            ++i;
            continue;
        }
        auto nested = newScriptWithAbbreviationVariable(child, snippetContent, variables);
        nested->setLocation(child->location() - removed - variable->location());
        nestedScripts.push_back(std::move(nested));
        removed += child->scriptLength();
        const std::uint64_t childStart = std::clamp(child->location(), position, end);
        source.append(snippetContent.substr(position, childStart - position));
        position = std::clamp(child->end(), position, end);
    }
    source.append(snippetContent.substr(position, end - position));
    script->setScript(std::move(source));
    script->setNestedScripts(std::move(nestedScripts));
    return script;
}

} // namespace dresk
