#include "gui/log/Log.h"
#include "gui/log/LogText.h"
#include "gui/mapping/values/MappingHelpers.h"
#include "gui/mapping/widgets/CDataProvider_p.h"
#include "gui/mapping/widgets/ValueScale_p.h"
#include "gui/mapping/widgets/WidgetKind_p.h"

#include <QAbstractSlider>
#include <QComboBox>
#include <QGroupBox>
#include <QLineEdit>
#include <QSpinBox>
#include <QTextCursor>
#include <QTextEdit>

using MappingHelpers::getFirstValue;

namespace {

/// The widget as the class that an accessor is for: a property may have named the wrong one.
template <typename Widget>
Widget *as(QWidget *widget)
{
    auto *const typed = qobject_cast<Widget *>(widget);
    if (!typed)
        KOV_LOG(0, "(!)Error: Control[%s]: a %s is no %s", KovGui::logText(widget->objectName()).constData(),
                widget->metaObject()->className(), Widget::staticMetaObject.className());
    return typed;
}

void logUseless(const QWidget *widget, const char *wanted)
{
    KOV_LOG(0, "(!)Error: Control[%s]: its value is no %s", KovGui::logText(widget->objectName()).constData(),
            wanted);
}

bool isInverted(const QWidget *widget)
{
    return bindingProperty(widget, Mappings::InvertValueProp).toBool();
}

/// Nothing for a value that is no text.
std::optional<QString> text(const QWidget *widget, const QVariant &value)
{
    // A settings file reads a text with a comma as a list.
    if (value.userType() == QMetaType::QStringList)
        return value.toStringList().join(QStringLiteral(", "));
    if (!value.canConvert<QString>()) {
        logUseless(widget, "text");
        return std::nullopt;
    }
    return value.toString();
}

template <typename Widget>
QVariant integer(QWidget *widget)
{
    const auto *const typed = as<Widget>(widget);
    return typed ? ValueScale::of(widget).storedFor(typed->value()) : QVariant();
}

template <typename Widget>
void setInteger(QWidget *widget, const Mappings::Values &values)
{
    auto *const typed = as<Widget>(widget);
    const QVariant value = getFirstValue(values);
    if (!typed || !value.isValid())
        return;
    if (const auto shown = ValueScale::of(widget).shownInteger(value))
        typed->setValue(*shown);
    else
        logUseless(widget, "number");
}

} // namespace

QVariant CDataProviderPrivate::getQAbstractButtonValue(QWidget *widget, const QString &, const QString &)
{
    const QVariant checked = widget->property("checked");
    return checked.isValid() ? QVariant(checked.toBool() != isInverted(widget)) : QVariant();
}

void CDataProviderPrivate::setQAbstractButtonValue(QWidget *widget, const Mappings::Values &values)
{
    const QVariant value = getFirstValue(values);
    if (!value.isValid())
        return;
    if (value.canConvert<bool>())
        widget->setProperty("checked", value.toBool() != isInverted(widget));
    else
        logUseless(widget, "truth value");
}

QVariant CDataProviderPrivate::getQComboBoxValue(QWidget *widget, const QString &, const QString &)
{
    constexpr const char *LastSelectedIndexProp = "lastSelectedIndex";
    auto *const box = as<QComboBox>(widget);
    if (!box)
        return QVariant();
    int index = box->currentIndex();
    if (index == -1)
        index = box->property(LastSelectedIndexProp).toInt();
    box->setProperty(LastSelectedIndexProp, index);
    return box->itemData(index, Qt::UserRole);
}

void CDataProviderPrivate::setQComboBoxValue(QWidget *widget, const Mappings::Values &values)
{
    auto *const box = as<QComboBox>(widget);
    const QVariant value = getFirstValue(values);
    if (!box || !value.isValid())
        return;
    int index = box->findData(value, Qt::UserRole);
    // The storage may have made a text of it.
    for (int i = 0; index < 0 && i < box->count(); ++i) {
        if (MappingHelpers::isSameValue(box->itemData(i, Qt::UserRole), value))
            index = i;
    }
    box->setCurrentIndex(index);
}

