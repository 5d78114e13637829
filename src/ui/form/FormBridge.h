#pragma once

#include <functional>

#include "ui/FormWindow.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QObject>

namespace dresk {

/// What the page's script sees of the program, under the name "bridge". A page is named by the path
/// of its address, so that what an earlier one still says is not taken for the present one.
class FormBridge : public QObject {
    Q_OBJECT

  public:
    using Handler = std::function<void(const QString& operation, const QString& id, FormState)>;
    explicit FormBridge(Handler handler) : handler_(std::move(handler)) {}

    void setPage(const QString& page) { page_ = page; }
    void sendChanges(const std::vector<FormChange>& list);
    void requestAcceptFields() { emit acceptFieldsRequested(page_); }

    Q_INVOKABLE void call(const QString& page, const QString& operation, const QString& id,
                          const QJsonObject& state);

  signals:
    void changes(const QString& page, const QJsonArray& list);
    void acceptFieldsRequested(const QString& page);

  private:
    Handler handler_;
    QString page_;
};

} // namespace dresk
