#include "gui/content/CContentArea.h"
#include "gui/content/CContentView.h"
#include "gui/content/CContentWatcher.h"
#include "gui/content/CQmlContentInfo.h"
#include "gui/wizard/declarative/CDeclarativeWizardContentProvider.h"
#include "gui/wizard/declarative/CDeclarativeWizardDialog.h"
#include "gui/wizard/declarative/CDeclarativeWizardPage.h"
#include "gui/wizard/declarative/CDeclarativeWizardProxyPage.h"
#include "gui/wizard/widgets/CWizardDialog.h"
#include "tests/support/Files.h"
#include "tests/support/KovTest.h"
#include "tests/support/LogCapture.h"
#include "tests/support/OffscreenPlatform.h"
#include "tests/wizard/SampleWizard.h"

#include <QAbstractButton>
#include <QAccessible>
#include <QAction>
#include <QLabel>
#include <QLineEdit>
#include <QQuickItem>
#include <QQuickWidget>
#include <QQuickWindow>
#include <QVBoxLayout>

#include <memory>

namespace {

class ScenePage : public CDeclarativeWizardPage
{
public:
    ScenePage(CAbstractWizardModel &model, int id, const QUrl &scene)
        : CDeclarativeWizardPage(model, id)
        , m_scene(scene)
    {
        setTitle(QStringLiteral("<b>Page %1</b>").arg(id));
    }
    QUrl pageQml() const override { return m_scene; }

private:
    const QUrl m_scene;
};

class WidgetPage : public CDeclarativeWizardProxyPage
{
public:
    WidgetPage(CAbstractWizardModel &model, int id)
        : CDeclarativeWizardProxyPage(model, id)
    {
        auto *widget = new QWidget;
        auto *layout = new QVBoxLayout(widget);
        for (const char *name : {"first", "second"}) {
            auto *edit = new QLineEdit(widget);
            edit->setObjectName(QLatin1String(name));
            layout->addWidget(edit);
        }
        setSourcePage(widget);
    }
};

/// Two scenes, an ordinary widget between them; the third cannot be loaded.
class FaceModel : public CAbstractWizardModel
{
public:
    FaceModel()
    {
        class Factory : public CAbstractWizardPageFactory
        {
        public:
            CAbstractWizardPage *createPage(int id, CAbstractWizardModel &model) override
            {
                if (id == 2)
                    return new WidgetPage(model, id);
                const QString file
                    = static_cast<FaceModel &>(model).m_folder.filePath(QStringLiteral("page%1.qml").arg(id));
                return new ScenePage(model, id, QUrl::fromLocalFile(file));
            }
        };
        setPageFactory(*new Factory);
        setPageFlow(*new SampleFlow(m_wizard));
        m_wizard.last = 3;
        writeFile(
            m_folder.filePath(QStringLiteral("page1.qml")),
            "import QtQuick 2.15\nimport \"qrc:/qml\"\n"
            "WizardPage { TextInput { objectName: \"name\"; width: 99; height: 20; activeFocusOnTab: true;\n"
            "  Accessible.role: Accessible.EditableText; Accessible.name: \"Name\" } }\n");
        writeFile(m_folder.filePath(QStringLiteral("page3.qml")),
                  "import QtQuick 2.15\nItem { nonsense: 1 }\n");
    }

private:
    QTemporaryDir m_folder;
    SampleWizard m_wizard;
};

QQuickWidget *sceneOf(const CDeclarativeWizardDialog &dialog)
{
    return static_cast<QQuickWidget *>(dialog.findChild<CContentView *>()->sceneWidget());
}

QQuickItem *itemBelow(const QQuickItem *parent, const QString &name)
{
    const auto children = parent->childItems();
    for (QQuickItem *child : children) {
        QQuickItem *found = child->objectName() == name ? child : itemBelow(child, name);
        if (found)
            return found;
    }
    return nullptr;
}

QQuickItem *itemOf(const CDeclarativeWizardDialog &dialog, const char *name)
{
    return itemBelow(sceneOf(dialog)->rootObject(), QString::fromLatin1(name));
}

/// Who has the keyboard: a widget above the scene, else an item of it.
QString focusName(const CContentView *view)
{
    const QWidget *widget = QApplication::focusWidget();
    if (widget != view->sceneWidget())
        return widget ? widget->objectName() : QString();
    const QQuickItem *item
        = static_cast<QQuickWidget *>(view->sceneWidget())->quickWindow()->activeFocusItem();
    return item ? item->objectName() : QString();
}

QString focusName(const CDeclarativeWizardDialog &dialog)
{
    return focusName(dialog.findChild<CContentView *>());
}

void collectNames(QAccessibleInterface *interface, QStringList *names)
{
    for (int i = 0; i < interface->childCount(); ++i) {
        QAccessibleInterface *child = interface->child(i);
        QVERIFY(child);
        QCOMPARE(child->parent(), interface);
        QCOMPARE(interface->indexOfChild(child), i);
        const QString name = child->text(QAccessible::Name);
        if (!name.isEmpty())
            names->append(name);
        collectNames(child, names);
    }
}

} // namespace

