#pragma once

#include <memory>

#include "desktop/KeyInjector.h"
#include "desktop/TextTarget.h"

namespace dresk {

/// A field of a real application that a test pastes into. Its content has a text form in which
/// formatting stands between brackets:
///   [b]bold[] [#c80000]coloured[] [@https://example.org]linked[] [picture 24x16]
/// A field for plain text has no such stretches. The application ends with this object.
class PasteField {
  public:
    enum class Kind { Gtk, Qt, Xterm, BrowserText, BrowserRich, Writer };
    static constexpr Kind AllKinds[] = {Kind::Gtk,         Kind::Qt,          Kind::Xterm,
                                        Kind::BrowserText, Kind::BrowserRich, Kind::Writer};

    /// Applications of others are heavy and need what packages.txt does not name: they run when the
    /// variable DRESK_TEST_APPLICATIONS is set and they are installed. Empty when the kind can run.
    static std::string reasonToSkip(Kind kind);
    /// Starts the application and waits until the field has the focus. Null with a reason if it
    /// does not come up.
    static std::unique_ptr<PasteField> start(Kind kind, std::string& error);

    PasteField() = default;
    PasteField(const PasteField&) = delete;
    PasteField& operator=(const PasteField&) = delete;
    virtual ~PasteField() = default;

    /// Waits until the content is `expected` and stays so for a moment, or until `seconds` are
    /// over; the content at the end.
    virtual String awaitContent(StringView expected, double seconds) = 0;
    /// Empties the field; false if it does not get empty.
    virtual bool clear(KeyInjector& keys) = 0;
    /// Whether the application takes formatting.
    virtual bool isRich() const { return false; }
};

std::string nameOf(PasteField::Kind kind);
void PrintTo(PasteField::Kind kind, std::ostream* stream);

/// Presses a key while Control is down. `key` is an X key code.
void pressWithControl(KeyInjector& keys, std::uint8_t key);

/// The ones that are not ours. Null with a reason.
std::unique_ptr<PasteField> startBrowser(bool isRich, std::string& error);
std::unique_ptr<PasteField> startWriter(std::string& error);
/// Empty when the document of an installed Writer can be read.
std::string reasonToSkipWriter();

} // namespace dresk
