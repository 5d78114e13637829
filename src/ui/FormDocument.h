#pragma once

#include <utility>

#include "ui/FormWindow.h"

namespace dresk {

/// The page of the form as the program sees it: a copy of the page's state that can be read and
/// written at once, and the list of what was written, which goes to the page in one piece. The page
/// is in another process: what it tells may be older than what was written here, and what is
/// written here may come later than what the user typed there. The user wins. One thread.
class FormDocument {
  public:
    /// Takes over what the page holds, and does again what had not reached it by then.
    void update(FormState state);

    /// The first with that identifier; null for none. Valid until the next update.
    const FormElement* elementById(StringView id) const;
    /// Null when nothing has the focus.
    const FormElement* activeElement() const { return elementById(state_.activeElementId); }
    const std::vector<FormElement>& elements() const { return state_.elements; }

    /// As the page would take it: a menu takes only one of its items, a number input only a number,
    /// and a single line has no line ends; otherwise the value is empty or cleaned.
    void setValue(StringView id, StringView value);
    void setTextContent(StringView id, StringView text);
    /// A check box changes over.
    void click(StringView id);

    /// What was done since the last call, to be sent to the page.
    std::vector<FormChange> takeChanges();

  private:
    FormElement* find(StringView id);
    /// False when the element stays as it is.
    bool carryOut(const FormChange& change);
    void add(FormChange change);

    FormState state_;
    /// Not yet seen in a state of the page; the last `unsent_` of them have not been taken yet.
    std::vector<FormChange> unconfirmed_;
    std::size_t unsent_ = 0;
    /// Changes that the page has confirmed.
    std::uint64_t confirmed_ = 0;
};

} // namespace dresk
