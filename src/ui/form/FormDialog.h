#pragma once

#include "ui/form/FormBridge.h"
#include "ui/form/FormPage.h"
#include "ui/form/FormProfile.h"

#include <QDialog>
#include <QTimer>
#include <QWebChannel>
#include <QWebEngineView>

namespace dresk {

/// The form's window: the page, and the buttons below it. It serves one form after another, because
/// a page that has been shown before comes up much sooner.
class FormDialog final : public QDialog {
    Q_OBJECT

  public:
    /// `profile` outlives it.
    explicit FormDialog(FormProfile& profile);
    ~FormDialog() override;

    /// Null between two forms.
    void setDelegate(FormWindowDelegate* delegate) { delegate_ = delegate; }
    void load(const QByteArray& html, const QString& resourceDirectory);
    FormBridge& bridge() { return bridge_; }

    QSize contentSize() const { return size(); }
    void setContentSize(QSize size);
    QSize frameSizeFor(bool isPopover) const;
    /// `origin` is in the units of the display.
    void showAt(QPointF origin, bool isPopover);
    /// Whether it can serve another form.
    bool isUsable() const { return isUsable_; }
    /// Forgets the form, so that nothing of it shows in the next.
    void clear();

  protected:
    void closeEvent(QCloseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

  private:
    void makeWidgets();
    void handleCall(const QString& operation, const QString& id, FormState state);
    void acceptFields();
    void fitContent(QSizeF size);

    FormProfile& profile_;
    FormBridge bridge_;
    QWebChannel channel_;
    FormPage page_;
    QWebEngineView* view_ = nullptr;
    FormWindowDelegate* delegate_ = nullptr;
    QUrl url_;
    /// Ends the wait for a page that does not answer.
    QTimer acceptTimer_;
    FormState lastState_;
    bool isPopover_ = false;
    bool isUsable_ = true;
    bool hasGivenSize_ = false;
};

} // namespace dresk