class tst_WizardFaces : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { ignoreOffscreenWarnings(); }
    void cleanup() { QVERIFY(QApplication::topLevelWidgets().isEmpty()); }

    void widgetDialog()
    {
        SampleWizard wizard;
        SampleModel model(wizard);
        CWizardDialog dialog(model, [](CAbstractWizardPage &page) -> QWidget * {
            page.setTitle(QStringLiteral("<b>Page %1</b>").arg(page.pageId()));
            auto *label = new QLabel(page.title());
            label->setMinimumHeight(page.pageId() == 5 ? 500 : 0);
            return label;
        });
        dialog.show();
        QVERIFY(QTest::qWaitForWindowActive(&dialog));
        const auto buttons = [&] {
            QStringList names;
            const auto all = dialog.findChildren<QAbstractButton *>();
            for (const QAbstractButton *button : all) {
                if (button->isVisible())
                    names << button->objectName() + (button->isEnabled() ? QString() : QStringLiteral("-"));
            }
            names.sort();
            return names.join(QLatin1Char(' '));
        };
        const auto click
            = [&](const char *name) { dialog.findChild<QAbstractButton *>(QLatin1String(name))->click(); };
        QCOMPARE(buttons(), QStringLiteral("Back- Cancel Help Next"));
        const auto *title = dialog.findChild<QLabel *>(QStringLiteral("title"));
        QCOMPARE(title->text(), QStringLiteral("<b>Page 1</b>"));
        QCOMPARE(title->textFormat(), Qt::PlainText);
        click("Next");
        QCOMPARE(buttons(), QStringLiteral("Back Cancel Help Next"));
        wizard.traits.insert(QStringLiteral("2 incomplete"));
        Q_EMIT model.currentPage()->completeChanged();
        QCOMPARE(buttons(), QStringLiteral("Back Cancel Help Next-"));
        click("Back");
        QTRY_COMPARE(model.currentPageId(), 1);
        // A page that needs more room than the window has.
        model.goToPage(5, GUI::Forward);
        QVERIFY(dialog.height() > 500);
        QCOMPARE(buttons(), QStringLiteral("Back Cancel Finish Help"));
        QVERIFY(dialog.isVisible());
        wizard.traits.insert(QStringLiteral("5 invalid"));
        click("Finish");
        QVERIFY(dialog.isVisible());
        wizard.traits.clear();
        wizard.log.take();
        click("Finish");
        QCOMPARE(wizard.log.take(), QStringLiteral("finished 0"));
        QVERIFY(!dialog.isVisible());
        QCOMPARE(dialog.result(), int(QDialog::Accepted));

        dialog.show();
        QTest::keyClick(&dialog, Qt::Key_Escape);
        QCOMPARE(wizard.log.take(), QStringLiteral("finished 2"));
        QVERIFY(!dialog.isVisible());
    }

    void scenes()
    {
        LogCapture log;
        FaceModel model;
        CDeclarativeWizardDialog dialog(model);
        QVERIFY(!model.currentPage());
        dialog.show();
        QVERIFY(QTest::qWaitForWindowActive(&dialog));
        QTRY_COMPARE(model.currentPageId(), 1);
        QTRY_COMPARE(focusName(dialog), QStringLiteral("name"));
        auto *page = static_cast<ScenePage *>(model.currentPage());
        const QVariant item = page->property("pageContentItem");
        QCOMPARE(item.value<QObject *>(), page->pageContentItem());
        QCOMPARE(page->pageContentItem()->property("pageTitle").toString(), QStringLiteral("<b>Page 1</b>"));
        page->setTitle(QStringLiteral("Changed"));
        QCOMPARE(itemOf(dialog, "title")->property("text").toString(), QStringLiteral("Changed"));
        QCOMPARE(itemOf(dialog, "title")->property("textFormat").toInt(), int(Qt::PlainText));

        // The keyboard goes round, in both directions.
        QStringList round;
        for (int i = 0; i < 5; ++i) {
            round << focusName(dialog);
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        }
        QCOMPARE(round.join(QLatin1Char(' ')), QStringLiteral("name Help Next Cancel name"));
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Backtab);
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Backtab);
        QCOMPARE(focusName(dialog), QStringLiteral("Cancel"));

        QStringList names;
        collectNames(QAccessible::queryAccessibleInterface(sceneOf(dialog)), &names);
        QCOMPARE(names.join(QLatin1Char(' ')), QStringLiteral("Changed Changed Name Help Back Next Cancel"));

        // The scene's button follows the action and triggers it.
        QVERIFY(!itemOf(dialog, "Finish")->isVisible());
        const QPointF next = itemOf(dialog, "Next")->mapToScene(QPointF(5, 5));
        QTest::mouseClick(sceneOf(dialog), Qt::LeftButton, {}, next.toPoint());
        QCOMPARE(model.currentPageId(), 2);

        // An ordinary widget, above the scene.
        QTRY_VERIFY(dialog.findChild<QLineEdit *>(QStringLiteral("first")));
        auto *first = dialog.findChild<QLineEdit *>(QStringLiteral("first"));
        QTRY_VERIFY(first->isVisible() && first->hasFocus());
        round.clear();
        for (int i = 0; i < 7; ++i) {
            round << focusName(dialog);
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        }
        QCOMPARE(round.join(QLatin1Char(' ')), QStringLiteral("first second Help Back Next Cancel first"));
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Backtab);
        QCOMPARE(focusName(dialog), QStringLiteral("first"));
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Backtab);
        QCOMPARE(focusName(dialog), QStringLiteral("Cancel"));
        QTest::keyClicks(first, QStringLiteral("kept"));

        // A scene that cannot be loaded.
        dialog.wizardCtrl()->goNext();
        QTRY_VERIFY(itemOf(dialog, "errorTitle"));
        QVERIFY(log.count("Cannot assign to non-existent property"));
        QVERIFY(itemOf(dialog, "Finish")->isVisible());
        dialog.wizardCtrl()->goBack();
        QTRY_COMPARE(model.currentPageId(), 2);
        QTRY_VERIFY(first->isVisible());
        QCOMPARE(first->text(), QStringLiteral("kept"));
        model.setBusy(true);
        QVERIFY(itemOf(dialog, "busyLight")->isVisible());

        QSignalSpy finished(&model, &CAbstractWizardModel::finished);
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Escape);
        QCOMPARE(finished.value(0).value(0).toInt(), 2);
        QVERIFY(!dialog.isVisible());
    }

    /// Somebody who hears of a page before its face does deletes it, or the face. A fault is the sanitizer's.
    void deaths()
    {
        const std::function<QDialog *(CAbstractWizardModel &)> faces[] = {
            [](CAbstractWizardModel &model) -> QDialog * { return new CDeclarativeWizardDialog(model); },
            [](CAbstractWizardModel &model) -> QDialog * {
                return new CWizardDialog(model,
                                         [](CAbstractWizardPage &page) { return new QLabel(page.title()); });
            },
        };
        for (const auto &makeFace : faces) {
            for (const bool deletesFace : {false, true}) {
                FaceModel model;
                QPointer<QDialog> face;
                int heard = 0;
                connect(&model, &CAbstractWizardModel::currentPageChanged, this,
                        [&](CAbstractWizardPage *page) {
                            ++heard;
                            delete (deletesFace ? static_cast<QObject *>(face) : page);
                        });
                face = makeFace(model);
                face->show();
                QTRY_COMPARE(heard, 1);
                QCOMPARE(face.isNull(), deletesFace);
                QVERIFY(deletesFace || !model.currentPage());
                delete face;
            }
        }
    }

    /// A scene whose hosted widget is not its last stop, between other widgets.
    void amongOthers()
    {
        FaceModel model;
        QWidget window;
        auto *layout = new QVBoxLayout(&window);
        auto *before = new QLineEdit(&window);
        auto *view = new CContentView(&window);
        auto *after = new QLineEdit(&window);
        for (QWidget *widget :
             {static_cast<QWidget *>(before), static_cast<QWidget *>(view), static_cast<QWidget *>(after)})
            layout->addWidget(widget);
        CDeclarativeWizardContentProvider provider(view->contentArea(), model);
        provider.startWizard({}, GUI::ContentAnimationNone);
        window.show();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        QTRY_COMPARE(model.currentPageId(), 1);
        provider.wizardCtrl()->goNext();
        QTRY_VERIFY(window.findChild<QLineEdit *>(QStringLiteral("first")));
        QTRY_VERIFY(window.findChild<QLineEdit *>(QStringLiteral("first"))->hasFocus());

        const auto stops = [&](QWidget *from, Qt::Key key) {
            QStringList names;
            from->setFocus();
            do {
                QTest::keyClick(QApplication::focusWidget(), key);
                names << focusName(view);
            } while (QApplication::focusWidget() != before && QApplication::focusWidget() != after);
            return names.join(QLatin1Char(' '));
        };
        before->setObjectName(QStringLiteral("before"));
        after->setObjectName(QStringLiteral("after"));
        QCOMPARE(stops(before, Qt::Key_Tab), QStringLiteral("first second Help Back Next Cancel after"));
        QCOMPARE(stops(after, Qt::Key_Backtab), QStringLiteral("Cancel Next Back Help second first before"));
    }

    /// A watcher speaks later, and not at all once other content came.
    void watchers()
    {
        CContentView view;
        view.show();
        const auto show = [&](CContentInfo *info) {
            return view.contentArea()->setContent(info, GUI::ContentAnimationForward);
        };
        EventLog log;
        const CContentWatcher *stale
            = show(new CQmlContentInfo(QUrl(QStringLiteral("qrc:/qml/ContentError.qml"))));
        log.listen(stale, &CContentWatcher::contentLoaded, "stale");
        log.listen(stale, &CContentWatcher::contentFailed, "stale");
        const LogCapture errors;
        const CContentWatcher *watcher
            = show(new CQmlContentInfo(QUrl(QStringLiteral("http://localhost/x.qml"))));
        log.listen(watcher, &CContentWatcher::contentFailed, "failed");
        log.listen(watcher, &CContentWatcher::contentReady, "ready");
        QVERIFY(log.isEmpty());
        QTRY_VERIFY(log.contains(QStringLiteral("ready")));
        QCOMPARE(log.take(), QStringLiteral("failed, ready"));
        QVERIFY(errors.count("is no local scene"));
        show(nullptr);
        QVERIFY(!view.contentArea()->contentItem());
    }
};

KOV_TEST_MAIN(QApplication, tst_WizardFaces)
#include "tst_wizard_faces.moc"
