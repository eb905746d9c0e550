#include "gui/mapping/widgets/CDataProvider.h"

#include "gui/log/Log.h"
#include "gui/log/LogText.h"
#include "gui/mapping/values/MappingHelpers.h"
#include "gui/mapping/widgets/CDataProvider_p.h"
#include "gui/mapping/widgets/CTextEditValueWatcher.h"

#include <QAbstractButton>
#include <QComboBox>
#include <QLineEdit>
#include <QSlider>
#include <QSpinBox>
#include <QTextEdit>

namespace {

QByteArray nameOf(const QWidget *widget)
{
    return KovGui::logText(widget->objectName());
}

/// What `find` finds, once a class for widgets that name none of their own.
template <typename Find>
Accessor accessor(const QWidget *widget, AccessorsByClass *known, const char *property, const Find &find)
{
    if (bindingProperty(widget, property).isValid())
        return find();
    const auto found = known->constFind(widget->metaObject());
    return found != known->constEnd() ? *found : *known->insert(widget->metaObject(), find());
}

QString spinBoxText(const QWidget *widget)
{
    const auto *const box = qobject_cast<const QAbstractSpinBox *>(widget);
    return box ? box->text() : QString();
}

} // namespace

void CDataProviderPrivate::remember(QWidget *widget)
{
    typed.removeAll(widget);
    const auto found = watched.find(widget);
    if (found == watched.end())
        return;
    found->shown = found->kind->shown(widget);
    found->text = spinBoxText(widget);
}

bool CDataProviderPrivate::showsOther(const QWidget *widget) const
{
    const auto found = watched.constFind(widget);
    if (found == watched.constEnd())
        return false;
    return !found->shown.isValid() || !MappingHelpers::isSameValue(found->shown, found->kind->shown(widget));
}

CDataProvider::CDataProvider(QObject *parent)
    : QObject(parent)
    , d(std::make_unique<CDataProviderPrivate>())
{
    qRegisterMetaType<Mappings::Values>("Mappings::Values");
    KOV_LOG(3, "CDataProvider %p created", static_cast<void *>(this));
}

CDataProvider::~CDataProvider()
{
    KOV_LOG(3, "CDataProvider %p destroyed", static_cast<void *>(this));
}

void CDataProvider::connectWidgetSignals(QWidget *widget)
{
    if (!widget)
        return;
    if (d->watched.contains(widget)) {
        KOV_LOG(1, "Warning: Widget[%s] already added in map.", nameOf(widget).constData());
        return;
    }
    CDataProviderPrivate::Watched &watched = d->watched[widget];
    watched.kind = &WidgetKind::of(widget);
    connect(widget, &QObject::destroyed, d.get(),
            [this](const QObject *destroyed) { d->watched.remove(destroyed); });
    if (!bindingProperty(widget, Mappings::PreprocessValueProp).toBool())
        watch(widget);
    d->remember(widget);
}

/// sender() would look through the connections of all widgets: each tells of itself.
void CDataProvider::watch(QWidget *widget)
{
    const auto changed = [this, widget] { report(widget); };
    const auto typed = [this, widget] { noteTyping(widget); };
    const auto typedInside = [&] {
        if (auto *inside = widget->findChild<QLineEdit *>(QString(), Qt::FindDirectChildrenOnly))
            connect(inside, &QLineEdit::textEdited, this, typed);
    };
    if (auto *box = qobject_cast<QComboBox *>(widget)) {
        connect(box, qOverload<int>(&QComboBox::currentIndexChanged), this, changed);
    } else if (auto *line = qobject_cast<QLineEdit *>(widget)) {
        connect(line, &QLineEdit::editingFinished, this, changed);
        connect(line, &QLineEdit::textEdited, this, typed);
    } else if (auto *text = qobject_cast<QTextEdit *>(widget)) {
        auto *watcher = new CTextEditValueWatcher(text);
        d->watched[widget].watcher = watcher;
        connect(watcher, &CTextEditValueWatcher::editFinished, this,
                &CDataProvider::onTextEditorValueChanged);
        connect(text, &QTextEdit::textChanged, this, typed);
    } else if (auto *number = qobject_cast<QDoubleSpinBox *>(widget)) {
        connect(number, qOverload<double>(&QDoubleSpinBox::valueChanged), this, changed);
        connect(number, &QDoubleSpinBox::editingFinished, this, changed);
        typedInside();
    } else if (auto *integer = qobject_cast<QSpinBox *>(widget)) {
        connect(integer, qOverload<int>(&QSpinBox::valueChanged), this, changed);
        connect(integer, &QSpinBox::editingFinished, this, changed);
        typedInside();
    } else if (auto *slider = qobject_cast<QSlider *>(widget)) {
        connect(slider, &QSlider::valueChanged, this, changed);
    } else if (auto *button = qobject_cast<QAbstractButton *>(widget)) {
        connect(button, &QAbstractButton::toggled, this, changed);
    } else if (widget->metaObject()->indexOfSignal("toggled(bool)") >= 0) {
        connect(widget, SIGNAL(toggled(bool)), this, SLOT(onValueChanged()));
    }
}

