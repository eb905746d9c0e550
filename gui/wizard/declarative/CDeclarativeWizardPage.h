#pragma once

#include "gui/wizard/Declarative.h"
#include "gui/wizard/model/CAbstractWizardPage.h"

#include <QMap>
#include <QPointer>
#include <QUrl>
#include <QVariant>

class CContentInfo;
class CDeclarativeWizardContentProvider;

/**
 * A wizard page whose face is a scene.
 *
 * The scene's root may have a property "pageTitle", which follows the page's title. It finds the page as
 * contentParams.wizardPage; what its user enters belongs into properties of the page, because the scene is
 * made anew each time that the page is entered.
 */
class KOVGUI_DECLARATIVE_EXPORT CDeclarativeWizardPage : public CAbstractWizardPage
{
    Q_OBJECT
    Q_PROPERTY(QDeclarativeItem *pageContentItem READ pageContentItem NOTIFY pageContentItemChanged)

public:
    ~CDeclarativeWizardPage() override;

    /// The scene's root, null while there is none.
    QDeclarativeItem *pageContentItem() const;

    /// The scene of the page. Empty by default, which shows an error page.
    virtual QUrl pageQml() const;

Q_SIGNALS:
    void pageContentItemChanged(QDeclarativeItem *item);

protected:
    CDeclarativeWizardPage(CAbstractWizardModel &model, int pageId, QObject *parent = nullptr);

    /// What is shown as this page: by default the scene, with the provider and the parameters. The caller
    /// owns it.
    virtual CContentInfo *createContentInfo(CDeclarativeWizardContentProvider *provider,
                                            const QMap<QString, QVariant> &params);

private:
    friend class CDeclarativeWizardContentProvider;

    /// The scene has come, before its title is set.
    virtual void processPageContentChange(QDeclarativeItem *item);
    /// The scene has arrived: the animation is over.
    virtual void processPageContentReady();

protected Q_SLOTS:
    virtual void onTitleChanged(const QString &title);

private:
    void setPageContentItem(QDeclarativeItem *item);

    QPointer<QDeclarativeItem> m_pageContentItem;
};
