#include "gui/messages/CSearchParentHelper.h"
#include "gui/window/CBaseDialog.h"
#include "tests/messages/MessageFixture.h"
#include "tests/support/KovTest.h"

#include <QMainWindow>
#include <QMenu>
#include <QProgressDialog>
#include <QWizard>

class CControlCenterWindow : public QWidget
{
    Q_OBJECT
};

class tst_message_parent : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void canBeParent_data()
    {
        Table<bool, std::function<QWidget *()>> row;
        row("main window", true, [] { return new QMainWindow; });
        row("wizard", true, [] {
            auto *wizard = new QWizard;
            wizard->setWizardStyle(QWizard::ClassicStyle); // others need a window of the system
            return wizard;
        });
        row("control centre", true, [] { return new CControlCenterWindow; });
        row("progress dialog", false, [] { return new QProgressDialog; });
        row("menu", false, [] { return new QMenu; });
        row("plain widget", false, [] { return new QWidget; });
        row("plain dialog", false, [] { return new QDialog; });
        row("dialog of the library", true, [] { return new CBaseDialog; });
        row("dialog that refuses", false,
            [] { return new CBaseDialog(nullptr, {}, CWindowInterface::NotAParent); });
        row("frame of another kind", false, [] {
            auto *window = new QMainWindow;
            window->setObjectName("chrWindow");
            return window;
        });
    }

    void canBeParent()
    {
        const auto [can, make] = cells<bool, std::function<QWidget *()>>();
        const std::unique_ptr<QWidget> window(make());
        auto *child = new QWidget(window.get());
        QVERIFY(!CSearchParentHelper::canBeParent(window.get()));
        if (qobject_cast<QMenu *>(window.get())) {
            QTest::ignoreMessage(QtWarningMsg, "This plugin does not support raise()");
            QTest::ignoreMessage(QtWarningMsg, "This plugin does not support grabbing the keyboard");
        }
        window->show();
        QCOMPARE(CSearchParentHelper::canBeParent(window.get()), can);
        QCOMPARE(CSearchParentHelper::canBeParent(child), can);
        window->showMinimized();
        QVERIFY(!CSearchParentHelper::canBeParent(window.get()));
    }

    void search()
    {
        CSearchParentHelper helper;
        QCOMPARE(helper.getParentForMessage(QString(), true, nullptr), nullptr);
        QMainWindow main;
        QMainWindow other;
        auto *inner = new QWidget(&main);
        main.show();
        other.show();
        other.activateWindow();
        QTRY_COMPARE(QApplication::activeWindow(), &other);
        QCOMPARE(helper.getParentForMessage(QString(), false, nullptr), nullptr);
        QCOMPARE(helper.getParentForMessage(QString(), true, nullptr), &other);
        QCOMPARE(helper.getParentForMessage(QString(), true, inner), inner);

        // A modal dialog over the hint's window comes first, one that cannot be a parent gives way to what
        // carries it.
        CBaseDialog dialog(&main);
        dialog.setModal(true);
        dialog.show();
        QCOMPARE(helper.getParentForMessage(QString(), false, inner), &dialog);
        QCOMPARE(helper.getParentForMessage(QString(), false, &other), &other);
        QProgressDialog progress(&dialog);
        progress.setModal(true);
        progress.show();
        QCOMPARE(helper.getParentForMessage(QString(), false, inner), &dialog);
    }
};

KOV_TEST_MAIN(QApplication, tst_message_parent)
#include "tst_message_parent.moc"
