#include "gui/tasks/download/CDownloadProgressDialog.h"

#include "abstract_task/CAbstractTask.h"
#include "gui/frame/Application.h"
#include "gui/tasks/progress/FormatUtils.h"
#include "ui_CDownloadProgressDialog.h"

#include <QEvent>
#include <QHash>
#include <QPointer>
#include <QTimer>

#include <algorithm>

namespace {

constexpr int updateInterval = 100;
constexpr int widthInCharacters = 60;

/// A name from an address may hold marks that show "exe.txt" for "txt.exe".
QString withoutFormatMarks(QString text)
{
    const auto end = std::remove_if(text.begin(), text.end(),
                                    [](QChar c) { return c.category() == QChar::Other_Format; });
    text.truncate(int(end - text.begin()));
    return text;
}

/// @param seconds  0 or less: not known
QString rateText(qint64 bytesPerSecond, qint64 seconds)
{
    const QString rate
        = CDownloadProgressDialog::tr("%1 per second").arg(FormatUtils::dataSize(bytesPerSecond));
    if (seconds <= 0)
        return rate;
    return CDownloadProgressDialog::tr("%1, %2 left", "1: rate, 2: duration")
        .arg(rate, FormatUtils::duration(seconds, FormatUtils::LongForm));
}

} // namespace

class CDownloadProgressDialog::Private
{
public:
    QString amounts() const;
    QString rate() const;
    void setText(QLabel *label, const QString &text);
    void elide(QLabel *label) const;
    void showProgress(bool isBusy);
    void fitToFont(CDownloadProgressDialog *dialog);
    void align(Qt::LayoutDirection direction);
    /// Only that something goes on is known, not how far it is.
    bool isBusy() const
    {
        return data.fileSize <= 0 || (!status.isEmpty() && (!keepsAmounts || data.downloadedBytes <= 0));
    }
    bool isPaused() const { return operation && operation->isPaused(); }

    Ui::CDownloadProgressDialog ui;
    DownloadProgressData data;
    QPointer<const CAbstractTask> operation;
    QString status;
    bool keepsAmounts = false;
    /// As they are without the cut.
    QHash<QLabel *, QString> texts;
    QTimer *timer = nullptr;
};

QString CDownloadProgressDialog::Private::amounts() const
{
    if (data.fileSize > 0) {
        return CDownloadProgressDialog::tr("%1 of %2")
            .arg(FormatUtils::dataSize(data.downloadedBytes), FormatUtils::dataSize(data.fileSize));
    }
    return data.downloadedBytes > 0 ? FormatUtils::dataSize(data.downloadedBytes)
                                    : CDownloadProgressDialog::tr("Connecting...");
}

QString CDownloadProgressDialog::Private::rate() const
{
    if (isPaused() || !status.isEmpty() || data.downloadingRate <= 0)
        return QString();
    return rateText(data.downloadingRate, data.estimatedTime);
}

void CDownloadProgressDialog::Private::setText(QLabel *label, const QString &text)
{
    texts.insert(label, text);
    elide(label);
}

void CDownloadProgressDialog::Private::elide(QLabel *label) const
{
    const QString text = texts.value(label);
    const QString shown = label->fontMetrics().elidedText(text, Qt::ElideMiddle, label->width());
    label->setText(shown);
    label->setAccessibleName(text);
    // As rich text: a tool tip that looks like markup would be shown as such.
    label->setToolTip(shown == text ? QString() : QStringLiteral("<p>%1</p>").arg(text.toHtmlEscaped()));
}

void CDownloadProgressDialog::Private::showProgress(bool isBusy)
{
    ui.m_pbProgress->setRange(0, isBusy ? 0 : 100);
    ui.m_pbProgress->setValue(isBusy ? 0 : qBound(0, data.progress, 100));
}

void CDownloadProgressDialog::Private::fitToFont(CDownloadProgressDialog *dialog)
{
    const QFontMetrics metrics = dialog->fontMetrics();
    const QMargins margins = dialog->layout()->contentsMargins();
    // In some languages about the longest rate needs more room than a name does.
    const int longestRate = metrics.horizontalAdvance(rateText(888888888, 23 * 3600 + 59 * 60));
    dialog->setMinimumWidth(std::max(metrics.averageCharWidth() * widthInCharacters,
                                     longestRate + margins.left() + margins.right()));
    // The button changes its text; the one beside it stays where it is.
    int width = 0;
    const QString text = ui.m_pbPauseResume->text();
    ui.m_pbPauseResume->setMinimumWidth(0);
    for (const QString &each :
         {CDownloadProgressDialog::tr("&Pause"), CDownloadProgressDialog::tr("&Resume")}) {
        ui.m_pbPauseResume->setText(each);
        width = std::max(width, ui.m_pbPauseResume->sizeHint().width());
    }
    ui.m_pbPauseResume->setText(text);
    ui.m_pbPauseResume->setMinimumWidth(width);
}

