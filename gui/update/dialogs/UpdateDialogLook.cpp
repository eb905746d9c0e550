#include "gui/update/dialogs/UpdateDialogLook_p.h"

#include "gui/frame/Application.h"
#include "gui/frame/LibraryVersion.h"
#include "gui/update/record/CProductUpdateInfo.h"

#include <QApplication>
#include <QIcon>
#include <QLabel>
#include <QLayout>
#include <QPushButton>
#include <QRegularExpression>
#include <QStyle>

namespace {

const int iconSize = 64;
const int smallestIconSize = 32;
const int modeWithShortVersions = 6;

QString shownVersion(const QString &version)
{
    if (int(KovGui::applicationMode()) != modeWithShortVersions)
        return version;
    static const QRegularExpression pattern(QStringLiteral("(\\d+\\.\\d+.\\d+)"));
    const QRegularExpressionMatch match = pattern.match(version);
    return match.hasMatch() ? match.captured(1) : version;
}

} // namespace

void UpdateDialogLook::showIcon(QLabel *label)
{
    QIcon icon = QApplication::windowIcon();
    if (icon.isNull())
        icon = label->style()->standardIcon(QStyle::SP_MessageBoxInformation, nullptr, label);
    const qreal ratio = label->devicePixelRatioF();
    QPixmap pixmap = icon.pixmap(QSize(iconSize, iconSize) * ratio);
    // Many a style has no larger picture than one of 32 points of an old screen.
    const int points = qBound(smallestIconSize, int(pixmap.width() / ratio), iconSize);
    if (pixmap.width() != qRound(points * ratio))
        pixmap = pixmap.scaledToWidth(qRound(points * ratio), Qt::SmoothTransformation);
    pixmap.setDevicePixelRatio(ratio);
    label->setPixmap(pixmap);
}

void UpdateDialogLook::keepButtonsWhole(QWidget *row)
{
    // The least width of the style sheet takes the place of the one that the caption asks for.
    const auto buttons = row->findChildren<QPushButton *>();
    for (const QPushButton *button : buttons)
        button->ensurePolished();
    row->layout()->invalidate();
    row->setMinimumWidth(row->layout()->sizeHint().width());
}

void UpdateDialogLook::explainSkip(QAbstractButton *button)
{
    const QString text = QCoreApplication::translate(
        "UpdateDialogLook",
        "This version is not offered again by itself. Looking for updates offers it, and newer ones are offered.");
    button->setToolTip(text);
    button->setAccessibleDescription(text);
}

QString UpdateDialogLook::windowTitle()
{
    return QCoreApplication::translate("UpdateDialogLook", "%1 Update").arg(KovGui::getAppGuiName());
}

QString UpdateDialogLook::versionOf(const CProductUpdateInfo &info)
{
    const QString version = info.getVersion();
    return shownVersion(version.isEmpty() ? CProductUpdateInfo::getVersionFromFileName(info.download.url)
                                          : version);
}

QString UpdateDialogLook::currentVersion()
{
    return shownVersion(QString::fromLatin1(LibraryVersion::text()));
}
