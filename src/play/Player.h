#pragma once

#include "engine/AutoText.h"
#include "input/MacInputService.h"
#include "input/scripted/ScriptedDesktop.h"
#include "play/KeyNotation.h"
#include "play/PlayOptions.h"

namespace dresk {

/// The whole engine on a desktop in memory, in virtual time: nothing waits, and the same steps
/// give the same text whenever they begin at the same moment. Scripts run for real, but no virtual
/// time passes meanwhile; the form of a snippet with fields is accepted as it would first show.
class Player {
  public:
    explicit Player(const PlayOptions& options);
    ~Player();

    /// Puts the groups of an archive in front of the others. False, with nothing changed and one
    /// line on why in `error`, when the file cannot be read, or not in full.
    bool addData(const std::string& path, std::string& error);

    /// Types at ten keys a second.
    void play(const std::vector<PlayStep>& steps);
    /// Lets everything that is under way come to its end, however long its pauses are.
    void finish();
    /// What the text field holds.
    String text() { return desktop_.text(); }
    /// What was posted, a line for each moment.
    std::vector<std::string> trace() const { return desktop_.postedLines(); }

  private:
    void addSnippets(const std::vector<PlayOptions::SnippetDefinition>& definitions);
    void onHotKeysPressed(ZPHotKeysPressedEventArgs* args);

    /// The time of day as snippets see it, too.
    VirtualTime time_;
    VirtualRunLoop mainRunLoop_{time_};
    ScriptedDesktop desktop_{time_};
    BundleIdentifierResolver bundleIdentifierResolver_{desktop_.processes()};
    SnippetGroupList snippetGroups_;
    SnippetParser snippetParser_;
    GeneralHotKey expandHotKey_;
    GeneralHotKey undoHotKey_;
    MacInputService macInputService_{desktop_, bundleIdentifierResolver_, mainRunLoop_};
    AutoText autoText_{macInputService_, bundleIdentifierResolver_, mainRunLoop_};
};

} // namespace dresk
