#include "gui/frame/ImplementationRegistry_p.h"

namespace KovGui {

QHash<QString, const QMetaObject *> &staticMetaObjectHash()
{
    static QHash<QString, const QMetaObject *> hash;
    return hash;
}

QObject *createRegistered(const char *key, const QMetaObject &base, QGenericArgument first,
                          QGenericArgument second)
{
    const QMetaObject *metaObject = staticMetaObjectHash().value(QString::fromLatin1(key));
    if (!metaObject) {
        KOV_LOG(0, "(!)Error: no class is registered for %s.", key);
        return nullptr;
    }
    QObject *object = metaObject->newInstance(first, second);
    if (!object) {
        KOV_LOG(0, "(!)Error: %s, registered for %s, has no invokable constructor (%s%s%s).",
                metaObject->className(), key, first.name() ? first.name() : "", second.name() ? ", " : "",
                second.name() ? second.name() : "");
        return nullptr;
    }
    if (!base.cast(object)) {
        KOV_LOG(0, "(!)Error: %s, registered for %s, does not derive from it.", metaObject->className(), key);
        delete object;
        return nullptr;
    }
    return object;
}

} // namespace KovGui
