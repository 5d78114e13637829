#include "input/ClipboardBackup.h"

namespace dresk {

namespace {

constexpr double RestoreDelay = 0.3;

} // namespace

void ClipboardBackup::backup() {
    types_ = pasteboard_.types();
    datas_.clear();
    for (const String& type : types_)
        if (auto data = pasteboard_.dataForType(type))
            datas_.emplace(type, std::move(*data));
    hasData_ = true;
}

void ClipboardBackup::restore() {
    pasteboard_.declareTypes(types_, std::make_shared<PasteboardData>(datas_), {});
}

void ClipboardBackup::restoreAfterDelay(RunLoop& loop) {
    if (hasData_)
        loop.callAfter(RestoreDelay, {this, "restore"}, [this] { restore(); });
}

} // namespace dresk
