#include "gui/mapping/widgets/CWidgetMapper.h"

#include "gui/log/Log.h"
#include "gui/log/LogText.h"
#include "gui/mapping/storage/CMappingController.h"
#include "gui/mapping/values/MappingHelpers.h"
#include "gui/mapping/widgets/CDataProvider.h"
#include "gui/mapping/widgets/CWidgetIniter.h"

#include <QPointer>
#include <QWidget>

#include <algorithm>

using Mappings::Values;

namespace {

QByteArray nameOf(const QWidget *widget)
{
    return KovGui::logText(widget->objectName());
}

/// Equal times of different zones, and numbers that differ in the last digit only, are not the same to a
/// widget.
bool isIdentical(const QVariant &first, const QVariant &second)
{
    switch (first.userType()) {
    case QMetaType::Bool:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::QString:
        return first.userType() == second.userType() && first == second;
    default:
        return false;
    }
}

/// @p former with the values of @p all; a copy costs something only where a value is another one.
Values upToDate(const Values &former, const Values &all)
{
    Values own = former;
    for (auto storage = former.begin(); storage != former.end(); ++storage) {
        const auto known = all.constFind(storage.key());
        for (auto path = storage->begin(); known != all.constEnd() && path != storage->end(); ++path) {
            const QVariant value = known->value(path.key());
            if (!isIdentical(value, *path))
                own[storage.key()][path.key()] = value;
        }
    }
    return own;
}

} // namespace

class CWidgetMapper::Private
{
public:
    explicit Private(CWidgetMapper *mapper)
        : q(mapper)
    { }

    bool enter(QWidget *widget);
    void forget(const QObject *widget);
    bool isMapped(const QWidget *widget) const { return mappings.contains(widget); }
    bool isEdited(QWidget *widget) const;
    QVector<QWidget *> inOrder() const;
    void init(QWidget *widget);
    void fill(QWidget *widget, const Values &values, bool isRead);
    void load(const QVector<QWidget *> &widgets, bool prepare);
    void reload(const QString &storage, const QString &path, const QWidget *except);
    void updateModified();

    struct Mapping
    {
        QWidget *widget;
        int number; ///< the widgets are gone through in the order in which they came
        Values request;
        Values given; ///< when all values were loaded last
    };

    CWidgetMapper *const q;
    QPointer<CMappingController> controller;
    QPointer<CDataProvider> provider;
    QPointer<CWidgetIniter> initer;
    QHash<const QObject *, Mapping> mappings;
    QHash<QString, QHash<QString, QVector<QWidget *>>> widgetsByPath;
    int lastNumber = 0;
    /// The widget whose values are being set.
    const QWidget *reporting = nullptr;
    int changes = 0;
    bool modified = false;
};

/// Steps that binding one widget and binding a form have in common, all but its filling.
bool CWidgetMapper::Private::enter(QWidget *widget)
{
    if (isMapped(widget)) {
        KOV_LOG(0, "(!)Error: Control already mapped. Widget[%s]", nameOf(widget).constData());
        return false;
    }
    mappings.insert(widget, Mapping{widget, ++lastNumber, Values(), Values()});
    connect(widget, &QObject::destroyed, q, [this](const QObject *destroyed) {
        forget(destroyed);
        if (modified)
            QMetaObject::invokeMethod(
                q, [this] { updateModified(); }, Qt::QueuedConnection);
    });
    if (provider)
        provider->connectWidgetSignals(widget);
    if (!q->initPaths(widget)) {
        q->removeMapping(widget);
        return false;
    }
    init(widget);
    return true;
}

void CWidgetMapper::Private::forget(const QObject *widget)
{
    const auto found = mappings.constFind(widget);
    if (found == mappings.constEnd())
        return;
    for (auto storage = found->request.begin(); storage != found->request.end(); ++storage) {
        for (auto path = storage->begin(); path != storage->end(); ++path)
            widgetsByPath[storage.key()][path.key()].removeAll(found->widget);
    }
    mappings.erase(found);
}

bool CWidgetMapper::Private::isEdited(QWidget *widget) const
{
    return provider && provider->editState(widget) != CDataProvider::EditState::None;
}

QVector<QWidget *> CWidgetMapper::Private::inOrder() const
{
    QVector<const Mapping *> ordered;
    ordered.reserve(mappings.size());
    for (const Mapping &mapping : mappings)
        ordered.append(&mapping);
    std::sort(ordered.begin(), ordered.end(),
              [](const Mapping *first, const Mapping *second) { return first->number < second->number; });
    QVector<QWidget *> widgets;
    widgets.reserve(ordered.size());
    for (const Mapping *mapping : qAsConst(ordered))
        widgets.append(mapping->widget);
    return widgets;
}

void CWidgetMapper::Private::init(QWidget *widget)
{
    if (!initer)
        return;
    // A list of choices that gets its first entry chooses it, which is nobody's wish.
    const QPointer<QWidget> alive(widget);
    const bool wasBlocked = widget->blockSignals(true);
    initer->initWidget(widget, QVariant());
    if (alive)
        widget->blockSignals(wasBlocked);
}

