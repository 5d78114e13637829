#include "Foundation/FilePreferenceStore.h"

#include "Foundation/FileStorage.h"
#include "Foundation/Log.h"

namespace dresk {

namespace fs = std::filesystem;

FilePreferenceStore::FilePreferenceStore(fs::path file, RunLoop* runLoop, const Clock& clock)
    : file_(std::move(file)), runLoop_(runLoop), clock_(clock) {
    load();
}

FilePreferenceStore::~FilePreferenceStore() {
    if (runLoop_ != nullptr)
        runLoop_->cancelAll(this);
    (void)write();
}

fs::path FilePreferenceStore::previousFile() const {
    fs::path path = file_;
    path += ".previous";
    return path;
}

void FilePreferenceStore::load() {
    const Generation current = loadGeneration(file_);
    if (current == Generation::Read)
        return;
    const Generation previous = loadGeneration(previousFile());
    if (previous == Generation::Read)
        report_.loadedFrom = previousFile();
    for (const auto& [generation, path] :
         {std::pair(current, file_), std::pair(previous, previousFile())})
        if (generation == Generation::Unreadable)
            moveAside(path);
    report_.isDamaged = report_.isDamaged || current == Generation::Unreadable;
    if (report_.isDamaged)
        logLine("The preferences in " + file_.string() + " are damaged; " +
                (report_.loadedFrom.empty() ? "no older ones could be read"
                                            : "the older ones beside them were read"));
}

FilePreferenceStore::Generation FilePreferenceStore::loadGeneration(const fs::path& file) {
    std::error_code error;
    const auto bytes = readFile(file, error);
    if (!bytes.has_value())
        return error ? Generation::Unreadable : Generation::Absent;
    const auto values = PropertyList::propertyListWithData(*bytes);
    if (!values.has_value() || values->dictionary() == nullptr)
        return Generation::Unreadable;
    std::map<String, PropertyList> result;
    for (const PropertyList::Entry& entry : *values->dictionary())
        result.insert_or_assign(*entry.key, entry.value);
    setUserValues(std::move(result));
    return Generation::Read;
}

void FilePreferenceStore::moveAside(const fs::path& file) {
    const fs::path target =
        datedSibling(file, file.filename().string() + " damaged", ".plist", clock_.now());
    std::error_code error;
    fs::rename(file, target, error);
    if (error)
        mayWrite_ = false; // writing would destroy what could not be saved
    else
        report_.keptAside.push_back(target);
}

void FilePreferenceStore::valuesChanged() {
    ++changes_;
    scheduleWriting(WriteDelay);
}

void FilePreferenceStore::scheduleWriting(double delay) {
    if (runLoop_ != nullptr)
        runLoop_->cancelAndCallAfter(delay, {this, "write"}, [this] { (void)write(); });
}

bool FilePreferenceStore::synchronize() {
    if (runLoop_ != nullptr)
        runLoop_->cancel({this, "write"});
    return write();
}

bool FilePreferenceStore::write() {
    const std::lock_guard lock(writing_);
    const std::uint64_t changes = changes_;
    if (changes == written_)
        return true;
    PropertyList::Dictionary entries;
    for (auto& [key, value] : userValues())
        entries.emplace_back(StringView(key), value);
    std::error_code error =
        mayWrite_ ? std::error_code() : std::make_error_code(std::errc::operation_not_permitted);
    if (!error) {
        std::error_code ignored;
        fs::create_directories(file_.parent_path(), ignored);
        error = replaceFile(file_, PropertyList(std::move(entries)).binaryData(), previousFile());
    }
    if (!error) {
        written_ = changes;
        hasFailed_ = false;
        return true;
    }
    if (!hasFailed_)
        logLine("The preferences could not be written to " + file_.string() + ": " +
                error.message());
    hasFailed_ = true;
    scheduleWriting(RetryDelay);
    return false;
}

PropertyList FilePreferenceStore::previousObjectForKey(StringView key) const {
    std::error_code error;
    const auto bytes = readFile(previousFile(), error);
    const auto values =
        bytes.has_value() ? PropertyList::propertyListWithData(*bytes) : std::nullopt;
    const PropertyList* value = values.has_value() ? values->find(key) : nullptr;
    return value != nullptr ? *value : PropertyList();
}

fs::path FilePreferenceStore::keepCopy(std::string_view bytes, const std::string& name) {
    fs::path target = datedSibling(file_, name, ".dresk", clock_.now());
    std::error_code ignored;
    fs::create_directories(file_.parent_path(), ignored);
    if (const std::error_code error = replaceFile(target, bytes)) {
        logLine("A copy could not be kept as " + target.string() + ": " + error.message());
        return {};
    }
    return target;
}

} // namespace dresk