QVariant CDataProviderPrivate::getQLineEditValue(QWidget *widget, const QString &, const QString &)
{
    const auto *const edit = as<QLineEdit>(widget);
    return edit ? QVariant(edit->text()) : QVariant();
}

void CDataProviderPrivate::setQLineEditValue(QWidget *widget, const Mappings::Values &values)
{
    auto *const edit = as<QLineEdit>(widget);
    const QVariant value = getFirstValue(values);
    if (!edit || !value.isValid())
        return;
    const std::optional<QString> wanted = text(widget, value);
    // Otherwise the cursor and what can be undone stay.
    if (wanted && edit->text() != *wanted)
        edit->setText(*wanted);
}

QVariant CDataProviderPrivate::getQTextEditValue(QWidget *widget, const QString &, const QString &)
{
    const auto *const edit = as<QTextEdit>(widget);
    return edit ? QVariant(edit->toPlainText()) : QVariant();
}

void CDataProviderPrivate::setQTextEditValue(QWidget *widget, const Mappings::Values &values)
{
    auto *const edit = as<QTextEdit>(widget);
    const QVariant value = getFirstValue(values);
    if (!edit || !value.isValid())
        return;
    const std::optional<QString> wanted = text(widget, value);
    if (!wanted || edit->toPlainText() == *wanted)
        return;
    const QTextCursor before = edit->textCursor();
    const int anchor = before.anchor();
    const int position = before.position();
    edit->setPlainText(*wanted);
    QTextCursor cursor = edit->textCursor();
    cursor.movePosition(QTextCursor::End);
    const int end = cursor.position();
    cursor.setPosition(qMin(anchor, end));
    cursor.setPosition(qMin(position, end), QTextCursor::KeepAnchor);
    edit->setTextCursor(cursor);
}

QVariant CDataProviderPrivate::getQDoubleSpinBoxValue(QWidget *widget, const QString &, const QString &)
{
    const auto *const box = as<QDoubleSpinBox>(widget);
    return box ? ValueScale::of(widget).storedFor(box->value()) : QVariant();
}

void CDataProviderPrivate::setQDoubleSpinBoxValue(QWidget *widget, const Mappings::Values &values)
{
    auto *const box = as<QDoubleSpinBox>(widget);
    const QVariant value = getFirstValue(values);
    if (!box || !value.isValid())
        return;
    if (const auto shown = ValueScale::of(widget).shownNumber(value))
        box->setValue(*shown);
    else
        logUseless(widget, "number");
}

QVariant CDataProviderPrivate::getQSpinBoxValue(QWidget *widget, const QString &, const QString &)
{
    return integer<QSpinBox>(widget);
}

void CDataProviderPrivate::setQSpinBoxValue(QWidget *widget, const Mappings::Values &values)
{
    setInteger<QSpinBox>(widget, values);
}

QVariant CDataProviderPrivate::getQSliderValue(QWidget *widget, const QString &, const QString &)
{
    return integer<QAbstractSlider>(widget);
}

void CDataProviderPrivate::setQSliderValue(QWidget *widget, const Mappings::Values &values)
{
    setInteger<QAbstractSlider>(widget, values);
}

QVariant CDataProviderPrivate::getQGroupBoxValue(QWidget *widget, const QString &, const QString &)
{
    const auto *const box = as<QGroupBox>(widget);
    return box ? QVariant(box->isChecked()) : QVariant();
}

void CDataProviderPrivate::setQGroupBoxValue(QWidget *widget, const Mappings::Values &values)
{
    auto *const box = as<QGroupBox>(widget);
    const QVariant value = getFirstValue(values);
    if (!box || !value.isValid())
        return;
    if (value.canConvert<bool>())
        box->setChecked(value.toBool());
    else
        logUseless(widget, "truth value");
}
