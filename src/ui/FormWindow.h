#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Foundation/Geometry.h"
#include "Foundation/String.h"

/// What the fields form asks of the window that shows it, and what it is told. The window lives in
/// a module that is loaded when the first form opens, so this header needs nothing but types.
namespace dresk {

/// One element of the page that has an identifier, as it stands now.
struct FormElement {
    enum class Kind { Text, Number, TextArea, Select, CheckBox, Label };

    Kind kind = Kind::Text;
    String id;
    /// Empty for none.
    String name;
    /// The value, or for a label its text.
    String value;
    /// Values that a Select can take.
    std::vector<String> options;
    bool isChecked = false;
    /// Number of the state that first held what the user did to it last; 0 for nothing.
    std::uint64_t editedIn = 0;
};

/// All of them in the order of the page, and which has the focus.
struct FormState {
    std::vector<FormElement> elements;
    /// Empty for none.
    String activeElementId;
    /// Number of this state of the page; each is larger than the one before.
    std::uint64_t number = 0;
    /// How many of the changes that were sent to this page are in here.
    std::uint64_t appliedChanges = 0;
};

/// Something to do to an element of the page, unless the user has been at it meanwhile.
struct FormChange {
    enum class Kind { SetValue, SetTextContent, Click };

    Kind kind = Kind::SetValue;
    String id;
    /// Not used by Click.
    String text;
    /// Number of the state that it comes from. What the user did later stays.
    std::uint64_t basis = 0;
};

/// Hears of the page and of the window. Every call of the page brings the page's state. It may
/// close the window in any of them. Main thread.
class FormWindowDelegate {
  public:
    virtual ~FormWindowDelegate() = default;

    /// The user changed something; nothing else follows from it.
    virtual void pageChanged(FormState state) = 0;
    virtual void onBodyOnLoad(FormState state) = 0;
    virtual void accept(FormState state) = 0;
    virtual void onTextInputKeyUp(FormState state, const String& id) = 0;
    virtual void onTextInputOnChange(FormState state, const String& id) = 0;

    /// The window's buttons. Closing the window is a cancel.
    virtual void acceptFields(FormState state) = 0;
    virtual void cancel() = 0;
    /// The page has gone and does not come back; `reason` is for the log.
    virtual void pageFailed(const std::string& reason) = 0;
};

/// A window with the form's page. Main thread; it does not call its delegate after its end.
class FormWindow {
  public:
    FormWindow() = default;
    FormWindow(const FormWindow&) = delete;
    FormWindow& operator=(const FormWindow&) = delete;
    virtual ~FormWindow() = default;

    /// Shows another page.
    virtual void load(const String& html) = 0;
    /// Carries out the changes, in order.
    virtual void apply(const std::vector<FormChange>& changes) = 0;

    /// Size of the content in points. A size too small for use is made larger.
    virtual Size contentSize() const = 0;
    virtual void setContentSize(Size size) = 0;
    /// Size on the desktop with all furniture, in its units.
    virtual Size frameSize(bool isPopover) const = 0;
    /// Shows it in front of other windows and gives it the keys. `origin` is the top left corner
    /// with the desktop's origin at the top left. A popover has no title bar.
    virtual void show(Point origin, bool isPopover) = 0;
    virtual void close() = 0;
};

/// Makes windows. Lives until the program ends.
class FormWindowFactory {
  public:
    virtual ~FormWindowFactory() = default;
    /// `delegate` outlives the window. `resourceDirectory` holds what the page shows beside its
    /// text, in UTF-8.
    virtual std::unique_ptr<FormWindow> makeFormWindow(FormWindowDelegate& delegate,
                                                       const std::string& resourceDirectory) = 0;
};

/// What the module exports, a function without arguments; null when the module cannot work here.
inline constexpr char FormWindowFactorySymbol[] = "dreskFormWindowFactory";
using FormWindowFactoryFunction = FormWindowFactory*();

} // namespace dresk
