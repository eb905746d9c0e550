#include "gui/messages/box/CMessageBox_p.h"

#include "gui/log/Log.h"
#include "gui/log/LogText.h"
#include "gui/messages/box/CDetailsDialog.h"
#include "gui/messages/box/HelpNotice_p.h"
#include "gui/messages/box/MessageCountdown_p.h"
#include "gui/messages/box/ProblemPanel_p.h"
#include "gui/messages/record/MessageText_p.h"

#include <QScreen>
#include <QTextDocumentFragment>

using Messaging::ButtonID;

namespace {

/// The texts' width, in average characters: short ones keep the box in shape, long ones stay readable.
constexpr int leastColumns = 38;
constexpr int mostColumns = 72;
/// What is laid out of a text, in characters: the time for one word grows with the square of its length.
constexpr int longestText = 5000;

QString toPlainText(const QString &text)
{
    return QTextDocumentFragment::fromHtml(MessageText::asRichText(text)).toPlainText();
}

bool isCut(const QString &text)
{
    return text.size() > longestText;
}

QString laidOut(const QString &text)
{
    if (!isCut(text))
        return MessageText::asRichText(text);
    return MessageText::toRichText(toPlainText(text).left(longestText)) + QChar(0x2026);
}

Ui::CMessageBox makeForm(CMessageBox *box)
{
    Ui::CMessageBox form;
    form.setupUi(box);
    return form;
}

} // namespace

CMessageBoxPrivate::CMessageBoxPrivate(CMessageBox *box)
    : q(box)
    , ui(makeForm(box))
    , buttons(ui.m_bbButtons, [this](ButtonID id) { processButtonClick(id); })
    , countdown(new MessageCountdown(box))
{
    tellOfLinks(ui.m_txtMessage);
    QObject::connect(ui.m_pbDetails, &QPushButton::clicked, box, [this] { openDetails(); });
    QObject::connect(ui.m_pbHelp, &QPushButton::clicked, box,
                     [this] { HelpNotice::openTopic(helpTopic, q); });
    QObject::connect(countdown, &MessageCountdown::ticked, box, [this] { showTexts(); });
    QObject::connect(countdown, &MessageCountdown::ranOut, box, [this] { answerByItself(); });
}

void CMessageBoxPrivate::tellOfLinks(const SafeTextView *text)
{
    QObject::connect(text, &QTextBrowser::anchorClicked, q,
                     [box = q](const QUrl &url) { Q_EMIT box->anchorClicked(box->getMessageUuid(), url); });
}

void CMessageBoxPrivate::makeInfo()
{
    info = new SafeTextView(q);
    info->setObjectName(QStringLiteral("m_txtInfo"));
    info->setAccessibleName(CMessageBox::tr("Description"));
    ui.m_layoutTexts->insertWidget(1, info);
    QWidget::setTabOrder(ui.m_txtMessage, info);
    tellOfLinks(info);
}

void CMessageBoxPrivate::makeProblemPanel()
{
    problem = new ProblemPanel(q);
    problem->setObjectName(QStringLiteral("m_wProblem"));
    ui.m_layoutTexts->insertWidget(ui.m_layoutTexts->indexOf(ui.m_ckbDoNotShowFlag), problem);
    QWidget *last = info ? info : ui.m_txtMessage;
    const auto parts = problem->findChildren<QWidget *>();
    for (QWidget *part : parts) {
        if (!(part->focusPolicy() & Qt::TabFocus))
            continue;
        QWidget::setTabOrder(last, part);
        last = part;
    }
    QObject::connect(problem, &ProblemPanel::extentChanged, q, [this] { shrinkToTexts(); });
}

void CMessageBoxPrivate::textsChanged()
{
    countdown->setTexts(message, description);
    showTexts();
    updateDetails();
    // Not at every tick of a countdown, which a screen reader would read out.
    if (q->isVisible())
        q->setAccessibleDescription(plainText());
}

void CMessageBoxPrivate::showTexts()
{
    ui.m_txtMessage->setMessageText(laidOut(countdown->filled(message)));
    if (!info && !description.isEmpty())
        makeInfo();
    if (info) {
        info->setMessageText(laidOut(countdown->filled(description)));
        info->setVisible(!description.isEmpty());
    }
    if (q->testAttribute(Qt::WA_WState_Polished))
        fitTexts();
}

