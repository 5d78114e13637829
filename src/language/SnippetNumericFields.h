#pragma once

#include <map>
#include <set>

#include "language/DecimalFormatter.h"
#include "language/GCMathParser.h"
#include "language/SnippetFieldVariable.h"

namespace dresk {

/// What is known of the number fields of one name while the form is open.
struct SnippetFieldVariableData {
    String name;
    /// The default of the field where that is no number; null where it is.
    std::optional<String> expression;
    double value = 0;
    /// The other number fields that the expression mentions.
    std::vector<String> dependedVariableNames;
};

/// Whether a number field of that name takes part in calculations: letters, digits and "_", and not
/// "_" alone. Names that expressions cannot read are among them; such formulas fail.
bool isValidMathVariableName(StringView name);

/// The calculated number fields of one form: which formula needs which field, and what they come to
/// as the user types. The form asks; no window is needed. One thread.
class SnippetNumericFields {
  public:
    /// Numbers are read and written as `locale` does; empty is the current one.
    explicit SnippetNumericFields(const String& locale = {});

    /// Builds the model when the form has loaded. The first field of a name decides. False when a
    /// formula fails: the calculation ends there, and the form keeps what it shows.
    bool onBodyOnLoad(const std::vector<std::shared_ptr<SnippetFieldVariable>>& fields);
    /// Recalculates what depends on the input of that name. The text counts as its leading number,
    /// with a point. False as above.
    bool onTextInputOnChange(StringView name, StringView text);
    /// What the inputs of that name are to show; null for a name without a record.
    std::optional<String> formattedValue(StringView name) const;

    /// In the order of their first fields.
    const std::vector<String>& numericFieldNames() const { return numericFieldNames_; }
    const std::map<String, SnippetFieldVariableData, std::less<>>& numericFieldDataMap() const {
        return numericFieldDataMap_;
    }

  private:
    using DataMap = std::map<String, SnippetFieldVariableData, std::less<>>;
    /// Fields whose values are still to be found, in order.
    class Pending;

    void addField(const SnippetFieldVariable& field, GCMathParser& parser, Pending& pending);
    void findDependencies();
    std::set<StringView> namesThatDependOn(StringView name) const;

    DecimalFormatter reader_;
    DecimalFormatter writer_;
    std::vector<String> numericFieldNames_;
    DataMap numericFieldDataMap_;
};

} // namespace dresk