/// @param isRead  whether the values could be read; the widget gets what came all the same
void CWidgetMapper::Private::fill(QWidget *widget, const Values &values, bool isRead)
{
    if (!isRead) {
        KOV_LOG(0, "(!)Error: Failed to get values for control[%s]", nameOf(widget).constData());
        MappingHelpers::dumpValues(MappingHelpers::createValuesTree(values, false),
                                   QStringLiteral("VALUE PATHS TO GET"));
    }
    if (!MappingHelpers::isAllValuesValid(values))
        KOV_LOG(0, "(!)Warning: Not all values are valid for control[%s]", nameOf(widget).constData());
    if (provider)
        provider->setWidgetValues(widget, values);
}

/// Fills the widgets with one reading for all.
void CWidgetMapper::Private::load(const QVector<QWidget *> &widgets, bool prepare)
{
    Values values;
    for (const QWidget *widget : widgets) {
        const Values &request = mappings.constFind(widget)->request;
        for (auto storage = request.begin(); storage != request.end(); ++storage) {
            auto &paths = values[storage.key()];
            if (paths.isEmpty())
                paths.reserve(widgets.size());
            for (auto path = storage->begin(); path != storage->end(); ++path)
                paths.insert(path.key(), QVariant());
        }
    }
    const QPointer<CWidgetMapper> alive(q);
    const bool isRead = !controller || controller->getValues(values);
    const int changesBefore = changes;
    for (QWidget *widget : widgets) {
        if (alive && prepare && isMapped(widget))
            init(widget);
        if (!alive)
            return;
        if (!isMapped(widget))
            continue;
        // The preparation of another one may have changed a value.
        if (changes != changesBefore) {
            q->setWidgetValues(widget);
            continue;
        }
        const Values own = upToDate(mappings.constFind(widget)->given, values);
        mappings.find(widget)->given = own;
        fill(widget, own, isRead);
    }
}

void CWidgetMapper::Private::reload(const QString &storage, const QString &path, const QWidget *except)
{
    ++changes;
    const auto widgets = widgetsByPath.value(storage).value(path);
    const QPointer<CWidgetMapper> alive(q);
    for (QWidget *widget : widgets) {
        if (alive && isMapped(widget) && widget != except && !isEdited(widget))
            q->setWidgetValues(widget);
    }
}

void CWidgetMapper::Private::updateModified()
{
    const bool isModified = q->isModified();
    if (isModified == modified)
        return;
    modified = isModified;
    Q_EMIT q->modificationChanged(isModified);
}

CWidgetMapper::CWidgetMapper(CMappingController &controller, CDataProvider &provider, CWidgetIniter *initer,
                             QObject *parent)
    : QObject(parent)
    , d(std::make_unique<Private>(this))
{
    d->controller = &controller;
    d->provider = &provider;
    d->initer = initer;
    const auto updateModified = [this] { d->updateModified(); };
    connect(&controller, &CMappingController::dataChanged, this, &CWidgetMapper::updateWidgets);
    connect(&controller, &CMappingController::valueChanged, this,
            [this](const QString &storage, const QString &path) { d->reload(storage, path, d->reporting); });
    connect(&controller, &CMappingController::valueRejected, this,
            [this](const QString &storage, const QString &path) { d->reload(storage, path, nullptr); });
    connect(&controller, &CMappingController::modifiedChanged, this, updateModified);
    connect(&provider, &CDataProvider::valueChanged, this, &CWidgetMapper::processValueChanged);
    connect(&provider, &CDataProvider::edited, this, updateModified);
    KOV_LOG(3, "CWidgetMapper %p created", static_cast<void *>(this));
}

CWidgetMapper::~CWidgetMapper()
{
    KOV_LOG(3, "CWidgetMapper %p destroyed", static_cast<void *>(this));
}

bool CWidgetMapper::addMapping(QWidget *widget)
{
    if (!widget) {
        KOV_LOG(0, "(!)Error: Invalid params.");
        return false;
    }
    const QPointer<CWidgetMapper> alive(this);
    if (!d->enter(widget))
        return false;
    if (alive && d->isMapped(widget))
        setWidgetValues(widget);
    return true;
}

bool CWidgetMapper::addMappings(QWidget *form)
{
    bool all = true;
    QList<QWidget *> widgets = form->findChildren<QWidget *>();
    widgets.prepend(form);
    QVector<QWidget *> entered;
    for (QWidget *widget : qAsConst(widgets)) {
        // Most widgets of a form have none.
        if (!widget->dynamicPropertyNames().contains(Mappings::StoragesProp))
            continue;
        if (d->enter(widget))
            entered.append(widget);
        else
            all = false;
    }
    const QPointer<CWidgetMapper> alive(this);
    d->load(entered, false);
    if (alive)
        Q_EMIT initWidgetsFinished();
    return all;
}

