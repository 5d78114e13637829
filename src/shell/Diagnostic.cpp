#include "shell/Diagnostic.h"

#include "Foundation/PreferenceKeys.h"

namespace dresk {

namespace {

String orNull(const std::optional<String>& text) {
    return text.value_or(u"(null)");
}

String lineOf(const TappingProcess& process) {
    return u"\t PID: " + fromUTF8(std::to_string(process.identifier)) + u", Name: " +
           process.localizedName + u", Identifier: " + process.bundleIdentifier + u", URL: " +
           process.executableURL + u"\n";
}

} // namespace

String diagnosticText(const DiagnosticFacts& facts, const PreferenceStore& preferences) {
    String text = u"Dresk version: " + facts.version + u"\n";
    text += u"System version: " + orNull(facts.systemVersion) + u"\n\n";
    text += String(u"Dresk is ") + (facts.enabled ? u"enabled" : u"disabled") + u".\n";
    if (!facts.enabled)
        text += u"Click Dresk icon on menu bar and select \"Enabled\".\n";
    text += u"\n";
    if (!facts.eventTapCreated)
        text += u"Dresk is not working. Dresk can not create event tap. Try restart your "
                u"computer.\n";
    text += u"Foreground program: " + orNull(facts.foregroundProgram) + u"\n\n";
    if (facts.secureInput)
        text += facts.secureInputStatus + u".\nTry quit this app to release Secure Input.\n"
                                          u"If it is unknown, try quit your running apps.\n";
    if (facts.tappingProcesses.has_value() && !facts.tappingProcesses->empty()) {
        text += u"\nProcesses created event tap and may conflict with Dresk:\n";
        for (const TappingProcess& process : *facts.tappingProcesses)
            text += lineOf(process);
        text += u"If Dresk is not working, try quit these processes.\n";
    }
    text += u"\nDresk's Preferences:\n";
    for (const StringView key :
         {PreferenceKey::UseClipboard, PreferenceKey::UseClipboardForLongText,
          PreferenceKey::RestoreClipboard, PreferenceKey::ListenMouseDownEvents})
        text +=
            u" - " + String(key) + u": " + (preferences.boolForKey(key) ? u"Yes" : u"No") + u"\n";
    return text;
}

} // namespace dresk
