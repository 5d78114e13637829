#include "ui/form/FormPage.h"

namespace dresk {

void FormPage::show(const QUrl& url) {
    shown_ = url;
    load(url);
}

bool FormPage::acceptNavigationRequest(const QUrl& url, NavigationType type, bool isMainFrame) {
    return isMainFrame && type == NavigationTypeTyped && url == shown_;
}

QWebEnginePage* FormPage::createWindow(WebWindowType) {
    return nullptr;
}

bool FormPage::javaScriptConfirm(const QUrl&, const QString&) {
    return false;
}

void FormPage::javaScriptAlert(const QUrl&, const QString&) {}

// What a blocked piece of content reports is no fault of the program's, and may quote the content.
void FormPage::javaScriptConsoleMessage(JavaScriptConsoleMessageLevel, const QString&, int,
                                        const QString&) {}

QStringList FormPage::chooseFiles(FileSelectionMode, const QStringList&, const QStringList&) {
    return {};
}

} // namespace dresk
