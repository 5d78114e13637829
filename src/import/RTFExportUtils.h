#pragma once

#include "Foundation/TextAttributes.h"
#include "store/SnippetGroup.h"

namespace dresk {

/// Snippets as a readable table, for export as RTF.
class RTFExportUtils {
  public:
    RTFExportUtils() = delete;

    /// A table of two columns: abbreviations on the left, labels, contents and notes on the right,
    /// under a title for each group. With `preferSnippetLabel` a label stands for the content. The
    /// caller holds the data lock.
    static AttributedString tableAttributedStringForGroups(const SnippetGroupArray& groups,
                                                           bool includeSnippetLabel,
                                                           bool includeSnippetNote,
                                                           bool preferSnippetLabel);

    /// One cell with all of `string`, which ends with a line feed. A group's cell spans both
    /// columns.
    static AttributedString
    tableCellAttributedStringWithString(StringView string,
                                        const std::shared_ptr<const TextTable>& table, int row,
                                        int column, bool isGroup);

    /// The table as an RTF document with the title "Dresk Snippets".
    static std::string rtfDocument(const AttributedString& table);
};

} // namespace dresk
