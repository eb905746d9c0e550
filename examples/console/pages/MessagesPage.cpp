#include "examples/console/pages/MessagesPage.h"

#include "examples/console/sample/ConsoleMessages.h"
#include "gui/help/Help.h"
#include "gui/log/Log.h"
#include "gui/messages/CMessageManager.h"
#include "gui/messages/box/CMessageBox.h"
#include "gui/messages/record/MessageParams.h"
#include "gui/messages/record/MessageUtils.h"
#include "kov_sdk/KovSdk.h"

#include <QCheckBox>
#include <QComboBox>
#include <QCoreApplication>
#include <QFile>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QListWidget>
#include <QProgressBar>
#include <QPushButton>
#include <QTextDocument>
#include <QVBoxLayout>

using namespace ConsoleMessages;

namespace {

QString issuer()
{
    return QStringLiteral("{3f2a7d60-machine-1}");
}

/// The codes of a catalogue as it writes them, with their first texts.
QStringList entriesOf(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QStringList entries;
    const auto messages = QJsonDocument::fromJson(file.readAll())[QLatin1String("messages")].toArray();
    for (const auto &each : messages) {
        const QJsonObject message = each.toObject();
        const QJsonValue code = message.value(QLatin1String("code"));
        entries.append((code.isString() ? code.toString() : QString::number(code.toInt()))
                       + QLatin1String("  ") + message.value(QLatin1String("brief")).toString());
    }
    return entries;
}

/// What the message rules wrote to the log while it lived.
class Decisions
{
public:
    Decisions()
        : m_file(QString::fromUtf8(KovGui::logFilePath()))
        , m_before(m_file.size())
    { }
    QStringList take()
    {
        QStringList lines;
        if (!m_file.open(QIODevice::ReadOnly) || !m_file.seek(m_before))
            return lines;
        while (!m_file.atEnd()) {
            const QString line = QString::fromUtf8(m_file.readLine()).trimmed();
            // The record's head ends with the module and its process, between slashes.
            const int at = line.indexOf(QLatin1String("/ "), line.indexOf(QLatin1String("[MESSAGE_MNG]")));
            if (line.contains(QLatin1String("[MESSAGE_MNG]")) && at >= 0)
                lines.append(line.mid(at + 2));
        }
        return lines;
    }

private:
    QFile m_file;
    const qint64 m_before;
};

} // namespace

MessagesPage::MessagesPage(QWidget *parent)
    : ConsolePage(tr("Messages"), parent)
{
    m_list = createCodeList(
        {
            {tr("A question with three answers, of which Cancel is the default"), DeleteMachine},
            {tr("A question that need not be asked again"), SuspendOnQuit},
            {tr("An error with details, problem id and a solution"), MachineNotStarted},
            {tr("A warning with a link and an embedded view"), DiskAlmostFull},
            {tr("A countdown that answers by itself"), RestartSoon},
            {tr("An error of a machine"), NetworkLost},
        },
        [this](int code) { show(code); });
    m_list->setObjectName(QStringLiteral("messages"));
    m_list->setAccessibleName(tr("Messages to show"));

    const auto addButton = [this](const QString &text, const char *name, auto action) {
        auto *button = new QPushButton(text, area());
        button->setObjectName(QString::fromLatin1(name));
        connect(button, &QPushButton::clicked, this, action);
        return button;
    };
    auto *showButton = addButton(tr("&Show"), "showMessage", [this] { show(chosenCode(m_list)); });
    auto *repeat
        = addButton(tr("&Three Errors of One Machine"), "threeErrors", [this] { showFromOneMachine(); });
    repeat->setToolTip(tr("Two are equal: one of them is merged, the third waits until the first is closed"));
    auto *event = addButton(tr("&Ask Through an Event"), "askThroughEvent", [this] { askThroughEvent(); });
    event->setToolTip(tr("The service raises an event whose parameters are the answers"));
    m_restore = addButton(tr("Ask A&gain"), "restoreHidden", [this] {
        const int code = chosenCode(m_hidden);
        MessageUtils::restoreHiddenMessage(code);
        updateHidden();
        report(tr("Message %1 is shown again.").arg(MessageUtils::getProblemID(code)));
    });
    m_restoreAll = addButton(tr("Ask &All Again"), "restoreAllHidden", [this] {
        MessageUtils::restoreHiddenMessages();
        updateHidden();
        report(tr("Every hidden message is shown again."));
    });

    auto *block = new QCheckBox(tr("&Block messaging"), area());
    block->setObjectName(QStringLiteral("blockMessaging"));
    block->setToolTip(tr("New messages wait; questions that the user caused are shown all the same"));
    connect(block, &QCheckBox::toggled, CMessageManager::instance(), &CMessageManager::setMessagingBlocked);
    m_hiddenCount = new QLabel(area());
    m_hidden = new QListWidget(area());
    m_hidden->setObjectName(QStringLiteral("hiddenMessages"));
    m_hiddenCount->setBuddy(m_hidden);
    connect(m_hidden, &QListWidget::currentRowChanged, this,
            [this](int row) { m_restore->setEnabled(row >= 0); });

    auto *row = new QHBoxLayout;
    for (QWidget *widget : {static_cast<QWidget *>(showButton), static_cast<QWidget *>(repeat),
                            static_cast<QWidget *>(event), static_cast<QWidget *>(block)})
        row->addWidget(widget);
    row->addStretch();
    auto *hiddenButtons = new QVBoxLayout;
    hiddenButtons->addWidget(m_restore);
    hiddenButtons->addWidget(m_restoreAll);
    hiddenButtons->addStretch();
    auto *hiddenRow = new QHBoxLayout;
    hiddenRow->addWidget(m_hidden);
    hiddenRow->addLayout(hiddenButtons);

    auto *layout = new QVBoxLayout(area());
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_list);
    layout->addLayout(row);
    layout->addWidget(createAnyCodeRow());
    layout->addWidget(m_hiddenCount);
    layout->addLayout(hiddenRow);
    connect(CMessageManager::instance(), &CMessageManager::aboutToShowMessage, this,
            &MessagesPage::completeBox);
    updateHidden();
}