void CDownloadProgressDialog::Private::align(Qt::LayoutDirection direction)
{
    // Else each label would follow its own text: a Latin name at the left, a translated line at the right.
    const Qt::Alignment side = direction == Qt::RightToLeft ? Qt::AlignRight : Qt::AlignLeft;
    for (QLabel *label : {ui.m_lblFileName, ui.m_lblProgress, ui.m_lblRate})
        label->setAlignment(side | Qt::AlignAbsolute | Qt::AlignVCenter);
}

CDownloadProgressDialog::CDownloadProgressDialog(const DownloadProgressData &data, QWidget *parent)
    : CBaseDialog(parent)
    , d(new Private)
{
    d->ui.setupUi(this);
    d->data = data;
    d->status = tr("Preparing...");
    d->timer = new QTimer(this);
    d->timer->setObjectName(QStringLiteral("updateTimer"));
    d->timer->setSingleShot(true);
    d->timer->setInterval(updateInterval);
    connect(d->timer, &QTimer::timeout, this, &CDownloadProgressDialog::update);
    connect(d->ui.m_pbPauseResume, &QPushButton::clicked, this, &CDownloadProgressDialog::pauseResumeClicked);
    for (QLabel *label : {d->ui.m_lblFileName, d->ui.m_lblProgress, d->ui.m_lblRate})
        label->installEventFilter(this);
    d->fitToFont(this);
    d->align(layoutDirection());
    update();
    adjustSize();
}

CDownloadProgressDialog::~CDownloadProgressDialog() = default;

void CDownloadProgressDialog::setFileName(const QString &name)
{
    d->setText(d->ui.m_lblFileName, withoutFormatMarks(name));
}

void CDownloadProgressDialog::setOperation(const CAbstractTask *operation)
{
    if (d->operation)
        disconnect(d->operation, nullptr, this, nullptr);
    d->operation = operation;
    if (operation)
        connect(operation, &CAbstractTask::pausedChanged, this, &CDownloadProgressDialog::update);
    update();
}

void CDownloadProgressDialog::setStatusText(const QString &text, bool keepsAmounts)
{
    if (text == d->status && keepsAmounts == d->keepsAmounts)
        return;
    d->status = text;
    d->keepsAmounts = keepsAmounts;
    update();
}

QString CDownloadProgressDialog::statusText() const
{
    return d->status;
}

void CDownloadProgressDialog::onDownloadProgressDataReceived(const DownloadProgressData &data)
{
    d->data = data;
    if (!d->timer->isActive())
        d->timer->start();
}

void CDownloadProgressDialog::update()
{
    d->timer->stop();
    const bool isPaused = d->isPaused();
    const bool isBusy = d->isBusy();
    QString text = d->status.isEmpty() ? d->amounts() : d->status;
    if (!d->status.isEmpty() && !isBusy)
        text = tr("%1 (%2)", "1: what goes on, 2: amounts").arg(text, d->amounts());
    text = withoutFormatMarks(text);
    d->setText(d->ui.m_lblProgress, isPaused ? text + tr(" - stopped") : text);
    d->setText(d->ui.m_lblRate, d->rate());
    d->showProgress(!isPaused && isBusy);
    const QString appName = KovGui::getAppGuiName();
    setWindowTitle(isBusy ? tr("%1: downloading").arg(appName)
                          : tr("%2 % of %1 downloaded", "1: application, 2: number")
                                .arg(appName, QString::number(qBound(0, d->data.progress, 100))));
    d->ui.m_pbPauseResume->setText(isPaused ? tr("&Resume") : tr("&Pause"));
    d->ui.m_pbPauseResume->setAccessibleName(isPaused ? tr("Resume the download") : tr("Pause the download"));
    d->ui.m_pbCancel->setAccessibleName(tr("Cancel the download"));
}

bool CDownloadProgressDialog::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Resize) {
        if (auto *label = qobject_cast<QLabel *>(watched))
            d->elide(label);
    }
    return CBaseDialog::eventFilter(watched, event);
}

void CDownloadProgressDialog::changeEvent(QEvent *event)
{
    CBaseDialog::changeEvent(event);
    if (!d || !d->timer)
        return;
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange)
        d->fitToFont(this);
    if (event->type() == QEvent::LayoutDirectionChange)
        d->align(layoutDirection());
}
