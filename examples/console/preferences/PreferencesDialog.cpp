#include "examples/console/preferences/PreferencesDialog.h"

#include "examples/console/preferences/CarefulHandler.h"
#include "examples/console/preferences/PreferencesModel.h"
#include "examples/console/sample/ConsoleMessages.h"
#include "gui/mapping/storage/CMappingController.h"
#include "gui/mapping/widgets/CDataProvider.h"
#include "gui/mapping/widgets/CWidgetIniter.h"
#include "gui/mapping/widgets/CWidgetMapper.h"
#include "gui/messages/CMessageManager.h"
#include "ui_PreferencesDialog.h"

#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>

namespace {

/// Fills the lists of choices, which a form cannot.
class ChoiceIniter : public CWidgetIniter
{
public:
    void initWidget(QWidget *widget, const QVariant &) override
    {
        auto *box = qobject_cast<QComboBox *>(widget);
        if (!box || box->count() > 0)
            return;
        const QString kind = box->property(Mappings::IniterProp).toString();
        if (kind == QLatin1String("languages")) {
            for (const char *code : {"de", "en", "fr", "ja", "pt"})
                box->addItem(QLocale(QLatin1String(code)).nativeLanguageName(), QLatin1String(code));
        } else if (kind == QLatin1String("bootDevices")) {
            box->addItem(PreferencesDialog::tr("Disk"), QStringLiteral("disk"));
            box->addItem(PreferencesDialog::tr("Optical disc"), QStringLiteral("disc"));
            box->addItem(PreferencesDialog::tr("Network"), QStringLiteral("network"));
        }
    }
};

/// A form, as large as it wants to be; where the screen is too small for that it scrolls.
class FormArea : public QScrollArea
{
public:
    explicit FormArea(QWidget *form)
    {
        setObjectName(form->objectName() + QLatin1String("Area"));
        setFrameShape(QFrame::NoFrame);
        setFocusPolicy(Qt::NoFocus);
        setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
        setWidgetResizable(true);
        setWidget(form);
        for (QWidget *widget : {viewport(), form})
            widget->setAutoFillBackground(false);
    }
    QSize sizeHint() const override { return widget()->sizeHint().expandedTo(minimumSizeHint()); }
    QSize minimumSizeHint() const override
    {
        const int width = widget()->minimumSizeHint().width() + verticalScrollBar()->sizeHint().width();
        return {width, QScrollArea::minimumSizeHint().height()};
    }
};

void letFormsScroll(QTabWidget *tabs)
{
    for (int i = 0; i < tabs->count(); ++i) {
        const QString title = tabs->tabText(i);
        QWidget *form = tabs->widget(i);
        tabs->removeTab(i);
        tabs->insertTab(i, new FormArea(form), title);
    }
    tabs->setCurrentIndex(0);
}

} // namespace

class PreferencesDialog::Private
{
public:
    explicit Private(PreferencesModel &preferences)
        : model(preferences)
    { }

    Ui::PreferencesDialog ui;
    PreferencesModel &model;
    CMappingController controller{model};
    CDataProvider provider;
    ChoiceIniter initer;
    CWidgetMapper mapper{controller, provider, &initer};
    bool submitWanted = false;
    bool closeWanted = false;
};

PreferencesDialog::PreferencesDialog(PreferencesModel &model, QWidget *parent)
    : CBaseDialog(parent)
    , d(std::make_unique<Private>(model))
{
    d->ui.setupUi(this);
    letFormsScroll(d->ui.tabs);
    // The Tab key reaches last what came last.
    d->ui.buttons->setParent(nullptr);
    layout()->addWidget(d->ui.buttons);
    // Which machine it is about is known only now.
    const auto widgets = d->ui.machineTab->findChildren<QWidget *>();
    for (QWidget *widget : widgets)
        widget->setProperty(Mappings::DynamicPathPart, QStringLiteral("1"));
    const QDialogButtonBox *buttons = d->ui.buttons;
    for (const auto &[button, name] :
         {std::pair{QDialogButtonBox::Ok, "ok"}, std::pair{QDialogButtonBox::Apply, "apply"},
          std::pair{QDialogButtonBox::Cancel, "cancel"}, std::pair{QDialogButtonBox::Reset, "reset"}})
        buttons->button(button)->setObjectName(QString::fromLatin1(name));
    buttons->button(QDialogButtonBox::Apply)->setText(tr("&Apply"));
    connect(buttons, &QDialogButtonBox::accepted, this, &PreferencesDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &PreferencesDialog::reject);
    connect(buttons->button(QDialogButtonBox::Apply), &QPushButton::clicked, this, &PreferencesDialog::apply);
    connect(buttons->button(QDialogButtonBox::Reset), &QPushButton::clicked, &d->mapper,
            &CWidgetMapper::revert);

    d->controller.setValueHandler(new CarefulHandler(this));
    connect(&d->controller, &CMappingController::modifiedChanged, this,
            &PreferencesDialog::submitWhenAnswered);
    connect(&d->mapper, &CWidgetMapper::modificationChanged, this, &PreferencesDialog::updateButtons);
    connect(&d->mapper, &CWidgetMapper::initWidgetsFinished, this, &PreferencesDialog::updateDependents);
    connect(&model, &CMappingModel::submitStarted, this, &PreferencesDialog::updateButtons);
    connect(&model, &CMappingModel::submitFinished, this, &PreferencesDialog::onSubmitted);
    d->mapper.addMappings(this);
    updateButtons();
    // The toolkit would take two thirds of the screen for enough.
    resize(sizeHint());
}

PreferencesDialog::~PreferencesDialog() = default;

void PreferencesDialog::updateButtons()
{
    const bool isChanged = d->mapper.isModified() && !d->model.isSubmiting();
    d->ui.buttons->button(QDialogButtonBox::Apply)->setEnabled(isChanged);
    d->ui.buttons->button(QDialogButtonBox::Reset)->setEnabled(isChanged);
}

void PreferencesDialog::updateDependents()
{
    d->ui.startHidden->setEnabled(d->ui.startWithSystem->isChecked());
}

void PreferencesDialog::apply()
{
    d->submitWanted = d->mapper.flush();
    d->closeWanted &= d->submitWanted;
    submitWhenAnswered();
}

void PreferencesDialog::submitWhenAnswered()
{
    // A change may wait for its question.
    if (!d->submitWanted || !d->controller.valuesToCommit().isEmpty())
        return;
    d->submitWanted = false;
    d->model.submit();
}

void PreferencesDialog::onSubmitted(int result)
{
    updateButtons();
    Q_EMIT applied(result);
    const bool isClosing = std::exchange(d->closeWanted, false);
    if (KOV_SUCCEEDED(result)) {
        if (isClosing)
            CBaseDialog::accept();
        return;
    }
    const auto refusal = d->model.refusal();
    if (result == ConsoleMessages::MachineRefused && !refusal.isNull())
        CMessageManager::instance()->showMessageBox(refusal, QString(), this);
    else
        CMessageManager::instance()->showMessageBox(
            MessageParams(ConsoleMessages::PreferencesNotSaved, this));
}

void PreferencesDialog::accept()
{
    d->closeWanted = true;
    apply();
}

void PreferencesDialog::reject()
{
    d->submitWanted = false;
    d->closeWanted = false;
    d->mapper.revert();
    CBaseDialog::reject();
}
