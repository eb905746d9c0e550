// Next over many pages: the widget dialog beside QWizard and KAssistantDialog, alternating, medians of
// processor time. Every figure is of a thousand Nexts: a hundred wizards of ten pages, or one of a thousand.
#include "gui/wizard/model/CAbstractWizardModel.h"
#include "gui/wizard/model/CAbstractWizardPageFactory.h"
#include "gui/wizard/model/CAbstractWizardPageFlow.h"
#include "gui/wizard/model/CWizardController.h"
#include "gui/wizard/widgets/CWizardDialog.h"

#include <KAssistantDialog>
#include <QApplication>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>
#include <QWizard>
#include <QWizardPage>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <functional>
#include <vector>

namespace {

constexpr int rounds = 7;
constexpr int nexts = 1000;

QString text(int id)
{
    return QStringLiteral("Page %1").arg(id);
}

class Page : public CAbstractWizardPage
{
public:
    Page(CAbstractWizardModel &model, int id)
        : CAbstractWizardPage(model, id)
    {
        setTitle(text(id));
    }
};

class Factory : public CAbstractWizardPageFactory
{
    CAbstractWizardPage *createPage(int id, CAbstractWizardModel &model) override
    {
        return new Page(model, id);
    }
};

class Flow : public CAbstractWizardPageFlow
{
public:
    explicit Flow(int pages)
        : m_pages(pages)
    { }

protected:
    int getNextPageId(int id) const override { return id + 1 < m_pages ? id + 1 : -1; }

private:
    const int m_pages;
};

class Model : public CAbstractWizardModel
{
public:
    explicit Model(int pages)
    {
        setPageFactory(*new Factory);
        setPageFlow(*new Flow(pages));
    }
    using CAbstractWizardModel::restart;
};

/// Microseconds a Next, without the painting, which is the style's.
double walk(int pages, const std::function<void()> &next)
{
    const std::clock_t begin = std::clock();
    for (int i = 1; i < pages; ++i)
        next();
    return double(std::clock() - begin) * 1e6 / CLOCKS_PER_SEC / (pages - 1);
}

/// @return the first walk and one over pages that were shown before
std::pair<double, double> ours(int pages)
{
    Model model(pages);
    CWizardDialog dialog(model, [](CAbstractWizardPage &page) { return new QLabel(page.title()); });
    dialog.show();
    QCoreApplication::processEvents();
    const auto next = [&dialog] { dialog.button(QWizard::NextButton)->click(); };
    const double first = walk(pages, next);
    model.restart();
    QCoreApplication::processEvents();
    return {first, walk(pages, next)};
}

std::pair<double, double> qt(int pages)
{
    QWizard dialog;
    for (int i = 0; i < pages; ++i) {
        auto *page = new QWizardPage;
        page->setTitle(text(i));
        auto *layout = new QVBoxLayout(page);
        layout->addWidget(new QLabel(text(i), page));
        dialog.addPage(page);
    }
    dialog.show();
    QCoreApplication::processEvents();
    const auto next = [&dialog] { dialog.button(QWizard::NextButton)->click(); };
    const double first = walk(pages, next);
    dialog.restart();
    QCoreApplication::processEvents();
    return {first, walk(pages, next)};
}

std::pair<double, double> kde(int pages)
{
    KAssistantDialog dialog;
    KPageWidgetItem *start = nullptr;
    for (int i = 0; i < pages; ++i) {
        KPageWidgetItem *item = dialog.addPage(new QLabel(text(i)), text(i));
        if (!start)
            start = item;
    }
    dialog.show();
    QCoreApplication::processEvents();
    const auto next = [&dialog] { dialog.nextButton()->click(); };
    const double first = walk(pages, next);
    dialog.setCurrentPage(start);
    QCoreApplication::processEvents();
    return {first, walk(pages, next)};
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

} // namespace

int main(int argc, char *argv[])
{
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    std::printf("us a Next on %s, medians of %d; ours, KAssistantDialog, QWizard; ours : KAssistantDialog\n",
                qUtf8Printable(QGuiApplication::platformName()), rounds);
    const std::function<std::pair<double, double>(int)> contestants[] = {ours, kde, qt};
    for (const int pages : {10, 100, 1000}) {
        std::vector<double> first[3];
        std::vector<double> again[3];
        for (int round = 0; round < rounds; ++round) {
            for (int i = 0; i < 3; ++i) {
                std::pair<double, double> sum;
                for (int walked = 0; walked < nexts; walked += pages) {
                    const auto [made, shown] = contestants[i](pages);
                    sum.first += made;
                    sum.second += shown;
                }
                first[i].push_back(sum.first * pages / nexts);
                again[i].push_back(sum.second * pages / nexts);
            }
        }
        const auto line = [pages](const char *what, const std::vector<double> *times) {
            std::printf("%5d pages, %-20s %8.1f %8.1f %8.1f   %.2f\n", pages, what, median(times[0]),
                        median(times[1]), median(times[2]), median(times[0]) / median(times[1]));
        };
        line("for the first time", first);
        line("seen before", again);
        std::fflush(stdout);
    }
    return 0;
}
