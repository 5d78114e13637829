#include "input/ClipboardDataProvider.h"

#include <algorithm>
#include <limits>

#include "Foundation/AttributedStringConversion.h"
#include "Foundation/TextAttributes.h"
#include "input/PasteboardData.h"

namespace dresk {

namespace {

constexpr std::int64_t NoChangeCount = std::numeric_limits<std::int64_t>::max();
/// Seconds; a delay of 0 is not to keep a processor busy until the application asks.
constexpr double LeastPause = 0.01;

/// The picture or document that the text consists of; null when it is anything else.
const TextAttachment* loneAttachment(const AttributedString& text) {
    if (text.length() != 1)
        return nullptr;
    const auto attributes = text.attributesAtIndex(0);
    return attributes != nullptr ? attributes->attachment.get() : nullptr;
}

StringView typeOfAttachment(const TextAttachment& attachment) {
    const String& name = attachment.preferredFilename;
    const auto dot = name.rfind(u'.');
    const StringView extension =
        dot == String::npos ? StringView() : StringView(name).substr(dot + 1);
    if (extension == u"png")
        return PasteboardType::PNG;
    return extension == u"pdf" ? PasteboardType::PDF : PasteboardType::TIFF;
}

/// One expansion as it was declared. It never changes, so that whoever asks late for an earlier one
/// still gets that.
class Expansion final : public PasteboardOwner {
  public:
    explicit Expansion(StringView text) : stringData_(text) {}
    Expansion(AttributedString text, bool excludeParagraphTag)
        : attributedStringData_(std::move(text)), excludeParagraphTag_(excludeParagraphTag) {}

    std::optional<std::string> provideDataForType(StringView type) override {
        if (stringData_.has_value())
            return toUTF8(*stringData_);
        const AttributedString& text = *attributedStringData_;
        if (type == PasteboardType::String)
            return toUTF8(text.string());
        if (type == PasteboardType::RTFD)
            return rtfdData(text);
        if (type == PasteboardType::RTF)
            return rtfData(text);
        if (type == PasteboardType::HTML)
            return html(text);
        const TextAttachment* attachment = loneAttachment(text);
        if (attachment == nullptr || type != typeOfAttachment(*attachment))
            return std::nullopt;
        return attachment->contents;
    }
    void dataTaken(StringView /*type*/) override { providedData = steadySeconds(); }

    std::atomic<double> providedData{0};

  private:
    std::string html(const AttributedString& text) const {
        std::vector<String> excludedTags = defaultExcludedTags();
        if (excludeParagraphTag_)
            excludedTags.emplace_back(u"p");
        return htmlData(text, excludedTags);
    }

    const std::optional<String> stringData_;
    const std::optional<AttributedString> attributedStringData_;
    const bool excludeParagraphTag_ = false;
};

} // namespace

ClipboardDataProvider::ClipboardDataProvider(Pasteboard& pasteboard)
    : pasteboard_(pasteboard), changeCount_(NoChangeCount) {}

ClipboardDataProvider::~ClipboardDataProvider() {
    cancelRestore();
}

void ClipboardDataProvider::setString(StringView text) {
    auto expansion = std::make_shared<Expansion>(text);
    std::shared_ptr<const std::atomic<double>> provided(expansion, &expansion->providedData);
    declare({String(PasteboardType::String)}, std::move(expansion), std::move(provided));
}

void ClipboardDataProvider::setAttributedString(const AttributedString& text) {
    std::vector<String> types;
    if (const TextAttachment* attachment = loneAttachment(text))
        types.emplace_back(typeOfAttachment(*attachment));
    if (types.empty() || types.front() != PasteboardType::PDF) {
        types.emplace_back(PasteboardType::RTFD);
        if (!htmlForPictures_ || allAttachments(text).empty())
            types.emplace_back(PasteboardType::RTF);
        if (includeHTMLData_)
            types.emplace_back(PasteboardType::HTML);
    }
    auto expansion = std::make_shared<Expansion>(text, excludeParagraphTag_);
    std::shared_ptr<const std::atomic<double>> provided(expansion, &expansion->providedData);
    declare(types, std::move(expansion), std::move(provided));
}

void ClipboardDataProvider::declare(const std::vector<String>& types,
                                    std::shared_ptr<PasteboardOwner> owner,
                                    std::shared_ptr<const std::atomic<double>> provided) {
    providedData_ = std::move(provided);
    changeCount_ = pasteboard_.declareTypes(types, std::move(owner),
                                            {.concealed = true, .primaryToo = primaryToo_});
}

void ClipboardDataProvider::backup() {
    // What this has declared itself is an expansion, or the backup again.
    if (pasteboard_.changeCount() != changeCount_)
        backupData_ = pasteboard_.contents();
}

void ClipboardDataProvider::restoreAfterDelay() {
    isRestoreOwed_ = true;
    restoreLater(restoreDelay_);
}

void ClipboardDataProvider::restoreLater(double seconds) {
    cancelRestore();
    if (loop_ != nullptr)
        loop_->callAfter(seconds, {this, "restore"}, [this] { restore(); });
}

void ClipboardDataProvider::cancelRestore() {
    if (loop_ != nullptr)
        loop_->cancel({this, "restore"});
}

// Meant: what the user copies between the taking of the expansion and this is overwritten as well.
void ClipboardDataProvider::restore() {
    if (backupData_ == nullptr || providedData_ == nullptr) {
        isRestoreOwed_ = false;
        return;
    }
    if (*providedData_ == 0 || !backupData_->isComplete()) {
        restoreLater(std::max<double>(restoreDelay_, LeastPause));
        return;
    }
    declareBackup();
}

void ClipboardDataProvider::restoreNow() {
    cancelRestore();
    if (isRestoreOwed_ && backupData_ != nullptr && providedData_ != nullptr &&
        (backupData_->isComplete() || !backupData_->types().empty()))
        declareBackup();
}

void ClipboardDataProvider::declareBackup() {
    isRestoreOwed_ = false;
    providedData_ = nullptr;
    changeCount_ = pasteboard_.declareTypes(
        backupData_->types(), std::make_shared<PasteboardContentsOwner>(backupData_), {});
}

} // namespace dresk
