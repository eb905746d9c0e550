#include "examples/console/pages/NetworkPage.h"
#include "examples/console/pages/ReportsPage.h"
#include "examples/console/tour/Tour_p.h"
#include "gui/problem_report/browser/CProblemReportBrowserDialog.h"
#include "gui/problem_report/dialog/CTessarineProblemReportDialog.h"
#include "kov_sdk/KovTypes.h"

#include <QLabel>
#include <QPlainTextEdit>
#include <QProcess>
#include <QPushButton>
#include <QTreeWidget>

namespace {

template <typename Dialog>
Dialog *open()
{
    return qobject_cast<Dialog *>(Tour::visibleWindow(Dialog::staticMetaObject.className()));
}

bool isReady()
{
    const auto *dialog = open<CTessarineProblemReportDialog>();
    const auto *button = dialog ? dialog->findChild<QPushButton *>(QStringLiteral("m_pbSend")) : nullptr;
    return button && button->isEnabled();
}

QTreeWidgetItem *part(const QString &source)
{
    auto *browser = open<CProblemReportBrowserDialog>();
    auto *tree = browser ? browser->findChild<QTreeWidget *>(QStringLiteral("m_treeSectionsList")) : nullptr;
    if (!tree)
        return nullptr;
    for (QTreeWidgetItemIterator it(tree); *it; ++it) {
        if ((*it)->data(0, Qt::UserRole + 1).toString() == source)
            return *it;
    }
    return nullptr;
}

bool choose(const QString &source)
{
    QTreeWidgetItem *const item = part(source);
    if (item)
        item->treeWidget()->setCurrentItem(item);
    return item;
}

QString shownText()
{
    auto *browser = open<CProblemReportBrowserDialog>();
    const auto *view
        = browser ? browser->findChild<QPlainTextEdit *>(QStringLiteral("m_textFileView")) : nullptr;
    return view ? view->toPlainText() : QString();
}

/// The names of the files in an archive, by the system's own tool.
QString filesOf(const QString &archive)
{
    QProcess tar;
    tar.start(QStringLiteral("tar"), {QStringLiteral("-tzf"), archive});
    tar.waitForFinished();
    return QString::fromUtf8(tar.readAllStandardOutput()).simplified();
}

} // namespace

bool Tour::sendReport(const QString &description)
{
    ReportsPage *page = m_window->reports();
    ask([&description] {
        if (auto *dialog = open<CTessarineProblemReportDialog>())
            dialog->findChild<QPlainTextEdit *>(QStringLiteral("textEditDetails"))->setPlainText(description);
    });
    const QString before = ask([page] { return page->deliveredId(); });
    press(ask([] { return Tour::visibleWindow("CTessarineProblemReportDialog"); }),
          QStringLiteral("m_pbSend"));
    return waitFor([page, before] { return page->deliveredId() != before; }, 30000);
}

