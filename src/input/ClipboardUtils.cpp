#include "input/ClipboardUtils.h"

#include "Foundation/AttributedStringConversion.h"
#include "input/PasteboardData.h"

namespace dresk {

void ClipboardUtils::setString(Pasteboard& pasteboard, StringView text) {
    const String type(PasteboardType::String);
    pasteboard.declareTypes(
        {type}, std::make_shared<PasteboardData>(PasteboardData::Datas{{type, toUTF8(text)}}), {});
}

void ClipboardUtils::setAttributedString(Pasteboard& pasteboard, const AttributedString& text) {
    const std::pair<String, std::string> forms[] = {
        {String(PasteboardType::String), toUTF8(text.string())},
        {String(PasteboardType::RTFD), rtfdData(text)},
        {String(PasteboardType::RTF), rtfData(text)},
        {String(PasteboardType::HTML), htmlData(text, defaultExcludedTags())},
    };
    std::vector<String> types;
    PasteboardData::Datas datas;
    for (const auto& [type, data] : forms) {
        types.push_back(type);
        datas.emplace(type, data);
    }
    pasteboard.declareTypes(types, std::make_shared<PasteboardData>(std::move(datas)), {});
}

} // namespace dresk
