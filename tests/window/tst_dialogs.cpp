#include "gui/log/Log.h"
#include "gui/messages/box/CDetailsDialog.h"
#include "gui/messages/box/CMessageBox.h"
#include "gui/tasks/download/CDownloadProgressDialog.h"
#include "gui/tasks/sign_in/CProxyAuthenticator.h"
#include "gui/tasks/sign_in/CUserAuthDialog.h"
#include "gui/window/CProgressDialog.h"
#include "tests/support/KovTest.h"

#include <QAbstractButton>
#include <QAccessible>
#include <QLabel>
#include <QScreen>
#include <QWindow>

#include <memory>

using Factory = std::function<CBaseDialog *()>;
Q_DECLARE_METATYPE(Factory)

/// What every dialog owes to the keyboard, to a screen reader and to the screen's scale, which the build runs
/// this program at.
class tst_Dialogs : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void dialog_data();
    void dialog();
};

/// The names of the widgets that Tab reaches, from the one that has the focus at first round to it again.
static QStringList walkWithTab(QWidget *dialog)
{
    QStringList names;
    const QWidget *const first = QApplication::focusWidget();
    do {
        const QWidget *widget = QApplication::focusWidget();
        if (!widget || !dialog->isAncestorOf(widget))
            return {};
        // A label with a link is one stop for itself and one for the link.
        if (!names.endsWith(widget->objectName()))
            names.append(widget->objectName());
        QTest::keyClick(dialog->windowHandle(), Qt::Key_Tab);
    } while (QApplication::focusWidget() != first && names.size() < 30);
    return names;
}

static QStringList faultsOf(const QWidget *dialog)
{
    QStringList faults;
    const auto expect = [&](bool ok, const QWidget *widget, const char *fault) {
        if (!ok)
            faults.append(QLatin1String(widget->metaObject()->className()) + QLatin1Char(' ')
                          + widget->objectName() + QLatin1Char(' ') + QLatin1String(fault));
    };
    for (const QWidget *widget : dialog->findChildren<QWidget *>()) {
        // The toolkit's own parts have none.
        const bool ours = !widget->inherits("QScrollBar") && !widget->inherits("QSizeGrip");
        expect(!ours || !widget->objectName().isEmpty(), widget, "has no name");
        if (!widget->isVisible())
            continue;
        if (widget->focusPolicy() & Qt::TabFocus) {
            auto *interface = QAccessible::queryAccessibleInterface(const_cast<QWidget *>(widget));
            expect(!interface->text(QAccessible::Name).isEmpty(), widget, "tells a screen reader nothing");
        }
        const bool showsText
            = qobject_cast<const QLabel *>(widget) || qobject_cast<const QAbstractButton *>(widget);
        const int height = widget->hasHeightForWidth() ? widget->heightForWidth(widget->width())
                                                       : widget->minimumSizeHint().height();
        expect(!showsText || widget->height() >= height, widget, "is cut below");
        expect(!showsText || widget->width() >= widget->minimumSizeHint().width(), widget,
               "is cut at a side");
        expect(widget->parentWidget()->rect().contains(widget->geometry()), widget, "leaves its parent");
    }
    return faults;
}

void tst_Dialogs::initTestCase()
{
    KovGui::setLogOutputFunction([](const char *, std::size_t) {});
    CMessageBox::setSupportPageAddress(QStringLiteral("https://support.example/%1"));
}

void tst_Dialogs::dialog_data()
{
    QTest::addColumn<Factory>("make");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("tabOrder");
    QTest::addColumn<bool>("escapeHides");

    const auto everyPart = [] {
        auto *box = new CMessageBox;
        box->setTitle(QStringLiteral("Console"));
        box->setMessage(QStringLiteral("The machine cannot be started."));
        box->setDescription(QStringLiteral("There is not enough memory. ").repeated(40));
        box->setDetails(QStringLiteral("Details"));
        box->setHelpTopic(Help::MessagesTopic);
        box->setProblemID(QStringLiteral("15351"));
        box->setAllowHide(true);
        box->setButtonsMap({{Messaging::Button1, {QStringLiteral("&Try Again"), QMessageBox::AcceptRole}},
                            {Messaging::Button2, {QStringLiteral("&Ignore"), QMessageBox::RejectRole}}});
        box->findChild<QAbstractButton *>(QStringLiteral("m_lblHelpMeSolve"))->click();
        return box;
    };
    const auto progress = [] {
        auto *dialog = new CProgressDialog;
        dialog->setWindowTitle(QStringLiteral("Update"));
        dialog->setLabelText(QStringLiteral("Checking for updates of everything there is. ").repeated(6));
        return dialog;
    };
    const auto login = [] {
        auto *dialog = CProxyAuthenticator::createAuthDialog(QStringLiteral("proxy.example"), 8080, true);
        dialog->setUsername(QStringLiteral("user"));
        return dialog;
    };
    row("message box", Factory(everyPart), "CMessageBox",
        "m_pbButton1 m_pbButton2 m_txtMessage m_txtInfo m_lblProblemIDNumber m_lblProblemIDLink "
        "m_lblHelpMeSolve m_lblSupportInfo m_ckbDoNotShowFlag m_pbHelp m_pbDetails",
        true);
    row("details", Factory([] { return new CDetailsDialog(QStringLiteral("line\n").repeated(99)); }),
        "CDetailsDialog", "m_pbClose m_txtDetails", true);
    const auto download = [] {
        auto *dialog = new CDownloadProgressDialog({37, 3725, 456789012, 1234567890, 1234567});
        dialog->setFileName(QStringLiteral("a-very-long-name-").repeated(20));
        dialog->setStatusText(QString());
        return dialog;
    };
    row("download", Factory(download), "CDownloadProgressDialog", "m_pbPauseResume m_pbCancel", true);
    row("progress", Factory(progress), "CProgressDialog", "m_pbCancel", false);
    row("login", Factory(login), "CUserAuthDialog", "m_lePassword m_ckbRemember m_pbOk m_pbCancel m_leName",
        true);
}

void tst_Dialogs::dialog()
{
    QFETCH(Factory, make);
    const std::unique_ptr<CBaseDialog> dialog(make());
    dialog->show();
    QVERIFY(QTest::qWaitForWindowActive(dialog.get()));
    QTEST(dialog->objectName(), "name");
    QVERIFY(!dialog->windowTitle().isEmpty());
    QCOMPARE(faultsOf(dialog.get()).join(QLatin1Char('\n')), QString());
    QTEST(walkWithTab(dialog.get()).join(QLatin1Char(' ')), "tabOrder");

    QCOMPARE(dialog->devicePixelRatioF(), qEnvironmentVariable("QT_SCALE_FACTOR").toDouble());
    const QRect screen = dialog->screen()->availableGeometry();
    QVERIFY(screen.contains(dialog->frameGeometry()));

    QTest::keyClick(dialog->windowHandle(), Qt::Key_Escape);
    QTEST(!dialog->isVisible(), "escapeHides");
}

KOV_TEST_MAIN(QApplication, tst_Dialogs)
#include "tst_dialogs.moc"