void CWidgetMapper::removeMapping(QWidget *widget)
{
    if (!d->isMapped(widget))
        return;
    disconnect(widget, &QObject::destroyed, this, nullptr);
    d->forget(widget);
    d->updateModified();
}

bool CWidgetMapper::initPaths(QWidget *widget)
{
    const auto mapping = d->mappings.find(widget);
    if (mapping == d->mappings.end()) {
        KOV_LOG(0, "(!)Error: Failed to init widget value path. Widget not mapped.");
        return false;
    }
    Values request;
    static const QString placeholder = QString::fromLatin1(Mappings::DynamicPathPart);
    const QStringList storages = widget->property(Mappings::StoragesProp).toStringList();
    for (const QString &storage : storages) {
        const QStringList paths = widget->property(storage.toUtf8().constData()).toStringList();
        for (QString path : paths) {
            if (path.contains(placeholder)) {
                const QString part = widget->property(Mappings::DynamicPathPart).toString();
                if (part.isEmpty()) {
                    KOV_LOG(0, "(!)Error: Failed to init widget value path. Dynamic part of path absent.");
                    return false;
                }
                path.replace(placeholder, part);
            }
            request[storage].insert(path, QVariant());
        }
    }
    for (auto storage = request.cbegin(); storage != request.cend(); ++storage) {
        auto &widgets = d->widgetsByPath[storage.key()];
        for (auto path = storage->cbegin(); path != storage->cend(); ++path)
            widgets[path.key()].append(widget);
    }
    mapping->request = request;
    mapping->given = request;
    return true;
}

void CWidgetMapper::setWidgetValues(QWidget *widget)
{
    if (!widget) {
        KOV_LOG(0, "(!)Error: Invalid params.");
        return;
    }
    if (!d->isMapped(widget)) {
        KOV_LOG(0, "(!)Error: widget not mapped.");
        return;
    }
    Values values = MappingHelpers::createValuesTree(d->mappings.constFind(widget)->request, false);
    const bool isRead = !d->controller || d->controller->getValues(values);
    d->fill(widget, values, isRead);
}

void CWidgetMapper::processValueChanged(QWidget *widget)
{
    if (!widget) {
        KOV_LOG(0, "(!)Error: Invalid params.");
        return;
    }
    if (!d->isMapped(widget)) {
        KOV_LOG(0, "(!)Error: widget not mapped.");
        return;
    }
    Values values = MappingHelpers::createValuesTree(d->mappings.constFind(widget)->request, false);
    if (!d->provider || !d->provider->getWidgetValues(widget, values))
        return;
    const QPointer<CWidgetMapper> alive(this);
    const QWidget *const outer = std::exchange(d->reporting, widget);
    if (d->controller)
        d->controller->setValues(values);
    if (!alive)
        return;
    d->reporting = outer;
    Q_EMIT valuesChanged(values);
    if (alive)
        d->updateModified();
}

void CWidgetMapper::onPreprocessedValueChanged()
{
    if (auto *widget = qobject_cast<QWidget *>(sender()))
        processValueChanged(widget);
}

void CWidgetMapper::updateWidgets()
{
    const QPointer<CWidgetMapper> alive(this);
    QVector<QWidget *> widgets;
    const auto all = d->inOrder();
    for (QWidget *widget : all) {
        if (!d->isEdited(widget))
            widgets.append(widget);
    }
    d->load(widgets, true);
    if (!alive)
        return;
    Q_EMIT initWidgetsFinished();
    if (alive)
        d->updateModified();
}

bool CWidgetMapper::isModified() const
{
    Values typed;
    const auto edited = d->provider ? d->provider->editedWidgets() : QVector<QWidget *>();
    for (QWidget *widget : edited) {
        const auto mapping = d->mappings.constFind(widget);
        if (mapping == d->mappings.constEnd())
            continue;
        if (d->provider->editState(widget) == CDataProvider::EditState::Unfinished)
            return true;
        Values values = mapping->request;
        if (d->provider->getWidgetValues(widget, values))
            typed = Mappings::unitePaths(typed, values);
    }
    return d->controller && d->controller->isModified(typed);
}

bool CWidgetMapper::flush()
{
    bool all = true;
    const QPointer<CWidgetMapper> alive(this);
    const auto edited = d->provider ? d->provider->editedWidgets() : QVector<QWidget *>();
    for (QWidget *widget : edited) {
        if (alive && d->provider && d->isMapped(widget))
            all &= d->provider->finishEditing(widget);
    }
    return all;
}

void CWidgetMapper::revert()
{
    const auto edited = d->provider ? d->provider->editedWidgets() : QVector<QWidget *>();
    for (QWidget *widget : edited) {
        if (d->isMapped(widget))
            d->provider->forgetEdit(widget);
    }
    if (d->controller)
        d->controller->revert();
}
