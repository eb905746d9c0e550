#include "gui/KovGui.h"
#include "gui/help/Help.h"
#include "gui/update/dialogs/CConfirmUpdateInstallationDialog.h"
#include "gui/update/dialogs/CUpdateDialog.h"
#include "gui/update/dialogs/ReleaseNotes_p.h"
#include "gui/update/record/CProductUpdateInfo.h"
#include "tests/support/KovTest.h"
#include "tests/support/LogCapture.h"
#include "tests/support/OffscreenPlatform.h"

#include <QImage>
#include <QLabel>
#include <QPushButton>
#include <QTextBrowser>

namespace {

/// Makes every text longer than any language does.
class LongWords : public QTranslator
{
public:
    QString translate(const char *, const char *text, const char *, int) const override
    {
        return QString::fromUtf8(text) + " - und das ist noch nicht alles";
    }
    bool isEmpty() const override { return false; }
};

QString textOf(const QDialog &dialog, const char *label)
{
    return dialog.findChild<QLabel *>(QLatin1String(label))->text();
}

QStringList shownButtons(const QDialog &dialog)
{
    QStringList texts;
    for (const char *name : {"m_pbSkipVersion", "m_pbCancel", "m_pbPostpone", "m_pbInstall", "m_pbOk"}) {
        const auto *button = dialog.findChild<QPushButton *>(QLatin1String(name));
        if (button && !button->isHidden())
            texts << button->text();
    }
    return texts;
}

} // namespace

