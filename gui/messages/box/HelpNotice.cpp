#include "gui/messages/box/HelpNotice_p.h"

#include "gui/messages/box/CMessageBox.h"

#include <QCoreApplication>

namespace {

void tell(const QString &text, const QUrl &url, QWidget *window)
{
    auto *notice = new CMessageBox(window);
    notice->setObjectName(QStringLiteral("HelpNotice"));
    notice->setAttribute(Qt::WA_DeleteOnClose);
    notice->setTitle(window ? window->windowTitle() : QString());
    notice->setMessage(text);
    notice->setDescription(url.toDisplayString(QUrl::RemoveUserInfo).toHtmlEscaped());
    notice->setButton1(QCoreApplication::translate("HelpNotice", "OK"));
    notice->open();
}

} // namespace

namespace HelpNotice {

void openTopic(Help::HelpTopic topic, QWidget *window)
{
    if (Help::openTopic(topic))
        return;
    const QUrl url = Help::topicUrl(topic);
    tell(url.isEmpty() ? QCoreApplication::translate("HelpNotice", "There is no help for this message.")
                       : QCoreApplication::translate("HelpNotice", "The help could not be opened. It is at:"),
         url, window);
}

void openWebPage(const QUrl &url, QWidget *window)
{
    if (!Help::openWebPage(url))
        tell(QCoreApplication::translate("HelpNotice", "The page could not be opened. It is at:"), url,
             window);
}

} // namespace HelpNotice