QWidget *MessagesPage::createAnyCodeRow()
{
    auto *widget = new QWidget(area());
    m_code = new QComboBox(widget);
    m_code->setObjectName(QStringLiteral("anyCode"));
    m_code->setEditable(true);
    m_code->setInsertPolicy(QComboBox::NoInsert);
    m_code->addItems(
        entriesOf(QCoreApplication::applicationDirPath() + QStringLiteral("/console_messages.json"))
        + entriesOf(QStringLiteral(":/kov_sdk/messages.json")));
    m_code->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    m_code->setMinimumContentsLength(24);
    auto *label = new QLabel(tr("Any &code"), widget);
    label->setBuddy(m_code);
    m_machine = new QComboBox(widget);
    m_machine->setObjectName(QStringLiteral("machine"));
    m_machine->addItem(tr("this machine"), issuer());
    m_machine->addItem(tr("another machine"), QStringLiteral("{3f2a7d60-machine-2}"));
    auto *machineLabel = new QLabel(tr("&of"), widget);
    machineLabel->setBuddy(m_machine);
    m_unasked = new QCheckBox(tr("Nobod&y asked"), widget);
    m_unasked->setObjectName(QStringLiteral("unasked"));
    m_unasked->setToolTip(tr("As the result of work in the background: it leaves the keyboard where it is"));
    auto *raise = new QPushButton(tr("Ra&ise"), widget);
    raise->setObjectName(QStringLiteral("raiseCode"));
    connect(raise, &QPushButton::clicked, this, &MessagesPage::raiseAnyCode);

    auto *row = new QHBoxLayout(widget);
    row->setContentsMargins(0, 0, 0, 0);
    row->addWidget(label);
    row->addWidget(m_code, 1);
    row->addWidget(machineLabel);
    row->addWidget(m_machine);
    row->addWidget(m_unasked);
    row->addWidget(raise);
    return widget;
}

void MessagesPage::raiseAnyCode()
{
    const QString text = m_code->currentText().section(QLatin1Char(' '), 0, 0);
    bool isNumber = false;
    const qint64 number = text.toLongLong(&isNumber, 0);
    if (!isNumber || number < INT_MIN || number > qint64(UINT_MAX)) {
        report(tr("“%1” is no code: give it in decimal, or in hexadecimal after 0x.").arg(text));
        return;
    }
    const int code = int(number);
    const QStringList names{tr("Web Server <test>"), tr("second"), tr("third")};
    MessageParams params(code, this);
    params.setIssuerId(m_machine->currentData().toString())
        .setShortMsgParams(names)
        .setLongMsgParams(names)
        .setAskedFor(!m_unasked->isChecked())
        .setAnchorClickSlot(CSlotInfo(this, "1onLinkClicked(QUrl)"))
        .setCloseMsgSlot(CSlotInfo(this, "1onMessageClosed(KOV_RESULT,Messaging::ButtonID,QVariant)", code));
    Decisions decisions;
    const int result = CMessageManager::instance()->showMessageBox(params);
    const auto lines = decisions.take();
    for (const QString &line : lines)
        report(tr("The rules: %1").arg(line));
    if (result == 0)
        report(tr("Message %1 is shown.").arg(MessageUtils::getProblemID(code)));
    updateHidden();
}

