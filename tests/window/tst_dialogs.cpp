#include "tests/window/DialogTable.h"

#include "gui/log/Log.h"
#include "tests/support/Files.h"
#include "tests/support/KovTest.h"

#include <QAccessible>
#include <QComboBox>
#include <QDirIterator>
#include <QLabel>
#include <QLineEdit>
#include <QRegularExpression>
#include <QScreen>
#include <QWindow>

#include <memory>

namespace {

/// The names of the widgets that Tab reaches, from the one that has the focus at first round to it again.
QStringList walkWithTab(QWidget *dialog)
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

QStringList faultsOf(QWidget *dialog)
{
    QStringList faults;
    const auto expect = [&](bool ok, const QWidget *widget, const char *fault) {
        if (!ok)
            faults.append(QLatin1String(widget->metaObject()->className()) + QLatin1Char(' ')
                          + widget->objectName() + QLatin1Char(' ') + QLatin1String(fault));
    };
    const QList<QLabel *> labels = dialog->findChildren<QLabel *>();
    QMap<QKeySequence, const QWidget *> mnemonics;
    for (QWidget *widget : dialog->findChildren<QWidget *>()) {
        // The toolkit's own parts have none.
        const bool ours = !widget->inherits("QScrollBar") && !widget->inherits("QSizeGrip");
        expect(!ours || !widget->objectName().isEmpty(), widget, "has no name");
        if (!widget->isVisible())
            continue;
        const auto *const label = qobject_cast<const QLabel *>(widget);
        const auto *const button = qobject_cast<const QAbstractButton *>(widget);
        if (widget->focusPolicy() & Qt::TabFocus) {
            auto *interface = QAccessible::queryAccessibleInterface(widget);
            expect(!interface->text(QAccessible::Name).isEmpty(), widget, "tells a screen reader nothing");
            expect(interface->role() != QAccessible::Client, widget, "has no role");
        }
        if (qobject_cast<const QLineEdit *>(widget) || qobject_cast<const QComboBox *>(widget)) {
            expect(std::any_of(labels.begin(), labels.end(),
                               [widget](const QLabel *any) { return any->buddy() == widget; }),
                   widget, "is no label's buddy");
        }
        if (label)
            expect(!label->buddy() || label->buddy()->isVisible(), label, "names what is not there");
        const bool hasMnemonic = button || (label && label->buddy());
        const QKeySequence mnemonic
            = hasMnemonic ? QKeySequence::mnemonic(label ? label->text() : button->text()) : QKeySequence();
        expect(mnemonic.isEmpty() || !mnemonics.contains(mnemonic), widget, "has another's mnemonic");
        mnemonics.insert(mnemonic, widget);

        const int height = widget->hasHeightForWidth() ? widget->heightForWidth(widget->width())
                                                       : widget->minimumSizeHint().height();
        const bool showsText = label || button;
        expect(!showsText || widget->height() >= height, widget, "is cut below");
        expect(!showsText || widget->width() >= widget->minimumSizeHint().width(), widget,
               "is cut at a side");
        expect(widget->parentWidget()->rect().contains(widget->geometry()), widget, "leaves its parent");
    }
    return faults;
}

} // namespace

/// What every dialog owes to the keyboard, to a screen reader and to the screen's scale, which the build runs
/// this program at.
class tst_Dialogs : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        KovGui::setLogOutputFunction([](const char *, std::size_t) {});
        CMessageBox::setSupportPageAddress(QStringLiteral("https://support.example/%1"));
    }

    /// A class that other dialogs derive from needs no row.
    void everyDialogHasARow()
    {
        const QRegularExpression declaration(QStringLiteral(
            R"(class (?:KOVGUI_EXPORT )?(\w+) (?:final )?: public (QDialog|C\w*Dialog|C\w*WndBase)\b)"));
        QMap<QString, QString> baseOf;
        for (QDirIterator it(QStringLiteral(KOV_SOURCE_DIR "/gui"), {QStringLiteral("*.h")}, QDir::Files,
                             QDirIterator::Subdirectories);
             it.hasNext();) {
            auto match = declaration.globalMatch(QString::fromUtf8(fileContent(it.next())));
            while (match.hasNext()) {
                const QRegularExpressionMatch found = match.next();
                baseOf.insert(found.captured(1), found.captured(2));
            }
        }
        QSet<QString> missing(baseOf.keyBegin(), baseOf.keyEnd());
        QVERIFY(missing.contains(QStringLiteral("CMessageBox")));
        for (const QString &base : qAsConst(baseOf))
            missing.remove(base);
        for (const DialogRow &row : dialogTable())
            missing.remove(QLatin1String(row.className));
        QCOMPARE(missing.values().join(QLatin1Char(' ')), QString());
    }

    void dialog_data()
    {
        QTest::addColumn<int>("index");
        for (int i = 0; i < dialogTable().size(); ++i)
            row(dialogTable().at(i).name, i);
    }
    void dialog()
    {
        QFETCH(int, index);
        const DialogRow &row = dialogTable().at(index);
        const std::unique_ptr<QWidget> dialog(row.make());
        const bool takesKeys = *row.tabOrder;
        dialog->show();
        QVERIFY(takesKeys ? QTest::qWaitForWindowActive(dialog.get(), 30000)
                          : QTest::qWaitForWindowExposed(dialog.get(), 30000));
        QCOMPARE(dialog->metaObject()->className(), row.className);
        QCOMPARE(dialog->objectName(), QLatin1String(row.className));
        QVERIFY(!dialog->windowTitle().isEmpty());
        QCOMPARE(QAccessible::queryAccessibleInterface(dialog.get())->role(),
                 takesKeys ? QAccessible::Dialog : QAccessible::Notification);
        QCOMPARE(faultsOf(dialog.get()).join(QLatin1Char('\n')), QString());
        if (takesKeys) {
            QTRY_VERIFY(dialog->isAncestorOf(QApplication::focusWidget()));
            QCOMPARE(walkWithTab(dialog.get()).join(QLatin1Char(' ')), QLatin1String(row.tabOrder));
        }
        QCOMPARE(dialog->devicePixelRatioF(), qEnvironmentVariable("QT_SCALE_FACTOR").toDouble());
        // The window manager places it when it comes to it.
        QTRY_VERIFY(dialog->screen()->availableGeometry().contains(dialog->frameGeometry()));

        QTest::keyClick(dialog->windowHandle(), Qt::Key_Escape);
        QTRY_COMPARE(!dialog->isVisible(), row.escapeHides);
    }
};

KOV_TEST_MAIN(QApplication, tst_Dialogs)
#include "tst_dialogs.moc"
