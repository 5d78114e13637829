#include "Foundation/FileWrapper.h"

namespace dresk {

namespace {

constexpr std::string_view Magic{"rtfd\0\0\0\0\x03\0\0\0", 12};
constexpr std::string_view SingleFile = "..";
constexpr std::string_view PreferredName = "__@PreferredName@__";
constexpr std::string_view UTF8PreferredName = "__@UTF8PreferredName@__";
constexpr std::string_view Attributes = ".";
constexpr std::uint32_t Regular = 1;
constexpr std::uint32_t PageAligned = 0x80000000;
constexpr std::uint32_t FileMode = 0644;
constexpr unsigned MaximumDepth = 16;

/// Takes little-endian words and counted bytes off the front; fails for good at the first lack.
class FlatReader {
  public:
    explicit FlatReader(std::string_view bytes) : rest_(bytes) {}

    std::uint32_t word() {
        const std::string_view bytes = take(4);
        std::uint32_t value = 0;
        for (std::size_t i = 0; i < bytes.size(); ++i)
            value |= static_cast<std::uint32_t>(static_cast<std::uint8_t>(bytes[i])) << (8 * i);
        return value;
    }
    std::string_view take(std::size_t count) {
        if (count > rest_.size()) {
            failed_ = true;
            rest_ = {};
            return {};
        }
        const std::string_view taken = rest_.substr(0, count);
        rest_.remove_prefix(count);
        return taken;
    }
    std::size_t left() const { return rest_.size(); }
    bool failed() const { return failed_; }

  private:
    std::string_view rest_;
    bool failed_ = false;
};

struct FlatEntry {
    std::string_view name;
    std::string_view bytes;
};

std::optional<std::vector<FlatEntry>> entries(std::string_view bytes) {
    FlatReader reader(bytes);
    if (reader.take(Magic.size()) != Magic)
        return std::nullopt;
    const std::uint32_t count = reader.word();
    if (count > reader.left() / 8)
        return std::nullopt;
    std::vector<FlatEntry> result(count);
    for (FlatEntry& entry : result)
        entry.name = reader.take(reader.word());
    std::vector<std::uint32_t> sizes(count);
    for (std::uint32_t& size : sizes)
        size = reader.word();
    for (std::size_t i = 0; i < count && !reader.failed(); ++i)
        result[i].bytes = reader.take(sizes[i]);
    return reader.failed() ? std::nullopt : std::optional(std::move(result));
}

std::optional<std::string_view> regularContents(std::string_view bytes) {
    FlatReader reader(bytes);
    if (reader.word() != Regular)
        return std::nullopt;
    std::uint32_t length = reader.word();
    if (length == PageAligned) {
        length = reader.word();
        (void)reader.take(reader.word());
    }
    const std::string_view contents = reader.take(length);
    return reader.failed() ? std::nullopt : std::optional(contents);
}

std::optional<FileWrapper> wrapper(std::string_view bytes, unsigned depth) {
    if (depth > MaximumDepth)
        return std::nullopt;
    const auto list = entries(bytes);
    if (!list.has_value())
        return std::nullopt;
    FileWrapper result;
    result.isDirectory = true;
    for (const FlatEntry& entry : *list) {
        const auto contents = regularContents(entry.bytes);
        if (entry.name == Attributes)
            continue;
        if (entry.name == SingleFile && contents.has_value()) {
            result.isDirectory = false;
            result.contents = *contents;
        } else if (entry.name == UTF8PreferredName || entry.name == PreferredName) {
            // The other name is in an encoding of the writer's machine.
            if (contents.has_value() &&
                (entry.name == UTF8PreferredName || result.preferredFilename.empty()))
                result.preferredFilename = fromUTF8(*contents);
        } else if (contents.has_value()) {
            FileWrapper child;
            child.preferredFilename = fromUTF8(entry.name);
            child.contents = *contents;
            result.children.push_back(std::move(child));
        } else if (auto folder = wrapper(entry.bytes, depth + 1)) {
            folder->preferredFilename = fromUTF8(entry.name);
            result.children.push_back(std::move(*folder));
        }
    }
    return result;
}

void appendWord(std::string& out, std::size_t value) {
    for (unsigned i = 0; i < 4; ++i)
        out.push_back(static_cast<char>(value >> (8 * i)));
}

void appendCounted(std::string& out, std::string_view bytes) {
    appendWord(out, bytes.size());
    out.append(bytes);
}

std::string regular(std::string_view contents) {
    std::string out;
    appendWord(out, Regular);
    appendCounted(out, contents);
    return out;
}

using Parts = std::vector<std::pair<std::string, std::string>>;

void appendParts(std::string& out, const Parts& parts) {
    appendWord(out, parts.size());
    for (const auto& [name, bytes] : parts)
        appendCounted(out, name);
    for (const auto& [name, bytes] : parts)
        appendWord(out, bytes.size());
    for (const auto& [name, bytes] : parts)
        out.append(bytes);
}

/// The entry that tells time and mode of the others; all times unknown.
std::string attributes(const Parts& parts) {
    std::string mode;
    appendWord(mode, 0);
    appendWord(mode, FileMode);
    appendWord(mode, 0);
    appendWord(mode, 0);
    Parts described;
    for (const auto& [name, bytes] : parts)
        if (!name.starts_with("__@"))
            described.emplace_back(name, mode);
    std::string out;
    appendParts(out, described);
    return regular(out);
}

} // namespace

const FileWrapper* FileWrapper::child(StringView name) const {
    for (const FileWrapper& child : children)
        if (child.preferredFilename == name)
            return &child;
    return nullptr;
}

std::optional<FileWrapper>
FileWrapper::fileWrapperWithSerializedRepresentation(std::string_view bytes) {
    return wrapper(bytes, 1);
}

std::string FileWrapper::serializedRepresentation() const {
    Parts parts;
    if (isDirectory) {
        for (const FileWrapper& child : children)
            parts.emplace_back(toUTF8(child.preferredFilename),
                               child.isDirectory ? child.serializedRepresentation()
                                                 : regular(child.contents));
    } else {
        parts.emplace_back(SingleFile, regular(contents));
        parts.emplace_back(PreferredName, regular(toUTF8(preferredFilename)));
        parts.emplace_back(UTF8PreferredName, regular(toUTF8(preferredFilename)));
    }
    parts.emplace_back(Attributes, attributes(parts));
    std::string out(Magic);
    appendParts(out, parts);
    return out;
}

} // namespace dresk
