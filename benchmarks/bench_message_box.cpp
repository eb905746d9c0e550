// One message box beside KMessageBox and QMessageBox: built, shown and destroyed, with and without its first
// painting.

#include "gui/messages/box/CMessageBox.h"

#include <KMessageBox>

#include <QApplication>
#include <QCheckBox>
#include <QDialogButtonBox>
#include <QElapsedTimer>
#include <QMessageBox>
#include <QStyle>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <memory>
#include <vector>

namespace {

constexpr int rounds = 301;

struct Content
{
    const char *name;
    QString message;
    QString description;
    bool canBeHidden;
};

using Builder = std::function<std::unique_ptr<QDialog>(const Content &)>;

QPixmap icon()
{
    QStyle *style = QApplication::style();
    return style->standardIcon(QStyle::SP_MessageBoxWarning)
        .pixmap(style->pixelMetric(QStyle::PM_MessageBoxIconSize));
}

std::unique_ptr<QDialog> ours(const Content &content)
{
    auto box = std::make_unique<CMessageBox>();
    box->setTitle(QStringLiteral("Title"));
    box->setMessage(content.message);
    box->setDescription(content.description);
    box->setIcon(icon());
    box->setAllowHide(content.canBeHidden);
    box->setButtonsMap({{Messaging::Button1, {QStringLiteral("OK"), QMessageBox::AcceptRole}},
                        {Messaging::Button2, {QStringLiteral("Cancel"), QMessageBox::RejectRole}}});
    return box;
}

QString inOneText(const Content &content)
{
    return content.description.isEmpty()
               ? content.message
               : QStringLiteral("<p><b>%1</b></p><p>%2</p>").arg(content.message, content.description);
}

std::unique_ptr<QDialog> kde(const Content &content)
{
    auto box = std::make_unique<QDialog>();
    box->setWindowTitle(QStringLiteral("Title"));
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, box.get());
    bool hide = false;
    KMessageBox::createKMessageBox(
        box.get(), buttons, QMessageBox::Warning, inOneText(content), QStringList(),
        content.canBeHidden ? QStringLiteral("Do not ask again") : QString(), &hide, KMessageBox::NoExec);
    return box;
}

std::unique_ptr<QDialog> qt(const Content &content)
{
    auto box = std::make_unique<QMessageBox>(QMessageBox::Warning, QStringLiteral("Title"), content.message,
                                             QMessageBox::Ok | QMessageBox::Cancel);
    box->setInformativeText(content.description);
    if (content.canBeHidden)
        box->setCheckBox(new QCheckBox(QStringLiteral("Do not show this message again")));
    return box;
}

double showOnce(const Builder &build, const Content &content, bool paint)
{
    QElapsedTimer timer;
    timer.start();
    const std::unique_ptr<QDialog> box = build(content);
    box->show();
    if (paint) {
        QCoreApplication::processEvents();
        box->repaint();
    }
    const double microseconds = double(timer.nsecsElapsed()) / 1000;
    box->hide();
    QCoreApplication::processEvents();
    return microseconds;
}

double median(std::vector<double> &values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

void compare(const Content &content, bool paint)
{
    const Builder builders[] = {ours, kde, qt};
    std::vector<double> times[3];
    for (int round = 0; round < rounds; ++round) {
        for (int i = 0; i < 3; ++i)
            times[i].push_back(showOnce(builders[i], content, paint));
    }
    const double our = median(times[0]);
    const double peer = median(times[1]);
    std::printf("%-28s %-12s %8.0f us %8.0f us %8.0f us   %.2f x KMessageBox\n", content.name,
                paint ? "and painted" : "shown", our, peer, median(times[2]), our / peer);
}

} // namespace

int main(int argc, char *argv[])
{
    // Hints that no window manager takes are warned about, thousands of times.
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    const QString message = QStringLiteral("The update server cannot be reached.");
    const QString description = QStringLiteral("Check your network connection and try again.");
    const Content contents[] = {{"message", message, QString(), false},
                                {"message and description", message, description, false},
                                {"the same, may be hidden", message, description, true}};
    std::printf("medians of %d boxes on %s       CMessageBox  KMessageBox  QMessageBox\n", rounds,
                qUtf8Printable(QGuiApplication::platformName()));
    for (const Content &content : contents) {
        compare(content, false);
        compare(content, true);
    }
    return 0;
}
