#include "tests/support/KovTest.h"
#include "tests/support/NativeSession.h"
#include "tests/window/DialogTable.h"

#include "gui/KovGui.h"
#include "gui/log/Log.h"

#include <QAccessible>

/// Every window of the library with a client of the accessibility bus that listens, as a screen reader does.
class tst_ReadAloud : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        KovGui::setLogOutputFunction([](const char *, std::size_t) {});
        KovGui::init(KAM_CONSOLE);
        CMessageBox::setSupportPageAddress("https://support.example/%1");
        m_listener.start(KOV_SOURCE_DIR "/tests/support/listen-accessible", {});
        QTRY_VERIFY_WITH_TIMEOUT(hears("ready"), 8000);
    }
    void cleanupTestCase()
    {
        m_listener.terminate();
        QVERIFY(m_listener.waitForFinished());
    }

    void window_data()
    {
        Table<DialogRow> add;
        for (const DialogRow &row : dialogTable()) {
            if (*row.tabOrder)
                add(row.name, row);
        }
    }

    /// At each stop of the keyboard its user hears where he is.
    void window()
    {
        const auto [row] = cells<DialogRow>();
        const std::unique_ptr<QWidget> dialog(row.make());
        m_told.clear();
        dialog->show();
        QVERIFY(QTest::qWaitForWindowActive(dialog.get(), 30000));
        QTRY_VERIFY(dialog->isAncestorOf(QApplication::focusWidget()));
        for (const QString &stop : QString(row.tabOrder).split(' ')) {
            auto *const widget = dialog->findChild<QWidget *>(stop);
            widget->setFocus(Qt::TabFocusReason);
            QTRY_VERIFY2_WITH_TIMEOUT(hears('|' + nameOf(widget) + '\n'),
                                      (nameOf(widget) + " in " + m_told).constData(), 30000);
        }
    }

private:
    static QByteArray nameOf(QWidget *widget)
    {
        QAccessibleInterface *here = QAccessible::queryAccessibleInterface(widget);
        while (here->focusChild() && here->focusChild() != here)
            here = here->focusChild();
        const QString name = here->text(QAccessible::Name);
        return name.isEmpty() ? "a name" : name.toUtf8();
    }
    bool hears(const QByteArray &text) { return (m_told += m_listener.readAll()).contains(text); }

    QProcess m_listener;
    QByteArray m_told;
};

KOV_TEST_MAIN(AccessibleApplication, tst_ReadAloud)
#include "tst_read_aloud.moc"
