#include "input/freedesktop/AtspiRoles.h"

#include <algorithm>
#include <iterator>

namespace dresk {

namespace {

struct Row {
    AtspiRole role;
    StringView name;
};

constexpr Row Rows[] = {
    {ATSPI_ROLE_APPLICATION, u"AXApplication"},
    {ATSPI_ROLE_FRAME, u"AXWindow"},
    {ATSPI_ROLE_WINDOW, u"AXWindow"},
    {ATSPI_ROLE_INTERNAL_FRAME, u"AXWindow"},
    {ATSPI_ROLE_DIALOG, u"AXWindow"},
    {ATSPI_ROLE_ALERT, u"AXWindow"},
    {ATSPI_ROLE_FILE_CHOOSER, u"AXWindow"},
    {ATSPI_ROLE_COLOR_CHOOSER, u"AXWindow"},
    {ATSPI_ROLE_FONT_CHOOSER, u"AXWindow"},
    {ATSPI_ROLE_DOCUMENT_WEB, u"AXWebArea"},
    {ATSPI_ROLE_DOCUMENT_FRAME, u"AXWebArea"},
    {ATSPI_ROLE_DOCUMENT_EMAIL, u"AXWebArea"},
    {ATSPI_ROLE_HTML_CONTAINER, u"AXWebArea"},
    {ATSPI_ROLE_ENTRY, u"AXTextField"},
    {ATSPI_ROLE_PASSWORD_TEXT, u"AXTextField"},
    {ATSPI_ROLE_AUTOCOMPLETE, u"AXTextField"},
    {ATSPI_ROLE_DATE_EDITOR, u"AXTextField"},
    {ATSPI_ROLE_SPIN_BUTTON, u"AXTextField"},
    {ATSPI_ROLE_TEXT, u"AXTextArea"},
    {ATSPI_ROLE_EDITBAR, u"AXTextArea"},
    {ATSPI_ROLE_TERMINAL, u"AXTextArea"},
    {ATSPI_ROLE_DOCUMENT_TEXT, u"AXTextArea"},
    {ATSPI_ROLE_LABEL, u"AXStaticText"},
    {ATSPI_ROLE_STATIC, u"AXStaticText"},
    {ATSPI_ROLE_HEADING, u"AXHeading"},
    {ATSPI_ROLE_LINK, u"AXLink"},
    {ATSPI_ROLE_IMAGE, u"AXImage"},
    {ATSPI_ROLE_PUSH_BUTTON, u"AXButton"},
    {ATSPI_ROLE_TOGGLE_BUTTON, u"AXButton"},
    {ATSPI_ROLE_CHECK_BOX, u"AXCheckBox"},
    {ATSPI_ROLE_RADIO_BUTTON, u"AXRadioButton"},
    {ATSPI_ROLE_COMBO_BOX, u"AXComboBox"},
    {ATSPI_ROLE_SLIDER, u"AXSlider"},
    {ATSPI_ROLE_PROGRESS_BAR, u"AXProgressIndicator"},
    {ATSPI_ROLE_MENU_BAR, u"AXMenuBar"},
    {ATSPI_ROLE_MENU, u"AXMenu"},
    {ATSPI_ROLE_POPUP_MENU, u"AXMenu"},
    {ATSPI_ROLE_MENU_ITEM, u"AXMenuItem"},
    {ATSPI_ROLE_CHECK_MENU_ITEM, u"AXMenuItem"},
    {ATSPI_ROLE_RADIO_MENU_ITEM, u"AXMenuItem"},
    {ATSPI_ROLE_TEAROFF_MENU_ITEM, u"AXMenuItem"},
    {ATSPI_ROLE_LIST, u"AXList"},
    {ATSPI_ROLE_LIST_BOX, u"AXList"},
    {ATSPI_ROLE_TABLE, u"AXTable"},
    {ATSPI_ROLE_TREE, u"AXOutline"},
    {ATSPI_ROLE_TREE_TABLE, u"AXOutline"},
    {ATSPI_ROLE_TABLE_ROW, u"AXRow"},
    {ATSPI_ROLE_TABLE_CELL, u"AXCell"},
    {ATSPI_ROLE_TOOL_BAR, u"AXToolbar"},
    {ATSPI_ROLE_PAGE_TAB_LIST, u"AXTabGroup"},
    {ATSPI_ROLE_SCROLL_PANE, u"AXScrollArea"},
    {ATSPI_ROLE_SCROLL_BAR, u"AXScrollBar"},
    {ATSPI_ROLE_SPLIT_PANE, u"AXSplitGroup"},
    {ATSPI_ROLE_PANEL, u"AXGroup"},
    {ATSPI_ROLE_FILLER, u"AXGroup"},
    {ATSPI_ROLE_GROUPING, u"AXGroup"},
    {ATSPI_ROLE_SECTION, u"AXGroup"},
    {ATSPI_ROLE_PARAGRAPH, u"AXGroup"},
    {ATSPI_ROLE_FORM, u"AXGroup"},
};

} // namespace

bool mayBeSheet(AtspiRole role) {
    return role == ATSPI_ROLE_DIALOG || role == ATSPI_ROLE_ALERT ||
           role == ATSPI_ROLE_FILE_CHOOSER || role == ATSPI_ROLE_COLOR_CHOOSER ||
           role == ATSPI_ROLE_FONT_CHOOSER;
}

bool isWebArea(AtspiRole role) {
    return axRole(role, false) == u"AXWebArea";
}

StringView axRole(AtspiRole role, bool isModal) {
    if (isModal && mayBeSheet(role))
        return u"AXSheet";
    const auto* const row = std::find_if(std::begin(Rows), std::end(Rows),
                                         [&](const Row& each) { return each.role == role; });
    return row != std::end(Rows) ? row->name : StringView(u"AXUnknown");
}

} // namespace dresk
