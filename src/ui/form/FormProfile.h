#pragma once

#include <map>

#include <QWebEngineProfile>
#include <QWebEngineUrlRequestInterceptor>
#include <QWebEngineUrlSchemeHandler>

namespace dresk {

/// Serves the pages of forms from memory and their images from one folder, under an address scheme
/// of its own. Nothing else has an address there.
class FormSchemeHandler final : public QWebEngineUrlSchemeHandler {
  public:
    static constexpr char Scheme[] = "dresk-form";
    /// Before the first profile.
    static void registerScheme();

    /// The page's address. It is served until it is removed. `html` is UTF-8.
    QUrl addPage(const QByteArray& html, const QString& resourceDirectory);
    void removePage(const QUrl& url) { pages_.erase(url.path()); }

    void requestStarted(QWebEngineUrlRequestJob* job) override;

  private:
    void reply(QWebEngineUrlRequestJob* job, const QByteArray& type, const QByteArray& bytes);

    std::map<QString, QByteArray> pages_;
    QString resourceDirectory_;
    quint64 lastPage_ = 0;
};

/// Blocks every request that is not for a form's page and its images.
class FormRequestInterceptor final : public QWebEngineUrlRequestInterceptor {
  public:
    void interceptRequest(QWebEngineUrlRequestInfo& info) override;
};

/// A profile without network, files, storage or history.
class FormProfile final : public QWebEngineProfile {
  public:
    FormProfile();
    FormSchemeHandler& pages() { return pages_; }

  private:
    FormSchemeHandler pages_;
    FormRequestInterceptor interceptor_;
};

} // namespace dresk
