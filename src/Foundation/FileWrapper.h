#pragma once

#include <vector>

#include "Foundation/String.h"

namespace dresk {

/// A file, or a folder of files, that travels inside a document.
struct FileWrapper {
    /// A name for the user; may be empty.
    String preferredFilename;
    bool isDirectory = false;
    /// Of a file.
    std::string contents;
    /// Of a folder, each under the name in `preferredFilename`.
    std::vector<FileWrapper> children;

    /// The child of that name, or null.
    const FileWrapper* child(StringView name) const;

    /// Reads the flat form. Null for damaged bytes and for what nests too deeply.
    static std::optional<FileWrapper>
    fileWrapperWithSerializedRepresentation(std::string_view bytes);
    /// The flat form: a folder is written as such, a file as a wrapper of its own.
    std::string serializedRepresentation() const;
};

} // namespace dresk