void CDataProvider::disconnectWidgetSignals(QWidget *widget)
{
    if (!d->watched.contains(widget)) {
        KOV_LOG(2, "Info: Widget[%s] absent in map.", nameOf(widget).constData());
        return;
    }
    delete d->watched.take(widget).watcher;
    d->typed.removeAll(widget);
    disconnect(widget, nullptr, this, nullptr);
    disconnect(widget, nullptr, d.get(), nullptr);
    if (auto *lineEdit = widget->findChild<QLineEdit *>(QString(), Qt::FindDirectChildrenOnly))
        disconnect(lineEdit, nullptr, this, nullptr);
}

bool CDataProvider::getWidgetValues(QWidget *widget, Mappings::Values &values)
{
    const Accessor getter = accessor(widget, &d->getters, Mappings::GetterProp, [&] {
        return Accessor::find(widget, Mappings::GetterProp, "get", "(QWidget*,QString,QString)",
                              {d.get(), this});
    });
    for (auto storage = values.begin(); storage != values.end(); ++storage) {
        for (auto path = storage->begin(); path != storage->end(); ++path) {
            QVariant value;
            if (!getter.object
                || !getter.method.invoke(getter.object, Qt::DirectConnection, Q_RETURN_ARG(QVariant, value),
                                         Q_ARG(QWidget *, widget), Q_ARG(QString, storage.key()),
                                         Q_ARG(QString, path.key()))) {
                KOV_LOG(0, "(!)Error: Control[%s]: failed to invoke %s", nameOf(widget).constData(),
                        KovGui::logText(getter.name).constData());
                return false;
            }
            *path = value;
        }
    }
    return true;
}

void CDataProvider::setWidgetValues(QWidget *widget, const Mappings::Values &values)
{
    const Accessor setter = accessor(widget, &d->setters, Mappings::SetterProp, [&] {
        return Accessor::find(widget, Mappings::SetterProp, "set", "(QWidget*,Mappings::Values)",
                              {d.get(), this});
    });
    const QPointer<QWidget> alive(widget);
    const QPointer<CDataProvider> self(this);
    const bool wasBlocked = widget->blockSignals(true);
    ++d->loading;
    const bool invoked = setter.object
                         && setter.method.invoke(setter.object, Qt::DirectConnection,
                                                 Q_ARG(QWidget *, widget), Q_ARG(Mappings::Values, values));
    if (self)
        --d->loading;
    if (!alive)
        return;
    widget->blockSignals(wasBlocked);
    if (!invoked)
        KOV_LOG(0, "(!)Error: Control[%s]: failed to invoke method '%s'", nameOf(widget).constData(),
                KovGui::logText(setter.name).constData());
    if (self)
        d->remember(widget);
}

CDataProvider::EditState CDataProvider::editState(QWidget *widget) const
{
    if (!d->typed.contains(widget) || !d->watched.contains(widget))
        return EditState::None;
    if (d->showsOther(widget))
        return EditState::Edited;
    return d->watched.constFind(widget)->text == spinBoxText(widget) ? EditState::None
                                                                     : EditState::Unfinished;
}

QVector<QWidget *> CDataProvider::editedWidgets() const
{
    QVector<QWidget *> widgets;
    for (const QPointer<QWidget> &widget : qAsConst(d->typed)) {
        if (widget && editState(widget) != EditState::None)
            widgets.append(widget);
    }
    return widgets;
}

bool CDataProvider::finishEditing(QWidget *widget)
{
    const QPointer<CDataProvider> self(this);
    const QPointer<QWidget> alive(widget);
    if (auto *box = qobject_cast<QAbstractSpinBox *>(widget))
        box->interpretText();
    const auto *edit = qobject_cast<QLineEdit *>(alive);
    if (edit && !edit->hasAcceptableInput())
        return false;
    if (self && alive)
        report(widget);
    return true;
}

void CDataProvider::forgetEdit(QWidget *widget)
{
    d->remember(widget);
}

void CDataProvider::report(QWidget *widget)
{
    if (!d->watched.contains(widget))
        return;
    const bool isChange = d->showsOther(widget);
    const bool wasTyped = d->typed.contains(widget);
    d->remember(widget);
    if (d->loading > 0)
        return;
    if (isChange)
        Q_EMIT valueChanged(widget);
    else if (wasTyped)
        Q_EMIT edited(widget);
}

void CDataProvider::onValueChanged()
{
    if (auto *widget = qobject_cast<QWidget *>(sender()))
        report(widget);
}

void CDataProvider::onTextEditorValueChanged()
{
    if (auto *watcher = qobject_cast<CTextEditValueWatcher *>(sender()))
        report(watcher->editor());
}

void CDataProvider::noteTyping(QWidget *widget)
{
    if (d->loading > 0)
        return;
    d->typed.removeAll(QPointer<QWidget>());
    if (!d->typed.contains(widget))
        d->typed.append(widget);
    Q_EMIT edited(widget);
}
