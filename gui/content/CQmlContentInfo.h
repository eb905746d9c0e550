#pragma once

#include "gui/content/CContentInfo.h"

/// Content that is a scene.
class KOVGUI_DECLARATIVE_EXPORT CQmlContentInfo : public CContentInfo
{
    Q_OBJECT

public:
    explicit CQmlContentInfo(const QUrl &scene, CContentProvider *provider = nullptr,
                             const QMap<QString, QVariant> &params = {}, QObject *parent = nullptr);
    ~CQmlContentInfo() override;

    QUrl scene() const override;

private:
    const QUrl m_scene;
};
