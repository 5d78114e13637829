// The module's entry: windows for the fields form.

#include <unistd.h>

#include "ui/form/FormDialog.h"
#include "ui/form/QtText.h"

#include <QApplication>
#include <QFileInfo>
#include <QLibraryInfo>
#include <QLoggingCategory>
#include <QOpenGLContext>
#include <QQuickWindow>

// Part of the library that has no header for it.
Q_GUI_EXPORT void qt_gl_set_global_share_context(QOpenGLContext* context);
Q_GUI_EXPORT QOpenGLContext* qt_gl_global_share_context();

namespace dresk {

namespace {

class FormWindows;

class FormWindowBody final : public FormWindow {
  public:
    FormWindowBody(FormWindows& windows, std::unique_ptr<FormDialog> dialog,
                   FormWindowDelegate& delegate, const std::string& resourceDirectory)
        : windows_(windows), dialog_(std::move(dialog)),
          resourceDirectory_(QString::fromStdString(resourceDirectory)) {
        dialog_->setDelegate(&delegate);
    }
    ~FormWindowBody() override;

    void load(const String& html) override {
        dialog_->load(qStringFrom(html).toUtf8(), resourceDirectory_);
    }
    void apply(const std::vector<FormChange>& changes) override {
        dialog_->bridge().sendChanges(changes);
    }
    Size contentSize() const override {
        return {double(dialog_->contentSize().width()), double(dialog_->contentSize().height())};
    }
    void setContentSize(Size size) override {
        dialog_->setContentSize(QSizeF(size.width, size.height).toSize());
    }
    Size frameSize(bool isPopover) const override {
        const QSize size = dialog_->frameSizeFor(isPopover);
        return {double(size.width()), double(size.height())};
    }
    void show(Point origin, bool isPopover) override {
        dialog_->showAt({origin.x, origin.y}, isPopover);
    }
    void close() override {
        dialog_->setDelegate(nullptr);
        dialog_->hide();
    }

  private:
    FormWindows& windows_;
    std::unique_ptr<FormDialog> dialog_;
    QString resourceDirectory_;
};

class FormWindows final : public FormWindowFactory {
  public:
    FormWindows() {
        // The browser's objects must go before the application does.
        QObject::connect(qApp, &QCoreApplication::aboutToQuit, [this] {
            isQuitting_ = true;
            spare_.reset();
        });
    }

    std::unique_ptr<FormWindow> makeFormWindow(FormWindowDelegate& delegate,
                                               const std::string& resourceDirectory) override {
        auto dialog = spare_ != nullptr && spare_->isUsable()
                          ? std::move(spare_)
                          : std::make_unique<FormDialog>(profile());
        return std::make_unique<FormWindowBody>(*this, std::move(dialog), delegate,
                                                resourceDirectory);
    }

    /// Keeps one for the next form.
    void giveBack(std::unique_ptr<FormDialog> dialog) {
        if (!dialog->isUsable() || spare_ != nullptr || isQuitting_)
            return;
        dialog->clear();
        spare_ = std::move(dialog);
    }

  private:
    FormProfile& profile() {
        if (profile_ == nullptr)
            profile_ = new FormProfile;
        return *profile_;
    }

    // Never deleted: windows that are still open at the end use it.
    FormProfile* profile_ = nullptr;
    std::unique_ptr<FormDialog> spare_;
    bool isQuitting_ = false;
};

FormWindowBody::~FormWindowBody() {
    dialog_->setDelegate(nullptr);
    windows_.giveBack(std::move(dialog_));
}

bool hasBrowserProcess() {
    const QString folder = QLibraryInfo::path(QLibraryInfo::LibraryExecutablesPath);
    return QFileInfo(folder + QStringLiteral("/QtWebEngineProcess")).isExecutable();
}

void prepareBrowser() {
    // The sandbox needs an ordinary user.
    if (geteuid() == 0)
        qputenv("QTWEBENGINE_DISABLE_SANDBOX", "1");
    // A form is drawn at once without a graphics driver; starting one costs more time and memory
    // than all the rest.
    QQuickWindow::setSceneGraphBackend(QStringLiteral("software"));
    // The browser asks this one all the same what it can do, and wants it made before the
    // application is. One that was never created answers, and brings no driver in.
    if (qt_gl_global_share_context() == nullptr)
        qt_gl_set_global_share_context(new QOpenGLContext);
    // A page of technical details in the log helps nobody.
    QLoggingCategory::setFilterRules(QStringLiteral("qt.webenginecontext.info=false"));
    FormSchemeHandler::registerScheme();
}

} // namespace

} // namespace dresk

extern "C" __attribute__((visibility("default"))) dresk::FormWindowFactory*
dreskFormWindowFactory() {
    // Without an application that has windows, or without its own program, the browser would end
    // the process.
    if (qobject_cast<QApplication*>(QCoreApplication::instance()) == nullptr ||
        !dresk::hasBrowserProcess())
        return nullptr;
    static dresk::FormWindows* const windows = [] {
        dresk::prepareBrowser();
        return new dresk::FormWindows;
    }();
    return windows;
}
