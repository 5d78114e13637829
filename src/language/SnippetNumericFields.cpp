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

// Membership in a list of names whose order counts.
class PendingSet {
  public:
    explicit PendingSet(const std::vector<String>& names) : names_(names.begin(), names.end()) {}

    bool holdsAnyOf(const std::vector<String>& names) const {
        return std::any_of(names.begin(), names.end(),
                           [this](const String& name) { return names_.contains(name); });
    }
    void takeOff(std::vector<String>& list, const String& name) {
        names_.erase(name);
        std::erase(list, name);
    }

  private:
    std::unordered_set<String> names_;
};

} // namespace

bool isValidMathVariableName(StringView name) {
    return !name.empty() && name != u"_" && std::all_of(name.begin(), name.end(), isWordCharacter);
}

SnippetNumericFields::SnippetNumericFields(const String& locale) : formatter_(locale, false) {}

bool SnippetNumericFields::onBodyOnLoad(
    const std::vector<std::shared_ptr<SnippetFieldVariable>>& fields) {
    GCMathParser parser;
    PendingNames pending;
    numericFieldNames_.clear();
    numericFieldDataMap_.clear();
    for (const auto& field : fields)
        if (field->isNumber())
            addField(*field, parser, pending);
    findDependencies();
    takeConstants(pending, parser);

    PendingSet pendingSet(pending);
    bool changed = true;
    while (!pending.empty() && changed) {
        changed = false;
        for (const String& name : PendingNames(pending)) {
            SnippetFieldVariableData& data = numericFieldDataMap_.at(name);
            if (pendingSet.holdsAnyOf(data.dependedVariableNames))
                continue;
            if (!evaluate(data, parser))
                return false;
            pendingSet.takeOff(pending, name);
            changed = true;
        }
    }
    return true;
}

void SnippetNumericFields::addField(const SnippetFieldVariable& field, GCMathParser& parser,
                                    PendingNames& pending) {
    const String name = field.name().value_or(String());
    if (!isValidMathVariableName(name) || numericFieldDataMap_.contains(name))
        return;
    numericFieldNames_.push_back(name);
    SnippetFieldVariableData data;
    data.name = name;
    data.expression = field.value();
    const auto number = formatter_.numberFromString(field.value().value_or(String()));
    if (number.has_value()) {
        data.value = *number;
        data.expression.reset();
        parser.setSymbolValue(data.value, name);
    } else {
        pending.push_back(name);
    }
    numericFieldDataMap_.emplace(name, std::move(data));
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

// A formula that names no field is not evaluated: its field stays at 0. That is meant.
void SnippetNumericFields::takeConstants(PendingNames& pending, GCMathParser& parser) const {
    std::erase_if(pending, [&](const String& name) {
        const SnippetFieldVariableData& data = numericFieldDataMap_.at(name);
        if (isConstant(data))
            parser.setSymbolValue(data.value, name);
        return isConstant(data);
    });
}

bool SnippetNumericFields::evaluate(SnippetFieldVariableData& data, GCMathParser& parser) const {
    const GCMathResult result = parser.evaluate(*data.expression);
    if (!std::holds_alternative<double>(result))
        return false;
    data.value = std::get<double>(result);
    parser.setSymbolValue(data.value, data.name);
    return true;
}

std::set<String, std::less<>> SnippetNumericFields::namesThatDependOn(StringView name) const {
    std::map<StringView, std::vector<StringView>> users;
    for (const auto& [user, data] : numericFieldDataMap_)
        for (const String& used : data.dependedVariableNames)
            users[used].push_back(user);
    std::set<String, std::less<>> result;
    std::vector<StringView> reached{name};
    while (!reached.empty()) {
        const StringView used = reached.back();
        reached.pop_back();
        for (const StringView user : users[used])
            if (result.emplace(user).second)
                reached.push_back(user);
    }
    return result;
}

bool SnippetNumericFields::onTextInputOnChange(StringView name, StringView text) {
    GCMathParser parser;
    const double value = doubleValue(text);
    parser.setSymbolValue(value, name);
    const auto changedData = numericFieldDataMap_.find(name);
    if (changedData != numericFieldDataMap_.end())
        changedData->second.value = value;

    PendingNames pending = numericFieldNames_;
    std::erase(pending, name);
    takeConstants(pending, parser);
    const auto dependents = namesThatDependOn(name);
    while (!pending.empty()) {
        const PendingNames pass = pending;
        PendingSet pendingSet(pass);
        for (const String& other : pass) {
            SnippetFieldVariableData& data = numericFieldDataMap_.at(other);
            // What does not depend on the input keeps its value but gets no symbol, so a formula
            // that uses both reads it as 0. That is meant.
            const bool isAffected = dependents.contains(other);
            if (isAffected && pendingSet.holdsAnyOf(data.dependedVariableNames))
                continue;
            if (isAffected && !evaluate(data, parser))
                return false;
            pendingSet.takeOff(pending, other);
        }
        const bool isStuck = pending.size() == pass.size();
        if (isStuck)
            takeCycles(pending, parser, name);
        if (isStuck && pending.size() == pass.size())
            break;
    }
    return true;
}

// Of the names that wait for each other, those that do not use the input itself keep their values.
void SnippetNumericFields::takeCycles(PendingNames& pending, GCMathParser& parser,
                                      StringView input) const {
    std::erase_if(pending, [&](const String& name) {
        const SnippetFieldVariableData& data = numericFieldDataMap_.at(name);
        const auto& names = data.dependedVariableNames;
        if (std::find(names.begin(), names.end(), input) != names.end())
            return false;
        parser.setSymbolValue(data.value, name);
        return true;
    });
}

std::optional<String> SnippetNumericFields::formattedValue(StringView name) const {
    const auto found = numericFieldDataMap_.find(name);
    if (found == numericFieldDataMap_.end())
        return std::nullopt;
    return formatter_.stringFromNumber(found->second.value);
}

} // namespace dresk
