#include "gui/wizard/widgets/CWizardDialog.h"

#include "gui/log/Log.h"
#include "gui/window/ScreenFit_p.h"
#include "gui/wizard/model/CAbstractWizardActionHandler.h"
#include "gui/wizard/model/CAbstractWizardModel.h"
#include "gui/wizard/model/CAbstractWizardView.h"
#include "gui/wizard/model/CWizardController.h"
#include "gui/wizard/widgets/CWizardActionButtonSynchronizer.h"

#include <QAction>
#include <QHash>
#include <QLabel>
#include <QMetaEnum>
#include <QPointer>
#include <QProgressBar>
#include <QPushButton>
#include <QResizeEvent>
#include <QVBoxLayout>
#include <QWizardPage>

namespace {

/// Every button that may be shown must be in the layout: QWizard puts another one into the corner.
const QWizard::WizardButton Buttons[]
    = {QWizard::HelpButton,    QWizard::Stretch,     QWizard::CustomButton1, QWizard::CustomButton2,
       QWizard::CustomButton3, QWizard::BackButton,  QWizard::NextButton,    QWizard::CommitButton,
       QWizard::FinishButton,  QWizard::CancelButton};

QWidget *firstOf(QWidget *page)
{
    for (QWidget *widget = page->nextInFocusChain(); page->isAncestorOf(widget);
         widget = widget->nextInFocusChain()) {
        if ((widget->focusPolicy() & Qt::TabFocus) && widget->isEnabled() && widget->isVisibleTo(page))
            return widget;
    }
    return nullptr;
}

} // namespace

class CWizardDialog::Private : public CAbstractWizardView
{
public:
    Private(CAbstractWizardModel &wizardModel, CWizardDialog *dialog, const PageWidgetFactory &pageFactory)
        : CAbstractWizardView(wizardModel)
        , q(dialog)
        , model(&wizardModel)
        , controller(wizardModel)
        , factory(pageFactory)
    { }

    void makePage();
    void makeButtons();
    void start();
    void setDefaultButton() const;
    void showPage(CAbstractWizardPage *page, int direction) override;

    CWizardDialog *const q;
    const QPointer<CAbstractWizardModel> model;
    CWizardController controller;

private:
    QWidget *widgetOf(CAbstractWizardPage *page);
    void takeFocus(QWidget *widget) const;
    void makeRoom() const;

    const PageWidgetFactory factory;
    QHash<const QObject *, QPointer<QWidget>> m_widgets;
    QMetaObject::Connection m_title;
    QLabel *m_heading = nullptr;
    QWidget *m_place = nullptr;
    QPointer<QWidget> m_shown;
    QProgressBar *m_busy = nullptr;
};

/// QWizard has one page for ever: each change of page resets its buttons.
void CWizardDialog::Private::makePage()
{
    auto *page = new QWizardPage(q);
    page->setObjectName(QStringLiteral("page"));
    m_heading = new QLabel(page);
    m_heading->setObjectName(QStringLiteral("title"));
    m_heading->setTextFormat(Qt::PlainText);
    m_heading->setWordWrap(true);
    QFont font = m_heading->font();
    font.setBold(true);
    font.setPointSizeF(font.pointSizeF() * 1.15);
    m_heading->setFont(font);
    // A stack would measure every page at each change.
    m_place = new QWidget(page);
    m_place->setObjectName(QStringLiteral("pages"));
    auto *place = new QVBoxLayout(m_place);
    place->setContentsMargins(0, 0, 0, 0);
    m_busy = new QProgressBar(page);
    m_busy->setObjectName(QStringLiteral("busy"));
    m_busy->setAccessibleName(CWizardDialog::tr("Busy"));
    m_busy->setRange(0, 0);
    m_busy->setTextVisible(false);
    m_busy->setFixedHeight(4);
    QSizePolicy policy = m_busy->sizePolicy();
    policy.setRetainSizeWhenHidden(true);
    m_busy->setSizePolicy(policy);
    m_busy->setVisible(model->isBusy());
    connect(model, &CContentModel::busyChanged, m_busy, &QWidget::setVisible);

    auto *layout = new QVBoxLayout(page);
    layout->setSpacing(12);
    layout->addWidget(m_heading);
    layout->addWidget(m_place, 1);
    layout->addWidget(m_busy);
    q->addPage(page);
}

void CWizardDialog::Private::makeButtons()
{
    q->setOptions(QWizard::HaveHelpButton | QWizard::HaveCustomButton1 | QWizard::HaveCustomButton2
                  | QWizard::HaveCustomButton3);
    QList<QWizard::WizardButton> layout;
    for (const QWizard::WizardButton which : Buttons) {
        layout << which;
        if (which == QWizard::Stretch)
            continue;
        QAbstractButton *button = q->button(which);
        // What QWizard does on a click comes before what we do: Cancel and Finish would close the window.
        disconnect(button, &QAbstractButton::clicked, q, nullptr);
        button->setObjectName(
            QString::fromLatin1(QMetaEnum::fromType<WizardActions::ActionType>().valueToKey(which)));
        CWizardActionButtonSynchronizer::setupSyncronization(*q, controller,
                                                             WizardActions::ActionType(which));
    }
    q->setButtonLayout(layout);
    connect(&controller, &CWizardController::wizardActionsUpdated, this, [this] { setDefaultButton(); });
}

