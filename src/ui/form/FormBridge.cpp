#include "ui/form/FormBridge.h"

#include "ui/form/QtText.h"

namespace dresk {

namespace {

FormElement::Kind kindFrom(const QString& kind) {
    if (kind == u"number")
        return FormElement::Kind::Number;
    if (kind == u"checkbox")
        return FormElement::Kind::CheckBox;
    if (kind == u"textarea")
        return FormElement::Kind::TextArea;
    if (kind == u"select")
        return FormElement::Kind::Select;
    return kind == u"text" ? FormElement::Kind::Text : FormElement::Kind::Label;
}

FormElement elementFrom(const QJsonObject& object) {
    FormElement element;
    element.kind = kindFrom(object[u"kind"].toString());
    element.id = stringFrom(object[u"id"].toString());
    element.name = stringFrom(object[u"name"].toString());
    element.value = stringFrom(object[u"value"].toString());
    for (const auto& option : object[u"options"].toArray())
        element.options.push_back(stringFrom(option.toString()));
    element.isChecked = object[u"checked"].toBool();
    element.editedIn = static_cast<std::uint64_t>(object[u"editedIn"].toInteger());
    return element;
}

FormState stateFrom(const QJsonObject& object) {
    FormState state;
    for (const auto& element : object[u"elements"].toArray())
        state.elements.push_back(elementFrom(element.toObject()));
    state.activeElementId = stringFrom(object[u"active"].toString());
    state.number = static_cast<std::uint64_t>(object[u"number"].toInteger());
    state.appliedChanges = static_cast<std::uint64_t>(object[u"appliedChanges"].toInteger());
    return state;
}

QString kindText(FormChange::Kind kind) {
    switch (kind) {
    case FormChange::Kind::SetValue:
        return QStringLiteral("value");
    case FormChange::Kind::SetTextContent:
        return QStringLiteral("text");
    case FormChange::Kind::Click:
        return QStringLiteral("click");
    }
    return {};
}

} // namespace

void FormBridge::sendChanges(const std::vector<FormChange>& list) {
    QJsonArray array;
    for (const FormChange& change : list)
        array.append(QJsonObject{{QStringLiteral("kind"), kindText(change.kind)},
                                 {QStringLiteral("id"), qStringFrom(change.id)},
                                 {QStringLiteral("text"), qStringFrom(change.text)},
                                 {QStringLiteral("basis"), qint64(change.basis)}});
    emit changes(page_, array);
}

void FormBridge::call(const QString& page, const QString& operation, const QString& id,
                      const QJsonObject& state) {
    if (page == page_)
        handler_(operation, id, stateFrom(state));
}

} // namespace dresk
