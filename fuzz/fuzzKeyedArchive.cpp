#include <cstdlib>

#include "Foundation/AttributedStringCoding.h"
#include "Foundation/CharacterSetCoding.h"
#include "store/SnippetArchive.h"
#include "store/SnippetCoding.h"

namespace {

using namespace dresk;

/// Whatever the root is: text, character set, record, or an object that nobody knows.
void readRoot(KeyedUnarchiver& unarchiver) {
    const ArchivedObject root = unarchiver.root();
    KeyedArchiver archiver;
    if (const auto text = decodeAttributedString(root))
        (void)encodeAttributedString(archiver, *text);
    if (const auto set = decodeCharacterSet(root))
        (void)encodeCharacterSet(archiver, *set);
    if (const auto snippet = SnippetCoding::decodeSnippet(root))
        (void)SnippetCoding::encodeSnippet(archiver, *snippet);
    if (const auto group = SnippetCoding::decodeSnippetGroup(root))
        (void)SnippetCoding::encodeSnippetGroup(archiver, *group);
    (void)root.propertyList();
    const auto kept = archiver.addArchived(root.archived());
    const std::string bytes = archiver.finishEncoding(kept).binaryData();
    if (KeyedUnarchiver::initForReadingWithData(bytes) == nullptr)
        std::abort();
}

} // namespace

/// An archive that is read is written again, and that is read with the same groups.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    if (const auto unarchiver = KeyedUnarchiver::initForReadingWithData(bytes))
        readRoot(*unarchiver);
    const auto archive = SnippetArchive::unarchive(bytes);
    if (!archive.has_value() || !archive->groups.has_value())
        return 0;
    SnippetArchive copy = *archive;
    copy.version = u"1";
    const auto again = SnippetArchive::unarchive(copy.archiveAllData().binaryData());
    if (!again.has_value() || !again->groups.has_value() ||
        again->groups->size() != archive->groups->size())
        std::abort();
    return 0;
}
