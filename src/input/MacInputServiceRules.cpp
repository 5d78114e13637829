#include <algorithm>

#include "input/AXUtils.h"
#include "input/MacInputService.h"

// How to deliver: what the application in front needs, and what the user wants.
namespace dresk {

namespace {

constexpr StringView SafariIdentifier = u"com.apple.Safari";
constexpr StringView TextEditIdentifier = u"com.apple.TextEdit";
constexpr StringView MailIdentifier = u"com.apple.mail";
constexpr StringView GoogleDocs = u"https://docs.google.com";
constexpr double GoogleDocsPastingPause = 0.05;

constexpr StringView SheetRole = u"AXSheet";
constexpr StringView WebAreaRole = u"AXWebArea";
constexpr StringView MenuItemRole = u"AXMenuItem";
constexpr StringView SearchFieldSubrole = u"AXSearchField";
/// No page nests its elements deeper; one whose parents go round in a circle does.
constexpr int DeepestElement = 200;

constexpr std::int64_t Everywhere = 0;
constexpr std::int64_t OnlyInApplications = 2;
constexpr std::uint64_t LeastLengthWithHeldKey = 21;
constexpr std::uint16_t HeldKeyCode = 0;

AXElement elementOf(AXUIElement& element, StringView name) {
    const AXValue value = element.attributeValue(name);
    const AXElement* found = std::get_if<AXElement>(&value);
    return found != nullptr ? *found : nullptr;
}

std::optional<String> textOf(AXUIElement& element, StringView name) {
    const AXValue value = element.attributeValue(name);
    const String* found = std::get_if<String>(&value);
    return found != nullptr ? std::optional(*found) : std::nullopt;
}

bool isInGoogleDocs(AXElement element) {
    for (int depth = 0; element != nullptr && depth < DeepestElement; ++depth) {
        if (textOf(*element, AXAttribute::Role) == WebAreaRole)
            if (const auto url = textOf(*element, AXAttribute::Url))
                if (url->starts_with(GoogleDocs))
                    return true;
        element = elementOf(*element, AXAttribute::Parent);
    }
    return false;
}

bool isSearchFieldOfMenu(AXUIElement& element) {
    if (textOf(element, AXAttribute::Subrole) != SearchFieldSubrole)
        return false;
    const AXElement parent = elementOf(element, AXAttribute::Parent);
    return parent != nullptr && textOf(*parent, AXAttribute::Role) == MenuItemRole;
}

} // namespace

void MacInputService::refreshContextInputSetting() {
    const ProcessSerialNumber front = desktop_.processes().frontProcess();
    const auto identifier = bundleIdentifierResolver_.getBundleIdentifier(front);
    auto setting = std::make_shared<ContextInputSetting>(
        customApplicationSettings_.settingForIdentifier(identifier));
    if (listenAtAnnotatedSession_ &&
        (identifier == TextEditIdentifier || identifier == MailIdentifier))
        applySheetRule(*setting);
    setContextInputSetting(std::move(setting));
}

// What is posted at the tap's place does not reach a sheet there.
void MacInputService::applySheetRule(ContextInputSetting& setting) {
    if (const AXElement focused = AXUtils(desktop_).getFocusedUIElement())
        if (const AXElement topLevel = elementOf(*focused, AXAttribute::TopLevelUIElement))
            setting.postToSessionEventTap = textOf(*topLevel, AXAttribute::Role) == SheetRole;
    setting.useClipboard = setting.delayPasting || setting.postToSessionEventTap;
}

void MacInputService::setContextInputSetting(std::shared_ptr<ContextInputSetting> setting) {
    const std::lock_guard lock(mutex_);
    contextBundleIdentifier_ = setting->bundleIdentifier;
    contextInputSetting_ = std::move(setting);
}

std::shared_ptr<ContextInputSetting> MacInputService::contextInputSetting() const {
    const std::lock_guard lock(mutex_);
    return contextInputSetting_;
}

std::optional<String> MacInputService::contextBundleIdentifier() const {
    const std::lock_guard lock(mutex_);
    return contextBundleIdentifier_;
}

void MacInputService::setUseClipboardApplications(std::vector<String> identifiers) {
    const std::lock_guard lock(mutex_);
    useClipboardApplications_ = std::move(identifiers);
}

void MacInputService::prepareSending(const SnippetExpandedContent* content) {
    refreshContextInputSetting();
    if (contextInputSetting()->useClipboard)
        return;
    auto setting = std::make_shared<ContextInputSetting>(*contextInputSetting());
    applyAccessibilityRules(*setting);
    if (content != nullptr && content->isRichText()) {
        setting->useClipboard = true;
    } else {
        if (useClipboard_)
            setting->useClipboard = prefersClipboard(*setting);
        if (content != nullptr && !setting->useClipboard)
            setting->useClipboard = needsClipboard(*setting, content->string());
    }
    customApplicationSettings_.keep(*setting);
    setContextInputSetting(std::move(setting));
}

void MacInputService::applyAccessibilityRules(ContextInputSetting& setting) {
    const AXElement focused = AXUtils(desktop_).getFocusedUIElement();
    if (focused == nullptr)
        return;
    if (setting.bundleIdentifier != SafariIdentifier) {
        if (isSearchFieldOfMenu(*focused))
            setting.useClipboard = true;
    } else if (isInGoogleDocs(focused)) {
        setting.useClipboard = true;
        setting.afterPastingDelay = GoogleDocsPastingPause;
    }
}

bool MacInputService::prefersClipboard(const ContextInputSetting& setting) const {
    const std::int64_t applications = useClipboardIn_;
    if (applications == Everywhere)
        return true;
    const std::lock_guard lock(mutex_);
    const bool isListed =
        setting.bundleIdentifier.has_value() &&
        std::find(useClipboardApplications_.begin(), useClipboardApplications_.end(),
                  *setting.bundleIdentifier) != useClipboardApplications_.end();
    return isListed == (applications == OnlyInApplications);
}

bool MacInputService::needsClipboard(const ContextInputSetting& setting, StringView text) const {
    if (setting.useClipboardIfHasNewLine && text.find(u'\n') != StringView::npos)
        return true;
    // A negative length is a huge one here.
    const auto longest = static_cast<std::uint64_t>(std::int64_t{longTextLength_});
    if ((useClipboardForLongText_ || setting.useClipboardIfLong) && text.size() > longest)
        return true;
    return text.size() >= LeastLengthWithHeldKey && desktop_.eventTaps().keyState(HeldKeyCode);
}

} // namespace dresk