/// Runs once in mode 0 and once in mode 6, which shortens versions.
class tst_UpdateDialogs : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        ignoreOffscreenWarnings();
        m_mode = qEnvironmentVariableIntValue("KOV_TEST_APPLICATION_MODE");
        KovGui::init(_KOV_APPLICATION_MODE(m_mode));
        KovGui::setAppGuiName("Ap%1p");
        m_info.transactionId = "-3.1.5-31502";
        m_info.updateDescription = "Better.\nFaster.";
    }
    void modes_data()
    {
        Table<int, QStringList> row;
        const QString skip = "Skip This Version";
        const QString later = "Remind Me Later";
        row("download", 0, QStringList{skip, later, "Download Update"});
        row("install", 1, QStringList{skip, later, "Install Update"});
        row("both", 2, QStringList{"Download and Install Update"});
        row("done", 3, QStringList{"OK"});
    }

    void modes()
    {
        const auto [mode, buttons] = cells<int, QStringList>();
        CUpdateDialog dialog{CUpdateDialog::ConfirmationMode(mode)};
        QVERIFY(!textOf(dialog, "m_lbDescription").contains("${"));
        QVERIFY(dialog.findChild<QTextBrowser *>("m_txtDescription")->isHidden());
        dialog.setNotificationFor(m_info);
        QCOMPARE(shownButtons(dialog), buttons);
        QCOMPARE(dialog.windowTitle(), "Ap%1p Update");
        const QString description = textOf(dialog, "m_lbDescription");
        QVERIFY(description.contains("Ap%1p") && description.contains(' ' + shown("3.1.5-31502")));
        QCOMPARE(description.contains("31502"), m_mode != 6);
        auto *notes = dialog.findChild<QTextBrowser *>("m_txtDescription");
        QVERIFY(!notes->isHidden() && notes->toPlainText() == m_info.updateDescription);
        // A record whose id tells no version.
        CProductUpdateInfo unnamed;
        unnamed.download.url = "http://h/Setup-4.5.6.7.run";
        dialog.setNotificationFor(unnamed);
        QVERIFY(textOf(dialog, "m_lbDescription").contains(shown("4.5.6-7")) && notes->isHidden());
    }

    void answers()
    {
        const QVector<QPair<const char *, int>> clicks{
            {"m_pbInstall", 2}, {"m_pbPostpone", 3}, {"m_pbSkipVersion", 4}, {"m_pbCancel", 4}, {"", 0}};
        for (const auto &click : clicks) {
            CUpdateDialog update(CUpdateDialog::Download);
            CConfirmUpdateInstallationDialog confirm;
            for (QDialog *dialog : QList<QDialog *>{&update, &confirm}) {
                QSignalSpy finished(dialog, &QDialog::finished);
                dialog->show();
                QVERIFY(dialog->findChild<QPushButton *>("m_pbInstall")->isDefault());
                auto *button = dialog->findChild<QPushButton *>(QLatin1String(click.first));
                // It is for good, which its caption does not say.
                const bool skips = button && click.second == CUpdateDialog::Skip;
                QVERIFY(!skips || button->toolTip().contains("not offered again"));
                QVERIFY(!skips || button->accessibleDescription() == button->toolTip());
                if (*click.first == 0)
                    QTest::keyClick(dialog, Qt::Key_Escape);
                else if (button)
                    button->click();
                else
                    continue;
                QCOMPARE(finished.size(), 1);
                QCOMPARE(finished.first().first().toInt(), click.second);
            }
        }
    }

    void longTextsAreNotCut()
    {
        LongWords words;
        qApp->installTranslator(&words);
        for (const Qt::LayoutDirection direction : {Qt::LeftToRight, Qt::RightToLeft}) {
            CUpdateDialog update(CUpdateDialog::Download);
            CConfirmUpdateInstallationDialog confirm;
            for (QDialog *dialog : QList<QDialog *>{&update, &confirm}) {
                dialog->setLayoutDirection(direction);
                dialog->resize(1, 1);
                dialog->show();
                QCoreApplication::processEvents();
                for (const auto *button : dialog->findChildren<QPushButton *>())
                    QVERIFY2(button->isHidden() || button->width() >= button->sizeHint().width(),
                             qPrintable(button->objectName()));
                for (const auto *label : dialog->findChildren<QLabel *>())
                    QVERIFY2(label->isHidden() || label->height() >= label->heightForWidth(label->width()),
                             qPrintable(label->objectName()));
            }
        }
        qApp->removeTranslator(&words);
    }

    void notes_data()
    {
        Table<QString, QString> row;
        row("none", " \n", "");
        row("plain", "a < b & c\r\nd", "<div style=\"white-space:pre-wrap\">a &lt; b &amp; c<br>d</div>");
        row("unknown tags alone are plain", "vector<int>",
            "<div style=\"white-space:pre-wrap\">vector&lt;int&gt;</div>");
        row("simple", "<P class=x>a<BR/>b <strong>c</strong></P>\n<ul><li>d</ul>",
            "<p>a<br>b <b>c</b></p>\n<ul><li>d</li></ul>");
        row("lines of the source count without breaks", "<b>a</b>\nb", "<b>a</b><br>b");
        row("pictures and styles are dropped",
            "<style>@import url(file:///x)</style><body background=file:///x><img src='file:///x'><p "
            "style='x'>a<!-- b -->"
            "<table width=1e9><link href=x><object data=x></p>",
            "<p>a</p>");
        row("a script is dropped with its text", "<i>a</i><script>if (a<b) x()</script>b", "<i>a</i>b");
        row("links to web pages", "<a title=x href='https://h/?a=1&amp;b=%22'>a</a>",
            "<a href=\"https://h/?a=1&amp;b=%22\">a</a>");
        row("no other links",
            "<a href=file:///x>a</a><a href='javascript:x'>b</a><a href=https://me:pw@h/>c</a>", "abc");
        row("character references", "<b>&lt;img&gt; &#228; &bogus; &</b>",
            "<b>&lt;img&gt; &#228; &amp;bogus; &amp;</b>");
        row("badly nested", "<b><i>a</b>c</i></ul>", "<b><i>a</i></b>c");
        row("half a tag", "<b>a</b><img src=file:///x", "<b>a</b>&lt;img src=file:///x");
    }

    void notes()
    {
        const auto [notes, html] = cells<QString, QString>();
        QCOMPARE(ReleaseNotes::toHtml(notes), html);
        const QString deep = ReleaseNotes::toHtml(QString("<ul>").repeated(2000) + notes);
        QVERIFY(deep.count("<ul>") < 20);
    }

    void notesLoadNothingAndOpenWebPagesOnly()
    {
        QTemporaryDir directory;
        const QUrl picture = QUrl::fromLocalFile(directory.filePath("x.png"));
        QVERIFY(QImage(9, 9, QImage::Format_RGB32).save(picture.toLocalFile()));
        CUpdateDialog dialog(CUpdateDialog::Download);
        dialog.setNotificationFor(m_info);
        auto *view = dialog.findChild<QTextBrowser *>("m_txtDescription");
        // What slipped through would still find nothing.
        QCOMPARE(view->document()->resource(QTextDocument::ImageResource, picture).value<QImage>().width(),
                 1);
        QVERIFY(view->document()
                    ->resource(QTextDocument::StyleSheetResource, picture)
                    .toByteArray()
                    .trimmed()
                    .isEmpty());

        QList<QUrl> opened;
        Help::setUrlOpener([&opened](const QUrl &url) {
            opened << url;
            return true;
        });
        const LogCapture log;
        const QUrl page("https://www.tessarine.example/new");
        for (const QUrl &url : {picture, QUrl("javascript:x"), page})
            QVERIFY(QMetaObject::invokeMethod(view, "anchorClicked", Q_ARG(QUrl, url)));
        Help::setUrlOpener(nullptr);
        QCOMPARE(opened, QList<QUrl>{page});
        QCOMPARE(view->source(), QUrl());
    }

private:
    QString shown(const char *version) const
    {
        const QString text = QString::fromLatin1(version);
        return m_mode == 6 ? text.section('-', 0, 0) : text;
    }

    int m_mode = 0;
    CProductUpdateInfo m_info;
};

KOV_TEST_MAIN(QApplication, tst_UpdateDialogs)
#include "tst_update_dialogs.moc"
