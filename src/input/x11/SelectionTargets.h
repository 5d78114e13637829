#pragma once

#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "Foundation/String.h"
#include "input/x11/XConnection.h"

namespace dresk {

/// Atoms and their names, remembered. Any thread; asks the server for what is new.
class AtomNames {
  public:
    explicit AtomNames(const XConnection& connection) : connection_(connection) {}

    /// XCB_ATOM_NONE when the server has gone or the name is too long for one.
    xcb_atom_t atom(const std::string& name);
    /// In the order given; empty for a number that is no atom.
    std::vector<std::string> names(const std::vector<xcb_atom_t>& atoms);

  private:
    const XConnection& connection_;
    std::mutex mutex_;
    std::unordered_map<std::string, xcb_atom_t> atoms_;
    std::unordered_map<xcb_atom_t, std::string> names_;
};

/// What the owner of a selection gave for a target: `bytes` in items of `format` bits, of the byte
/// order of this machine.
struct SelectionAnswer {
    std::string bytes;
    std::string type;
    std::uint8_t format = 8;
};

/// A target that is offered for a declared type.
struct SelectionOffer {
    enum class Form { AsGiven, UTF8Text, Latin1Text };

    std::string target;
    /// What the pasteboard's owner is asked for.
    String type;
    Form form = Form::AsGiven;
};

namespace SelectionTarget {
/// Gives the names of the others.
inline constexpr const char* Targets = "TARGETS";
/// Offered beside the data, and asks clipboard managers not to keep it.
inline constexpr const char* Hint = "x-kde-passwordManagerHint";
inline constexpr const char* SecretHint = "secret";

/// False for the targets that stand for no content or have side effects.
bool isData(const std::string& target);
/// What is asked of an owner that does not tell its targets.
const std::vector<std::string>& usual();
} // namespace SelectionTarget

/// The targets that stand for the types, each once, in the order of the types. Names that are no
/// PasteboardType are targets themselves.
std::vector<SelectionOffer> offersForTypes(const std::vector<String>& types);
/// Where data of a type can come from, the best first.
std::vector<std::string> targetsForType(StringView type);
/// What stands for a declared type in an answer: text of any kind becomes UTF-8. Null if it cannot.
std::optional<std::string> dataOfAnswer(StringView type, const SelectionAnswer& answer);
/// The answer for an offer, made of what the pasteboard's owner gave.
SelectionAnswer answerForOffer(const SelectionOffer& offer, std::string bytes);

/// Names of targets are bytes; each is one unit.
String fromLatin1(std::string_view bytes);
/// Units beyond the range become a question mark.
std::string toLatin1(StringView text);

} // namespace dresk