void CWizardDialog::Private::start()
{
    if (!model)
        return;
    const QPointer<CWizardDialog> alive(q);
    // Shown, QWizard has set the buttons its own way.
    if (model->currentPage())
        showPage(model->currentPage(), GUI::Forward);
    else if (model->currentPageId() == -1)
        controller.goNext();
    if (alive && model)
        controller.updateWizardActions();
}

void CWizardDialog::Private::setDefaultButton() const
{
    const auto which = controller.wizardAction(WizardActions::Next)->isVisible() ? QWizard::NextButton
                                                                                 : QWizard::FinishButton;
    if (auto *button = qobject_cast<QPushButton *>(q->button(which)))
        button->setDefault(true);
}

void CWizardDialog::Private::showPage(CAbstractWizardPage *page, int)
{
    if (!page)
        return;
    QWidget *const widget = widgetOf(page);
    if (!widget)
        return;
    m_heading->setText(page->title());
    disconnect(m_title);
    m_title = connect(page, &CAbstractWizardPage::titleChanged, m_heading, &QLabel::setText);
    if (m_shown != widget) {
        if (m_shown) {
            m_place->layout()->removeWidget(m_shown);
            m_shown->hide();
        }
        m_place->layout()->addWidget(widget);
        widget->show();
        m_shown = widget;
    }
    if (q->isVisible())
        makeRoom();
    takeFocus(widget);
}

/// QWizard measures its pages when they are added, which is before there is anything in them.
void CWizardDialog::Private::makeRoom() const
{
    QWidget *const page = m_place->parentWidget();
    QLayout *const layout = page->layout();
    layout->activate();
    QSize least = layout->totalMinimumSize();
    if (layout->hasHeightForWidth())
        least.setHeight(
            qMax(least.height(), layout->totalHeightForWidth(qMax(page->width(), least.width()))));
    const QSize missing = (least - page->size()).expandedTo(QSize(0, 0));
    if (missing.isNull())
        return;
    q->setMinimumSize(q->minimumSize().expandedTo(q->size() + missing));
    q->resize(q->size() + missing);
}

void CWizardDialog::Private::takeFocus(QWidget *widget) const
{
    QWidget *first = firstOf(widget);
    if (!first)
        first = q->button(controller.wizardAction(WizardActions::Next)->isVisible() ? QWizard::NextButton
                                                                                    : QWizard::FinishButton);
    first->setFocus(Qt::OtherFocusReason);
}

QWidget *CWizardDialog::Private::widgetOf(CAbstractWizardPage *page)
{
    if (QWidget *known = m_widgets.value(page))
        return known;
    // The factory is the host's: it may end the wizard.
    const QPointer<CAbstractWizardPage> shown(page);
    const QPointer<CWizardDialog> alive(q);
    QWidget *widget = factory ? factory(*page) : nullptr;
    if (!alive || !shown) {
        delete widget;
        return nullptr;
    }
    if (!widget) {
        KOV_LOG(0, "(!)Error: wizard page %d has no widget.", page->pageId());
        widget = new QLabel(CWizardDialog::tr("This page cannot be shown."));
        widget->setObjectName(QStringLiteral("complaint"));
    }
    widget->setParent(m_place);
    m_widgets.insert(page, widget);
    connect(page, &QObject::destroyed, widget, &QObject::deleteLater);
    connect(page, &QObject::destroyed, this, [this, page] { m_widgets.remove(page); });
    return widget;
}

CWizardDialog::CWizardDialog(CAbstractWizardModel &model, const PageWidgetFactory &factory, QWidget *parent)
    : QWizard(parent)
    , d(new Private(model, this, factory))
{
    setObjectName(QStringLiteral("CWizardDialog"));
    setAttribute(Qt::WA_QuitOnClose, false);
    // The same on each system: what the others add, they add per page.
    setWizardStyle(QWizard::ModernStyle);
    d->makePage();
    d->makeButtons();
    // QWizard's own parts have no names.
    const auto parts = findChildren<QWidget *>();
    for (QWidget *part : parts) {
        if (part->objectName().isEmpty())
            part->setObjectName(QStringLiteral("wizardPart"));
    }
    d->controller.setParentWidget(this);
    connect(&model, &CAbstractWizardModel::finished, this,
            [this](int result) { done(result == 0 ? Accepted : Rejected); });
}

CWizardDialog::~CWizardDialog() = default;

CWizardController *CWizardDialog::wizardCtrl() const
{
    return &d->controller;
}

void CWizardDialog::setVisible(bool visible)
{
    const bool appears = visible && !isVisible();
    QWizard::setVisible(visible);
    if (appears)
        d->start();
}

void CWizardDialog::accept() { }

void CWizardDialog::reject()
{
    const QPointer<CWizardDialog> self(this);
    CAbstractWizardActionHandler *handler = d->model ? d->model->actionHandler() : nullptr;
    if (!handler) {
        QWizard::reject();
        return;
    }
    if (handler->handleCloseEvent() && self)
        d->controller.cancel();
}

void CWizardDialog::showEvent(QShowEvent *event)
{
    const bool isPlaced = testAttribute(Qt::WA_Moved);
    QWizard::showEvent(event);
    if (!isPlaced)
        ScreenFit::onShown(*this, *event);
}

void CWizardDialog::resizeEvent(QResizeEvent *event)
{
    // While the window manager makes the frame, an event may tell a size that the window no longer has, and
    // the toolkit's wizard lays itself out in what it is told.
    QResizeEvent present(size(), event->oldSize());
    QWizard::resizeEvent(&present);
    ScreenFit::onResized(*this, *event);
}
