#pragma once

#include <span>

#include "Foundation/PreferenceStore.h"

namespace dresk {

/// The preference keys, each spelled here and nowhere else.
namespace PreferenceKey {
inline constexpr StringView ShowDockIcon = u"ShowDockIcon";
inline constexpr StringView IsEnabled = u"IsEnabled";
inline constexpr StringView FirstLaunch = u"FirstLaunch";
inline constexpr StringView AutoBackupInterval = u"AutoBackupInterval";
inline constexpr StringView BackupDirectory = u"BackupDirectory";
inline constexpr StringView BackupQuantity = u"BackupQuantity";
inline constexpr StringView PlayFeedbackSound = u"PlayFeedbackSound";
inline constexpr StringView FeedbackSound = u"FeedbackSound";
inline constexpr StringView ShowStatusIcon = u"ShowStatusIcon";
inline constexpr StringView ShowStatusBar = u"ShowStatusBar";
inline constexpr StringView ListenMouseDownEvents = u"ListenMouseDownEvents";
inline constexpr StringView RestoreClipboard = u"RestoreClipboard";
inline constexpr StringView RestoreClipboardDelay = u"RestoreClipboardDelay";
inline constexpr StringView UseClipboardForLongText = u"UseClipboardForLongText";
inline constexpr StringView LongTextLength = u"LongTextLength";
inline constexpr StringView CapitalizationExcludedAbbreviations =
    u"CapitalizationExcludedAbbreviations";
inline constexpr StringView DefaultSnippetEditorFont = u"DefaultSnippetEditorFont";
inline constexpr StringView MainWindowSearchBy = u"MainWindowSearchBy";
inline constexpr StringView SnippetQuickSearchSearchBy = u"SnippetQuickSearchSearchBy";
inline constexpr StringView FontSizeDelta = u"FontSizeDelta";
inline constexpr StringView CustomFeedbackSound = u"CustomFeedbackSound";
inline constexpr StringView SUEnableAutomaticChecks = u"SUEnableAutomaticChecks";
inline constexpr StringView AutoCorrectIn = u"AutoCorrectIn";
inline constexpr StringView AutoCorrectApplications = u"AutoCorrectApplications";
inline constexpr StringView AutoCorrectInputMethodsOption = u"AutoCorrectInputMethodsOption";
inline constexpr StringView AutoCorrectInputMethods = u"AutoCorrectInputMethods";
inline constexpr StringView CapitalizeNewSentences = u"CapitalizeNewSentences";
inline constexpr StringView CorrectDoubleCapitals = u"CorrectDoubleCapitals";
inline constexpr StringView DoubleCapitalsCorrectionExclusion =
    u"DoubleCapitalsCorrectionExclusion";
inline constexpr StringView SnippetSelectorKeyModifier = u"SnippetSelectorKeyModifier";
inline constexpr StringView SnippetAdaptToAbbreviationCaseOption =
    u"SnippetAdaptToAbbreviationCaseOption";
inline constexpr StringView UseClipboard = u"UseClipboard";
inline constexpr StringView UseClipboardIn = u"UseClipboardIn";
inline constexpr StringView UseClipboardApplications = u"UseClipboardApplications";
inline constexpr StringView ListenAtAnnotatedSession = u"ListenAtAnnotatedSession";
inline constexpr StringView SyncEnabled = u"SyncEnabled";
inline constexpr StringView SyncDirectory = u"SyncDirectory";
inline constexpr StringView AdvancedSync = u"AdvancedSync";
inline constexpr StringView SyncPreferences = u"SyncPreferences";
inline constexpr StringView LastBackupTime = u"LastBackupTime";
inline constexpr StringView SyncWithOSXSubstitutions = u"SyncWithOSXSubstitutions";
inline constexpr StringView WildcardSearch = u"WildcardSearch";
inline constexpr StringView SnippetQuickSearchWildcardSearch = u"SnippetQuickSearchWildcardSearch";
inline constexpr StringView InsertNewSnippetToTop = u"InsertNewSnippetToTop";
inline constexpr StringView ShowInspectorBar = u"ShowInspectorBar";
inline constexpr StringView DidHilightExpandOption = u"DidHilightExpandOption";
inline constexpr StringView GenericTextFontSize = u"GenericTextFontSize";
inline constexpr StringView ExportToRTFIncludeSnippetLabel = u"ExportToRTFIncludeSnippetLabel";
inline constexpr StringView ExportToRTFIncludeSnippetNote = u"ExportToRTFIncludeSnippetNote";
inline constexpr StringView ExportToRTFPreferSnippetLabel = u"ExportToRTFPreferSnippetLabel";
inline constexpr StringView moveToApplicationsFolderAlertSuppress =
    u"moveToApplicationsFolderAlertSuppress";
/// The whole data archive.
inline constexpr StringView Data = u"Data";
/// Data that could not be read, where it could not be kept in a file.
inline constexpr StringView UnreadableData = u"UnreadableData";
// Hot keys: key code low, modifiers high. Two of them differ by a capital only.
inline constexpr StringView switchHotKey = u"switchHotKey";
inline constexpr StringView makeSnippetFromSelectionHotKey = u"makeSnippetFromSelectionHotKey";
inline constexpr StringView makeSnippetFromClipboardHotKey = u"makeSnippetFromClipboardHotKey";
inline constexpr StringView suggestAbbreviationsHotKey = u"suggestAbbreviationsHotKey";
inline constexpr StringView quickSearchHotKey = u"quickSearchHotKey";
inline constexpr StringView openMainWindowHotKey = u"openMainWindowHotKey";
inline constexpr StringView OpenLastUsedSnippetHotKey = u"OpenLastUsedSnippetHotKey";
inline constexpr StringView UndoHotKey = u"UndoHotKey";
inline constexpr StringView UndoAltHotKey = u"UndoAltHotKey";
inline constexpr StringView ExpandHotKey = u"ExpandHotKey";
/// Read at launch; nothing writes it.
inline constexpr StringView QuickSearchHotKeyAtLaunch = u"QuickSearchHotKey";

/// Size of the fields form, remembered for each abbreviation.
String fieldsEditorSize(StringView abbreviation);
} // namespace PreferenceKey

enum class PreferenceType {
    Boolean,
    Integer,
    Double,
    Text,
    TextArray,
    Dictionary,
    DateAndTime,
    Bytes
};

/// One preference: its key, kind and default, and whether it travels with the sync folder.
struct Preference {
    StringView key;
    PreferenceType type;
    /// Null where an absent value reads as false, 0 or null.
    PropertyList defaultValue;
    bool isSynced = false;
};

/// The one table. The default of the backup folder depends on the machine and is null here. Any
/// thread.
std::span<const Preference> preferenceTable();

/// The defaults of the table with the given backup folder, for registerDefaults.
PreferenceStore::Defaults registeredDefaults(const String& backupDirectory);

/// The keys that travel with the sync folder, in their order there.
std::vector<StringView> syncedPreferenceKeys();

} // namespace dresk
