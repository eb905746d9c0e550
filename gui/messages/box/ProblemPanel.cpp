#include "gui/messages/box/ProblemPanel_p.h"

#include "gui/log/Log.h"
#include "gui/log/LogText.h"
#include "gui/messages/box/HelpNotice_p.h"
#include "ui_ProblemPanel.h"

namespace {

QString &supportPageAddress()
{
    static QString address;
    return address;
}

QUrl solutionUrl(QString address, const QString &problemId)
{
    address.replace(QLatin1String("%1"), QString::fromLatin1(QUrl::toPercentEncoding(problemId)));
    return Help::localizedUrl(address);
}

} // namespace

ProblemPanel::ProblemPanel(QWidget *parent)
    : QWidget(parent)
    , m_ui(new Ui::ProblemPanel)
    , m_supportPage(supportPageAddress())
{
    m_ui->setupUi(this);
    m_ui->m_lblHelpMeSolve->setOptionsArea(m_ui->m_wSupportInfo);
    connect(m_ui->m_lblHelpMeSolve, &QToolButton::toggled, this, &ProblemPanel::extentChanged);
    connect(m_ui->m_lblProblemIDLink, &QLabel::linkActivated, this,
            [this](const QString &link) { HelpNotice::openWebPage(QUrl(link), window()); });
}

ProblemPanel::~ProblemPanel() = default;

bool ProblemPanel::setSupportPageAddress(const QString &address)
{
    const QUrl sample = solutionUrl(address, QStringLiteral("1"));
    if (!address.isEmpty() && !Help::isWebAddress(sample)) {
        KOV_LOG(0, "(!)Error: %s can't be the address of the support page",
                KovGui::logText(sample.toDisplayString(QUrl::RemoveUserInfo)).constData());
        return false;
    }
    supportPageAddress() = address;
    return true;
}

QString ProblemPanel::problemId() const
{
    return m_id;
}

void ProblemPanel::setProblemId(const QString &id)
{
    m_id = id;
    m_ui->m_lblProblemIDNumber->setText(id);
    m_ui->m_lblProblemIDNumber->setAccessibleName(plainText());
    setVisible(!id.isEmpty());
    if (id.isEmpty())
        return;

    const bool hasPage = !m_supportPage.isEmpty();
    m_ui->m_lblProblemIDLink->setVisible(hasPage);
    if (hasPage) {
        const QString link = solutionUrl(m_supportPage, id).toString(QUrl::FullyEncoded);
        m_ui->m_lblProblemIDLink->setText(
            tr("Check this <a href=\"%1\">solution</a>").arg(link.toHtmlEscaped()));
    }
    m_ui->m_lblSupportInfo->setText(
        hasPage ? tr("The solution page tells what causes this problem and what to do about it. "
                     "If it does not help, give the problem ID to the support team.")
                : tr("Give the problem ID to the support team."));
}

QString ProblemPanel::plainText() const
{
    return m_id.isEmpty() ? QString() : m_ui->m_lblProblemID->text() + QLatin1Char(' ') + m_id;
}
