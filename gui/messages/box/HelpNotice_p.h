#pragma once

#include "gui/help/Help.h"

class QWidget;

/// Opens help topics and web pages for a message's window. Where nothing opens, the user reads so, and where
/// the page is.
namespace HelpNotice {

void openTopic(Help::HelpTopic topic, QWidget *window);
void openWebPage(const QUrl &url, QWidget *window);

} // namespace HelpNotice
