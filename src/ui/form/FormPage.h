#pragma once

#include <QWebEnginePage>

namespace dresk {

/// A page that shows what it is given and goes nowhere else.
class FormPage final : public QWebEnginePage {
    Q_OBJECT

  public:
    using QWebEnginePage::QWebEnginePage;

    void show(const QUrl& url);

  protected:
    bool acceptNavigationRequest(const QUrl& url, NavigationType type, bool isMainFrame) override;
    QWebEnginePage* createWindow(WebWindowType type) override;
    bool javaScriptConfirm(const QUrl& securityOrigin, const QString& message) override;
    void javaScriptAlert(const QUrl& securityOrigin, const QString& message) override;
    void javaScriptConsoleMessage(JavaScriptConsoleMessageLevel level, const QString& message,
                                  int lineNumber, const QString& sourceID) override;
    QStringList chooseFiles(FileSelectionMode mode, const QStringList& oldFiles,
                            const QStringList& acceptedMimeTypes) override;

  private:
    QUrl shown_;
};

} // namespace dresk
