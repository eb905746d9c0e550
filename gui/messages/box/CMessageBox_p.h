#pragma once

#include "gui/messages/box/CMessageBox.h"
#include "gui/messages/box/MessageButtons_p.h"
#include "ui_CMessageBox.h"

#include <QPixmap>
#include <QPointer>

class CDetailsDialog;
class MessageCountdown;
class ProblemPanel;

/// What a message box has and does.
class CMessageBoxPrivate
{
public:
    explicit CMessageBoxPrivate(CMessageBox *box);

    /// What few boxes have is made when they need it: building it takes longer than all the rest.
    void makeInfo();
    void makeProblemPanel();
    void textsChanged();
    void showTexts();
    void fitTexts();
    void shrinkToTexts();
    QString plainText() const;
    QString everyText() const;
    QString wholeDetails() const;

    void processButtonClick(Messaging::ButtonID answer);

    void updateDetails();
    void openDetails();
    void viewChanged();

    void answerByItself();

    CMessageBox *const q;
    const Ui::CMessageBox ui;
    SafeTextView *info = nullptr;
    ProblemPanel *problem = nullptr;
    QString message;
    QString description;
    QString details;
    CSlotInfo detailsAction;
    QPointer<CDetailsDialog> detailsDialog;
    QPixmap icon;
    Help::HelpTopic helpTopic = Help::NoTopic;
    CSlotInfo action;
    MessageButtons buttons;
    MessageCountdown *const countdown;
    QPointer<QWidget> view;

private:
    void tellOfLinks(const SafeTextView *text);

    int m_textWidth = 0;
    bool m_answering = false;
};