void Tour::reportSteps()
{
    ReportsPage *page = m_window->reports();
    ask([this, page] {
        m_window->showPage(page);
        m_window->network()->setThroughProxy(true);
    });
    press(page, QStringLiteral("reportProblem"));
    bool ok = waitFor(isReady, 60000);
    step(QStringLiteral("a problem report"), ok,
         QStringLiteral("the service collected it from this computer"));
    ask([] {
        if (auto *dialog = open<CTessarineProblemReportDialog>())
            QMetaObject::invokeMethod(dialog, "onShowTechData");
    });
    ok = waitFor([] { return choose(QStringLiteral("HostInfo.xml")); })
         && ask([] { return shownText().contains(QStringLiteral("<KernelVersion>")); });
    step(QStringLiteral("its parts"), ok, QStringLiteral("every one can be read"));
    ok = waitFor([] { return choose(QStringLiteral("KovProblemReportHostScreen.png")); }) && waitFor([] {
             const auto *label = open<CProblemReportBrowserDialog>()->findChild<QLabel *>(
                 QStringLiteral("m_lblScreenShotView"));
             return label->pixmap(Qt::ReturnByValue).width() > 0;
         });
    step(QStringLiteral("its picture"), ok, QStringLiteral("the console's own window"));
    const auto canTakeOut = [] {
        auto *browser = open<CProblemReportBrowserDialog>();
        const auto *button
            = browser ? browser->findChild<QPushButton *>(QStringLiteral("m_pbTakeOut")) : nullptr;
        return button && button->isEnabled();
    };
    waitFor(canTakeOut, 30000);
    ask([] {
        choose(QStringLiteral("ClientInfo.xml"));
        if (QTreeWidgetItem *item = part(QStringLiteral("AllProcesses.txt")))
            item->setCheckState(0, Qt::Unchecked);
    });
    step(QStringLiteral("a part that stays here"),
         ask([] { return part(QStringLiteral("AllProcesses.txt")); }),
         QStringLiteral("the list of programs is taken out; names are marked"));
    press("CProblemReportBrowserDialog", "m_pbTakeOut");
    const bool takenOut = waitFor(
        [] {
            auto *browser = open<CProblemReportBrowserDialog>();
            const auto *label
                = browser ? browser->findChild<QLabel *>(QStringLiteral("m_lblPersonal")) : nullptr;
            return label && label->text().startsWith(QStringLiteral("No part"));
        },
        60000);
    step(QStringLiteral("names taken out"), takenOut, QStringLiteral("no part tells who this is"));
    ask([] { open<CProblemReportBrowserDialog>()->close(); });
    if (ReportServer::isInstalled())
        sendingSteps();
    else
        leaveOut(QStringLiteral("sending reports"),
                 QStringLiteral("this installation has no report service"));
    ask([this] {
        if (auto *dialog = open<CTessarineProblemReportDialog>())
            dialog->close();
        m_window->network()->setThroughProxy(false);
    });
}

void Tour::sendingSteps()
{
    ReportsPage *page = m_window->reports();
    const auto lastEvent = [this, page] { return ask([page] { return page->lastEvent(); }); };
    bool ok = sendReport(QStringLiteral("I looked at the <b>sample</b> machine."));
    const QString archive = ask([page] { return page->server()->archiveOf(page->deliveredId()); });
    const QString files = filesOf(archive);
    step(QStringLiteral("it is sent through the proxy"),
         ok && files.contains(QStringLiteral("HostInfo.xml"))
             && !files.contains(QStringLiteral("AllProcesses.txt")),
         QStringLiteral("%1: %2").arg(lastEvent(), files));
    messageText(KOV_PROBLEM_REPORT_SENT);
    answer(KOV_PROBLEM_REPORT_SENT, 1);
    waitFor([] { return !open<CTessarineProblemReportDialog>(); });

    ask([page] { page->setManner(ReportServer::Manner::SendsElsewhere); });
    press(page, QStringLiteral("reportProblem"));
    waitFor(isReady, 60000);
    press(ask([] { return Tour::visibleWindow("CTessarineProblemReportDialog"); }),
          QStringLiteral("m_pbSend"));
    const QString text = messageText(KOV_ERR_FAILURE);
    step(QStringLiteral("a redirect is refused"),
         !text.isEmpty() && ask([page] { return page->keptReports(); }) == 1, text);
    answer(KOV_ERR_FAILURE, 1);
    ask([] { open<CTessarineProblemReportDialog>()->close(); });
    waitFor([] { return !open<CTessarineProblemReportDialog>(); });
    ask([page] { page->setManner(ReportServer::Manner::Takes); });
    press(page, QStringLiteral("sendAgain"));
    ok = waitFor([page] { return page->keptReports() == 0; }, 30000);
    step(QStringLiteral("the kept report is sent"), ok, lastEvent());

    press(page, QStringLiteral("crashAnother"));
    waitFor([page] { return page->lastEvent().startsWith(QStringLiteral("Another")); }, 30000);
    press(page, QStringLiteral("reportCrash"));
    ok = waitFor(isReady);
    step(QStringLiteral("a crash"), ok, lastEvent());
    ok = ok && sendReport(QStringLiteral("I pressed a button."));
    step(QStringLiteral("the crash report is sent"), ok, lastEvent());
    messageText(KOV_PROBLEM_REPORT_SENT);
    answer(KOV_PROBLEM_REPORT_SENT, 1);
}
