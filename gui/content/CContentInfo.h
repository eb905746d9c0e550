#pragma once

#include "gui/KovGuiGlobal.h"

#include <QMap>
#include <QObject>
#include <QPointer>
#include <QUrl>
#include <QVariant>

class CContentProvider;

/**
 * Describes something that a content area can show: a scene (QML), who provides it, and parameters for it.
 *
 * The scene finds the provider under the name "contentProvider", the parameters as "contentParams" and this
 * description as "contentInfo".
 */
class KOVGUI_DECLARATIVE_EXPORT CContentInfo : public QObject
{
    Q_OBJECT

public:
    ~CContentInfo() override;

    /// A local address: "qrc:" or "file:". The area refuses others.
    virtual QUrl scene() const = 0;
    /// Null once it is gone.
    CContentProvider *provider() const;
    QMap<QString, QVariant> params() const;

protected:
    explicit CContentInfo(CContentProvider *provider, const QMap<QString, QVariant> &params = {},
                          QObject *parent = nullptr);

private:
    const QPointer<CContentProvider> m_provider;
    const QMap<QString, QVariant> m_params;
};
