#pragma once

#include "engine/AutoText.h"
#include "support/ScriptedInputService.h"

namespace dresk {

/// An engine that is enabled, with its scripted service and a list of groups.
struct EngineRig {
    EngineRig() {
        engine.setSnippetGroups(&list);
        engine.setSnippetParser(&parser);
        engine.setEnabled(true);
    }

    SnippetGroup& addGroup(std::int32_t expandTrigger,
                           std::int32_t expandAfter = ExpandAfter::Delimiter) {
        auto group = std::make_shared<SnippetGroup>(time);
        group->setExpandTrigger(expandTrigger);
        group->setExpandAfter(expandAfter);
        list.groups.push_back(group);
        return *group;
    }
    std::shared_ptr<Snippet> addSnippet(SnippetGroup& group, StringView abbreviation,
                                        StringView content) {
        auto snippet = Snippet::initWithAbbreviation(String(abbreviation), String(content), time);
        group.addItem(snippet);
        return snippet;
    }

    VirtualTime time;
    ScriptedInputService service{time};
    ScriptedApplications applications;
    BundleIdentifierResolver resolver{applications};
    SnippetGroupList list;
    SnippetParser parser;
    AutoText engine{service, resolver, service.mainLoop};
};

using Jobs = std::vector<std::string>;

} // namespace dresk