void MessagesPage::completeBox(const Messaging::MessageData &data, QWidget *, CMessageBoxWndBase *window)
{
    // What only the application knows goes into the box just before it is shown.
    auto *box = qobject_cast<CMessageBox *>(window);
    if (!box)
        return;
    if (data.code == MachineNotStarted)
        box->setDetails(
            tr("Memory wanted: 8,192 MB\nMemory free: 5,204 MB\nLargest programs: browser (2,310 MB), "
               "mail (1,120 MB)"));
    if (data.code == DiskAlmostFull) {
        auto *use = new QProgressBar;
        use->setAccessibleName(tr("Disk space in use"));
        use->setFormat(tr("%p % of the disk is in use"));
        use->setValue(97);
        box->embedView(use);
    }
}

void MessagesPage::show(int code)
{
    const CSlotInfo closed(this, "1onMessageClosed(KOV_RESULT,Messaging::ButtonID,QVariant)", code);
    MessageParams params(code, this);
    params.setIssuerId(issuer());
    const QStringList machine{tr("Web Server <test>")};
    params.setShortMsgParams(machine).setLongMsgParams(machine).setAnchorClickSlot(
        CSlotInfo(this, "1onLinkClicked(QUrl)"));
    // A question without a close slot is answered before the call returns.
    if (code != DeleteMachine)
        params.setCloseMsgSlot(closed);
    const int result = CMessageManager::instance()->showMessageBox(params);
    if (code == DeleteMachine)
        report(tr("Message %1: answer %2.").arg(code).arg(result));
    else if (result == -1)
        report(tr("Message %1 is not shown now.").arg(MessageUtils::getProblemID(code)));
    updateHidden();
}

void MessagesPage::showFromOneMachine()
{
    for (const QString &network : {tr("Office"), tr("Office"), tr("Laboratory")}) {
        MessageParams params(NetworkLost, this);
        params.setIssuerId(issuer()).setShortMsgParams({network}).setLongMsgParams({network}).setCloseMsgSlot(
            CSlotInfo(this, "1onMessageClosed(KOV_RESULT,Messaging::ButtonID,QVariant)", network));
        const int result = CMessageManager::instance()->showMessageBox(params);
        report(result == -1 ? tr("%1: merged or queued.").arg(network) : tr("%1: shown.").arg(network));
    }
}

void MessagesPage::askThroughEvent()
{
    t_SdkHandleWrap event;
    KovService_CreateEvent(DeleteMachine, issuer().toUtf8().constData(), event.out());
    KovService_AddStringParam(event, "machine", tr("Web Server").toUtf8().constData());
    CMessageManager::instance()->showMessageBox(
        event, issuer(), this,
        CSlotInfo(this, "1onMessageClosed(KOV_RESULT,Messaging::ButtonID,QVariant)",
                  QVariant(DeleteMachine)));
}

void MessagesPage::onMessageClosed(KOV_RESULT code, Messaging::ButtonID answer, const QVariant &)
{
    report(tr("Message %1 closed: answer %2.").arg(MessageUtils::getProblemID(code)).arg(int(answer)));
    updateHidden();
}

bool MessagesPage::onLinkClicked(const QUrl &url)
{
    report(tr("Link: %1").arg(url.toDisplayString()));
    return Help::openWebPage(url);
}

void MessagesPage::updateHidden()
{
    const QList<int> codes = MessageUtils::hiddenMessages();
    m_hidden->clear();
    for (const int code : codes) {
        const int answer = MessageUtils::getDefaultButtonForHiddenMessage(code);
        QTextDocument text;
        text.setHtml(MessageUtils::getMessageString(code, true));
        auto *item = new QListWidgetItem(tr("%1 (answered with %2): %3")
                                             .arg(MessageUtils::getProblemID(code))
                                             .arg(answer)
                                             .arg(text.toPlainText()),
                                         m_hidden);
        item->setData(Qt::UserRole, code);
    }
    m_hidden->setCurrentRow(0);
    m_hidden->setFixedHeight(3 * fontMetrics().lineSpacing() + 2 * m_hidden->frameWidth() + 8);
    m_hiddenCount->setText(tr("&Not asked again: %n message(s)", nullptr, codes.size()));
    m_restore->setEnabled(!codes.isEmpty());
    m_restoreAll->setEnabled(!codes.isEmpty());
}
