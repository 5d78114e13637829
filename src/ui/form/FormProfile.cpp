#include "ui/form/FormProfile.h"

#include <QBuffer>
#include <QFile>
#include <QWebEngineScript>
#include <QWebEngineScriptCollection>
#include <QWebEngineSettings>
#include <QWebEngineUrlRequestJob>
#include <QWebEngineUrlScheme>

namespace dresk {

namespace {

const QString ScriptImage = QStringLiteral("/Script.png");

void closeDoors(QWebEngineSettings& settings) {
    using Attribute = QWebEngineSettings::WebAttribute;
    for (const Attribute attribute :
         {QWebEngineSettings::JavascriptCanOpenWindows,
          QWebEngineSettings::JavascriptCanAccessClipboard, QWebEngineSettings::LocalStorageEnabled,
          QWebEngineSettings::LocalContentCanAccessRemoteUrls,
          QWebEngineSettings::LocalContentCanAccessFileUrls,
          QWebEngineSettings::HyperlinkAuditingEnabled, QWebEngineSettings::ErrorPageEnabled,
          QWebEngineSettings::PluginsEnabled, QWebEngineSettings::FullScreenSupportEnabled,
          QWebEngineSettings::ScreenCaptureEnabled, QWebEngineSettings::WebGLEnabled,
          QWebEngineSettings::AutoLoadIconsForPage, QWebEngineSettings::DnsPrefetchEnabled,
          QWebEngineSettings::PdfViewerEnabled, QWebEngineSettings::NavigateOnDropEnabled})
        settings.setAttribute(attribute, false);
    settings.setUnknownUrlSchemePolicy(QWebEngineSettings::DisallowUnknownUrlSchemes);
}

QByteArray readAll(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

void FormSchemeHandler::registerScheme() {
    QWebEngineUrlScheme scheme(Scheme);
    scheme.setSyntax(QWebEngineUrlScheme::Syntax::Host);
    QWebEngineUrlScheme::registerScheme(scheme);
}

QUrl FormSchemeHandler::addPage(const QByteArray& html, const QString& resourceDirectory) {
    const QString path = QStringLiteral("/%1").arg(++lastPage_);
    pages_[path] = html;
    resourceDirectory_ = resourceDirectory;
    return QUrl(QStringLiteral("%1://form%2").arg(QString::fromLatin1(Scheme), path));
}

void FormSchemeHandler::requestStarted(QWebEngineUrlRequestJob* job) {
    const QString path = job->requestUrl().path();
    const auto page = pages_.find(path);
    if (page != pages_.end())
        reply(job, "text/html;charset=utf-8", page->second);
    else if (path == ScriptImage)
        reply(job, "image/png", readAll(resourceDirectory_ + ScriptImage));
    else
        job->fail(QWebEngineUrlRequestJob::UrlNotFound);
}

void FormSchemeHandler::reply(QWebEngineUrlRequestJob* job, const QByteArray& type,
                              const QByteArray& bytes) {
    auto* buffer = new QBuffer(job);
    buffer->setData(bytes);
    buffer->open(QIODevice::ReadOnly);
    job->reply(type, buffer);
}

void FormRequestInterceptor::interceptRequest(QWebEngineUrlRequestInfo& info) {
    const QUrl url = info.requestUrl();
    const bool isOwn = url.scheme() == QLatin1String(FormSchemeHandler::Scheme);
    const bool isEmbeddedImage = url.scheme() == QLatin1String("data") &&
                                 info.resourceType() == QWebEngineUrlRequestInfo::ResourceTypeImage;
    if (!isOwn && !isEmbeddedImage)
        info.block(true);
}

FormProfile::FormProfile() {
    setSpellCheckEnabled(false);
    setHttpCacheType(NoCache);
    setPersistentCookiesPolicy(NoPersistentCookies);
    closeDoors(*settings());
    installUrlSchemeHandler(FormSchemeHandler::Scheme, &pages_);
    setUrlRequestInterceptor(&interceptor_);

    QWebEngineScript channel;
    channel.setName(QStringLiteral("qwebchannel.js"));
    channel.setSourceCode(
        QString::fromUtf8(readAll(QStringLiteral(":/qtwebchannel/qwebchannel.js"))));
    channel.setInjectionPoint(QWebEngineScript::DocumentCreation);
    channel.setWorldId(QWebEngineScript::MainWorld);
    scripts()->insert(channel);
}

} // namespace dresk
