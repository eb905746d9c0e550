#include "gui/messages/box/MessageButtons_p.h"

#include <QDialogButtonBox>
#include <QPushButton>

using Messaging::ButtonID;

MessageButtons::MessageButtons(QDialogButtonBox *box, const Clicked &clicked)
    : m_box(box)
    , m_clicked(clicked)
{ }

QString MessageButtons::text(ButtonID id) const
{
    return button(id) ? button(id)->text() : QString();
}

void MessageButtons::setText(ButtonID id, const QString &text)
{
    auto role = id == Messaging::Button1 ? QMessageBox::AcceptRole : QMessageBox::RejectRole;
    if (button(id))
        role = QMessageBox::ButtonRole(m_box->buttonRole(button(id)));
    set(id, {text, role});
}

void MessageButtons::set(ButtonID id, const Messaging::Button &answer)
{
    if (!button(id) && answer.text.isEmpty())
        return;
    QPushButton *shown = button(id) ? button(id) : makeButton(id);
    const bool known = answer.role > QMessageBox::InvalidRole && answer.role < QMessageBox::NRoles;
    const auto role = known ? QDialogButtonBox::ButtonRole(answer.role) : QDialogButtonBox::AcceptRole;
    shown->setText(answer.text);
    if (m_box->buttonRole(shown) != role)
        m_box->addButton(shown, role);
    shown->setVisible(!answer.text.isEmpty());
    updateDefault();
}

QPushButton *MessageButtons::makeButton(ButtonID id)
{
    auto *made = new QPushButton(m_box);
    made->setObjectName(QStringLiteral("m_pbButton%1").arg(int(id)));
    QObject::connect(made, &QPushButton::clicked, m_box, [this, id] { m_clicked(id); });
    m_buttons[std::size_t(id - 1)] = made;
    return made;
}

void MessageButtons::setDefaultAnswer(ButtonID id)
{
    m_default = id;
    updateDefault();
}

QPushButton *MessageButtons::effectiveDefault() const
{
    const bool known = m_default >= Messaging::Button1 && m_default <= Messaging::Button3;
    if (known && !text(m_default).isEmpty())
        return button(m_default);
    for (QPushButton *first : m_buttons) {
        if (first && !first->text().isEmpty())
            return first;
    }
    return nullptr;
}

void MessageButtons::updateDefault()
{
    QPushButton *chosen = effectiveDefault();
    if (!chosen)
        return;
    chosen->setDefault(true);
    // On screen the focus is the user's.
    if (!m_box->isVisible())
        chosen->setFocus();
}
