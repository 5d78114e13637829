#include "language/SnippetNumericFields.h"

#include <algorithm>
#include <unordered_set>

#include "Foundation/CharacterSet.h"
#include "Foundation/StringNumbers.h"

namespace dresk {

namespace {

bool isWordCharacter(char16_t unit) {
    return unit == u'_' || CharacterSet::alphanumericCharacterSet().contains(unit);
}

bool isConstant(const SnippetFieldVariableData& data) {
    return data.dependedVariableNames.empty() || !data.expression.has_value();
}

bool evaluate(SnippetFieldVariableData& data, GCMathParser& parser) {
    const GCMathResult result = parser.evaluate(*data.expression);
    if (!std::holds_alternative<double>(result))
        return false;
    data.value = std::get<double>(result);
    parser.setSymbolValue(data.value, data.name);
    return true;
}

} // namespace

bool isValidMathVariableName(StringView name) {
    return !name.empty() && name != u"_" && std::all_of(name.begin(), name.end(), isWordCharacter);
}

class SnippetNumericFields::Pending {
  public:
    void add(SnippetFieldVariableData& data) {
        list_.push_back(&data);
        names_.insert(data.name);
    }
    bool isEmpty() const { return list_.empty(); }
    bool holdsDependencyOf(const SnippetFieldVariableData& data) const {
        return std::any_of(data.dependedVariableNames.begin(), data.dependedVariableNames.end(),
                           [this](const String& name) { return names_.contains(name); });
    }
    /// Goes once through all. `settle` answers whether a field is settled; it is off at once then,
    /// and null ends the pass. True unless the pass was ended; `changed` tells whether any went
    /// off.
    template <class Settle>
    bool runPass(Settle settle, bool& changed) {
        std::vector<SnippetFieldVariableData*> left;
        for (std::size_t i = 0; i < list_.size(); ++i) {
            const std::optional<bool> settled = settle(*list_[i]);
            if (!settled.has_value())
                return false;
            if (*settled)
                names_.erase(list_[i]->name);
            else
                left.push_back(list_[i]);
        }
        changed = left.size() < list_.size();
        list_ = std::move(left);
        return true;
    }
    void takeConstants(GCMathParser& parser) {
        bool changed = false;
        runPass(
            [&](const SnippetFieldVariableData& data) -> std::optional<bool> {
                if (isConstant(data))
                    parser.setSymbolValue(data.value, data.name);
                return isConstant(data);
            },
            changed);
    }

  private:
    std::vector<SnippetFieldVariableData*> list_;
    std::unordered_set<StringView> names_;
};

SnippetNumericFields::SnippetNumericFields(const String& locale)
    : reader_(locale, true), writer_(locale, false) {}

bool SnippetNumericFields::onBodyOnLoad(
    const std::vector<std::shared_ptr<SnippetFieldVariable>>& fields) {
    GCMathParser parser;
    Pending pending;
    numericFieldNames_.clear();
    numericFieldDataMap_.clear();
    for (const auto& field : fields)
        if (field->isNumber())
            addField(*field, parser, pending);
    findDependencies();
    // A formula that names no field is not evaluated: its field stays at 0. That is meant.
    pending.takeConstants(parser);

    const auto settle = [&](SnippetFieldVariableData& data) -> std::optional<bool> {
        if (pending.holdsDependencyOf(data))
            return false;
        return evaluate(data, parser) ? std::optional(true) : std::nullopt;
    };
    bool changed = true;
    while (!pending.isEmpty() && changed)
        if (!pending.runPass(settle, changed))
            return false;
    return true;
}

void SnippetNumericFields::addField(const SnippetFieldVariable& field, GCMathParser& parser,
                                    Pending& pending) {
    const String name = field.name().value_or(String());
    if (!isValidMathVariableName(name) || numericFieldDataMap_.contains(name))
        return;
    numericFieldNames_.push_back(name);
    SnippetFieldVariableData& data = numericFieldDataMap_[name];
    data.name = name;
    const auto number = reader_.numberFromString(field.value().value_or(String()));
    if (number.has_value()) {
        data.value = *number;
        parser.setSymbolValue(data.value, name);
    } else {
        data.expression = field.value();
        pending.add(data);
    }
}

void SnippetNumericFields::findDependencies() {
    std::map<StringView, std::size_t> places;
    for (std::size_t i = 0; i < numericFieldNames_.size(); ++i)
        places.emplace(numericFieldNames_[i], i);
    for (auto& [name, data] : numericFieldDataMap_) {
        std::set<std::size_t> mentioned;
        const StringView text =
            data.expression.has_value() ? StringView(*data.expression) : StringView();
        for (std::size_t i = 0; i < text.size();) {
            std::size_t end = i;
            while (end < text.size() && isWordCharacter(text[end]))
                ++end;
            const auto place = places.find(text.substr(i, end - i));
            if (place != places.end())
                mentioned.insert(place->second);
            i = end + 1;
        }
        for (const std::size_t place : mentioned)
            data.dependedVariableNames.push_back(numericFieldNames_[place]);
    }
}

std::set<StringView> SnippetNumericFields::namesThatDependOn(StringView name) const {
    std::map<StringView, std::vector<StringView>> users;
    for (const auto& [user, data] : numericFieldDataMap_)
        for (const String& used : data.dependedVariableNames)
            users[used].push_back(user);
    std::set<StringView> result;
    std::vector<StringView> reached{name};
    while (!reached.empty()) {
        const StringView used = reached.back();
        reached.pop_back();
        for (const StringView user : users[used])
            if (result.insert(user).second)
                reached.push_back(user);
    }
    return result;
}

bool SnippetNumericFields::onTextInputOnChange(StringView name, StringView text) {
    GCMathParser parser;
    const double value = doubleValue(text);
    parser.setSymbolValue(value, name);
    Pending pending;
    for (const String& other : numericFieldNames_) {
        SnippetFieldVariableData& data = numericFieldDataMap_.at(other);
        if (other == name)
            data.value = value;
        else
            pending.add(data);
    }
    pending.takeConstants(parser);

    const auto dependents = namesThatDependOn(name);
    const auto settle = [&](SnippetFieldVariableData& data) -> std::optional<bool> {
        // What does not depend on the input keeps its value but gets no symbol, so a formula that
        // uses both reads it as 0. That is meant.
        if (!dependents.contains(data.name))
            return true;
        if (pending.holdsDependencyOf(data))
            return false;
        return evaluate(data, parser) ? std::optional(true) : std::nullopt;
    };
    // Of those that wait for each other, the ones that do not use the input keep their values.
    const auto settleCycle = [&](const SnippetFieldVariableData& data) -> std::optional<bool> {
        const auto& names = data.dependedVariableNames;
        if (std::find(names.begin(), names.end(), name) != names.end())
            return false;
        parser.setSymbolValue(data.value, data.name);
        return true;
    };
    bool changed = true;
    while (!pending.isEmpty() && changed) {
        if (!pending.runPass(settle, changed))
            return false;
        if (!changed)
            pending.runPass(settleCycle, changed);
    }
    return true;
}

std::optional<String> SnippetNumericFields::formattedValue(StringView name) const {
    const auto found = numericFieldDataMap_.find(name);
    if (found == numericFieldDataMap_.end())
        return std::nullopt;
    return writer_.stringFromNumber(found->second.value);
}

} // namespace dresk
