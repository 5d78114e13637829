#include "Foundation/PreferenceKeys.h"

namespace dresk {

namespace {

using Type = PreferenceType;
namespace Key = PreferenceKey;

PropertyList text(StringView value) {
    return PropertyList(String(value));
}

/// Attributes of the platform's font descriptor.
PropertyList editorFont() {
    PropertyList::Dictionary attributes;
    attributes.emplace_back(StringView(u"NSFontNameAttribute"), text(u"Helvetica"));
    attributes.emplace_back(StringView(u"NSFontSizeAttribute"), PropertyList(12.0));
    return PropertyList(std::move(attributes));
}

} // namespace

String PreferenceKey::fieldsEditorSize(StringView abbreviation) {
    return u"FieldsEditorSize " + String(abbreviation);
}

std::span<const Preference> preferenceTable() {
    static const std::vector<Preference> table = {
        // Those that travel come first, in the order of the sync folder's file.
        {Key::CapitalizeNewSentences, Type::Boolean, {}, true},
        {Key::CorrectDoubleCapitals, Type::Boolean, {}, true},
        {Key::AutoCorrectIn, Type::Integer, {}, true},
        {Key::AutoCorrectApplications, Type::TextArray, {}, true},
        {Key::CapitalizationExcludedAbbreviations, Type::Text, text(u"etc.\ne.g.\ni.e."), true},
        {Key::DoubleCapitalsCorrectionExclusion, Type::Text, {}, true},
        {Key::UseClipboard, Type::Boolean, {}, true},
        {Key::UseClipboardIn, Type::Integer, {}, true},
        {Key::UseClipboardApplications, Type::TextArray, {}, true},
        {Key::RestoreClipboard, Type::Boolean, PropertyList(true), true},
        {Key::RestoreClipboardDelay, Type::Double, PropertyList(0.4), true},
        {Key::UseClipboardForLongText, Type::Boolean, PropertyList(true), true},
        {Key::LongTextLength, Type::Integer, PropertyList(100), true},
        {Key::ShowDockIcon, Type::Boolean, PropertyList(true)},
        {Key::IsEnabled, Type::Boolean, PropertyList(true)},
        {Key::FirstLaunch, Type::Boolean, PropertyList(true)},
        {Key::AutoBackupInterval, Type::Integer, PropertyList(2)},
        {Key::BackupDirectory, Type::Text, {}},
        {Key::BackupQuantity, Type::Integer, PropertyList(10)},
        {Key::PlayFeedbackSound, Type::Boolean, PropertyList(true)},
        {Key::FeedbackSound, Type::Text, text(u"Click")},
        {Key::ShowStatusIcon, Type::Boolean, PropertyList(true)},
        {Key::ShowStatusBar, Type::Boolean, PropertyList(true)},
        {Key::ListenMouseDownEvents, Type::Boolean, PropertyList(true)},
        {Key::DefaultSnippetEditorFont, Type::Dictionary, editorFont()},
        {Key::MainWindowSearchBy, Type::Integer, PropertyList(INT64_MAX)},
        {Key::SnippetQuickSearchSearchBy, Type::Integer, PropertyList(INT64_MAX)},
        {Key::FontSizeDelta, Type::Integer, {}},
        {Key::CustomFeedbackSound, Type::Text, {}},
        {Key::SUEnableAutomaticChecks, Type::Boolean, {}},
        {Key::AutoCorrectInputMethodsOption, Type::Integer, {}},
        {Key::AutoCorrectInputMethods, Type::TextArray, {}},
        {Key::SnippetSelectorKeyModifier, Type::Integer, {}},
        {Key::SnippetAdaptToAbbreviationCaseOption, Type::Integer, {}},
        {Key::ListenAtAnnotatedSession, Type::Boolean, {}},
        {Key::SyncEnabled, Type::Boolean, {}},
        {Key::SyncDirectory, Type::Text, {}},
        {Key::AdvancedSync, Type::Boolean, {}},
        {Key::SyncPreferences, Type::Boolean, {}},
        {Key::LastBackupTime, Type::DateAndTime, {}},
        {Key::SyncWithOSXSubstitutions, Type::Boolean, {}},
        {Key::WildcardSearch, Type::Integer, {}},
        {Key::SnippetQuickSearchWildcardSearch, Type::Integer, {}},
        {Key::InsertNewSnippetToTop, Type::Boolean, {}},
        {Key::ShowInspectorBar, Type::Boolean, {}},
        {Key::DidHilightExpandOption, Type::Boolean, {}},
        {Key::GenericTextFontSize, Type::Integer, {}},
        {Key::ExportToRTFIncludeSnippetLabel, Type::Boolean, {}},
        {Key::ExportToRTFIncludeSnippetNote, Type::Boolean, {}},
        {Key::ExportToRTFPreferSnippetLabel, Type::Boolean, {}},
        {Key::moveToApplicationsFolderAlertSuppress, Type::Boolean, {}},
        {Key::Data, Type::Bytes, {}},
        {Key::UnreadableData, Type::Bytes, {}},
        {Key::switchHotKey, Type::Integer, {}},
        {Key::makeSnippetFromSelectionHotKey, Type::Integer, {}},
        {Key::makeSnippetFromClipboardHotKey, Type::Integer, {}},
        {Key::suggestAbbreviationsHotKey, Type::Integer, {}},
        {Key::quickSearchHotKey, Type::Integer, {}},
        {Key::openMainWindowHotKey, Type::Integer, {}},
        {Key::OpenLastUsedSnippetHotKey, Type::Integer, {}},
        {Key::UndoHotKey, Type::Integer, {}},
        {Key::UndoAltHotKey, Type::Integer, {}},
        {Key::ExpandHotKey, Type::Integer, {}},
        {Key::QuickSearchHotKeyAtLaunch, Type::Integer, {}},
    };
    return table;
}

PreferenceStore::Defaults registeredDefaults(const String& backupDirectory) {
    PreferenceStore::Defaults defaults;
    for (const Preference& preference : preferenceTable())
        if (preference.key == Key::BackupDirectory)
            defaults.emplace_back(preference.key, text(backupDirectory));
        else if (!preference.defaultValue.isNull())
            defaults.emplace_back(preference.key, preference.defaultValue);
    return defaults;
}

std::vector<StringView> syncedPreferenceKeys() {
    std::vector<StringView> keys;
    for (const Preference& preference : preferenceTable())
        if (preference.isSynced)
            keys.push_back(preference.key);
    return keys;
}

} // namespace dresk
