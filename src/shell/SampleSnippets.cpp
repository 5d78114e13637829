#include "shell/SampleSnippets.h"

namespace dresk {

namespace {

struct Sample {
    StringView abbreviation;
    StringView content;
};

constexpr Sample Samples[] = {
    {u"sig", u"Kind regards,\n"}, {u"mymail", u"name@example.org"},
    {u"myphone", u"+1 555 0100"}, {u"thx", u"Thank you very much for your message."},
    {u"ddash", u"\u2014"},        {u"darrow", u"\u2192"},
};

} // namespace

SnippetGroupArray sampleSnippets(const Clock& clock) {
    auto group = std::make_shared<SnippetGroup>(clock);
    group->setName(u"Samples");
    group->setExpandTrigger(ExpandTrigger::AtDelimiter);
    for (const Sample& sample : Samples)
        group->addItem(Snippet::initWithAbbreviation(String(sample.abbreviation),
                                                     String(sample.content), clock));
    return {group};
}

} // namespace dresk