void CMessageBoxPrivate::fitTexts()
{
    const int column = q->fontMetrics().averageCharWidth();
    const QSize screen = q->screen()->availableGeometry().size();
    const int limit = qMin(column * mostColumns, screen.width() / 2);
    const QSize first = ui.m_txtMessage->sizeWithin(limit);
    const QSize second = description.isEmpty() ? QSize() : info->sizeWithin(limit);
    const int width = qMax(qMin(column * leastColumns, limit), qMax(first.width(), second.width()));
    // On screen it only grows: a countdown must not make the box dance.
    m_textWidth = q->isVisible() ? qMax(width, m_textWidth) : width;
    ui.m_txtMessage->setPreferredSize(m_textWidth, first.height(), screen.height() / 4);
    if (!description.isEmpty())
        info->setPreferredSize(m_textWidth, second.height(), screen.height() * 4 / 10);
}

void CMessageBoxPrivate::shrinkToTexts()
{
    if (!q->isVisible())
        return;
    q->layout()->activate();
    q->resize(q->width(), q->sizeHint().height());
}

QString CMessageBoxPrivate::plainText() const
{
    QStringList texts{ui.m_txtMessage->toPlainText()};
    if (!description.isEmpty())
        texts.append(info->toPlainText());
    return texts.join(QLatin1Char('\n'));
}

void CMessageBoxPrivate::processButtonClick(ButtonID answer)
{
    // A slot that waits in an event loop of its own lets the user click again.
    if (m_answering)
        return;
    bool handled = false;
    if (!action.isEmpty()) {
        const QPointer<CMessageBox> guard(q);
        m_answering = true;
        const bool invoked = action.invokeForBool(&handled, answer, QPointer<QWidget>(q));
        if (!invoked)
            KOV_LOG(0, "ASSERT( %s ) occured in %s:%d [%s]", "invoked", "CMessageBox.cpp", __LINE__,
                    "CMessageBoxPrivate::processButtonClick");
        if (!guard)
            return;
        m_answering = false;
        handled = handled && invoked;
    }
    if (!handled)
        q->done(answer);
}

void CMessageBoxPrivate::updateDetails()
{
    const bool hasMore = isCut(message) || isCut(description);
    ui.m_pbDetails->setVisible(!details.isEmpty() || !detailsAction.isEmpty() || hasMore);
}

QString CMessageBoxPrivate::wholeDetails() const
{
    QStringList texts;
    for (const QString &text : {message, description}) {
        if (isCut(text))
            texts.append(toPlainText(text));
    }
    if (!details.isEmpty())
        texts.append(details);
    return texts.join(QLatin1String("\n\n"));
}

/// What a user sends to whoever can help.
QString CMessageBoxPrivate::everyText() const
{
    QStringList texts{q->windowTitle(), plainText()};
    texts << (problem ? problem->plainText() : QString()) << wholeDetails();
    texts.removeAll(QString());
    return texts.join(QLatin1String("\n\n"));
}

void CMessageBoxPrivate::openDetails()
{
    if (!detailsAction.isEmpty()) {
        if (!detailsAction.invoke())
            KOV_LOG(0, "(!)Error: can't run the details action %s",
                    KovGui::logText(detailsAction.name()).constData());
        return;
    }
    if (detailsDialog) {
        detailsDialog->raise();
        detailsDialog->activateWindow();
        return;
    }
    detailsDialog = new CDetailsDialog(wholeDetails(), q);
    detailsDialog->setAttribute(Qt::WA_DeleteOnClose);
    detailsDialog->open();
}

void CMessageBoxPrivate::viewChanged()
{
    if (view && view->parentWidget() == ui.m_wView)
        return;
    view.clear();
    ui.m_wView->hide();
}

void CMessageBoxPrivate::answerByItself()
{
    const ButtonID defaultButton = buttons.defaultAnswer();
    const bool secondOrThird = defaultButton == Messaging::Button2 || defaultButton == Messaging::Button3;
    processButtonClick(secondOrThird ? defaultButton : Messaging::Button1);
}
