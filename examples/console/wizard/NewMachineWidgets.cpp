#include "examples/console/wizard/NewMachineWidgets.h"

#include "examples/console/wizard/NewMachinePages.h"

#include <QButtonGroup>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>

namespace {

/// A widget with rows, named as the page's scene is.
struct Face
{
    explicit Face(const char *name)
        : widget(new QWidget)
        , rows(new QFormLayout(widget))
    {
        widget->setObjectName(QLatin1String(name));
        rows->setContentsMargins(0, 0, 0, 0);
    }
    QRadioButton *addChoice(const QString &text, const char *name, bool checked)
    {
        auto *button = new QRadioButton(text, widget);
        button->setObjectName(QLatin1String(name));
        button->setChecked(checked);
        rows->addRow(button);
        return button;
    }
    QLabel *addText(const QString &text, const char *name)
    {
        auto *label = new QLabel(text, widget);
        label->setObjectName(QLatin1String(name));
        label->setTextFormat(Qt::PlainText);
        label->setWordWrap(true);
        rows->addRow(label);
        return label;
    }
    template <typename Field>
    Field *addField(const QString &label, const char *name)
    {
        auto *field = new Field(widget);
        field->setObjectName(QLatin1String(name));
        field->setAccessibleName(label);
        rows->addRow(label, field);
        rows->labelForField(field)->setObjectName(QLatin1String(name) + QLatin1String("Label"));
        return field;
    }

    QWidget *const widget;
    QFormLayout *const rows;
};

QWidget *faceOf(SourcePage &page)
{
    Face face("sourcePage");
    auto *name = face.addField<QLineEdit>(SourcePage::tr("Name"), "machineName");
    name->setText(page.name());
    QObject::connect(name, &QLineEdit::textChanged, &page, &SourcePage::setName);
    QObject::connect(&page, &SourcePage::nameChanged, name, [name, &page] {
        if (name->text() != page.name())
            name->setText(page.name());
    });
    face.addChoice(SourcePage::tr("Install a system"), "install", !page.isFromDisk());
    auto *fromDisk = face.addChoice(SourcePage::tr("Use a disk that has one"), "fromDisk", page.isFromDisk());
    QObject::connect(fromDisk, &QRadioButton::toggled, &page, &SourcePage::setFromDisk);
    return face.widget;
}

QWidget *faceOf(SystemPage &page)
{
    Face face("systemPage");
    auto *group = new QButtonGroup(face.widget);
    for (int i = 0; i < page.systems().size(); ++i) {
        const QByteArray name = "system" + QByteArray::number(i);
        group->addButton(face.addChoice(page.systems().at(i), name.constData(), page.system() == i), i);
    }
    QObject::connect(group, &QButtonGroup::idClicked, &page, &SystemPage::setSystem);
    return face.widget;
}

QWidget *faceOf(DiskPage &page)
{
    Face face("diskPage");
    auto *bar = face.addField<QProgressBar>(DiskPage::tr("Written"), "diskProgress");
    bar->setValue(page.progress());
    QObject::connect(&page, &DiskPage::progressChanged, bar, &QProgressBar::setValue);
    return face.widget;
}

QWidget *faceOf(RegisterPage &page)
{
    Face face("registerPage");
    auto *note = face.addText(page.note(), "registerNote");
    QObject::connect(&page, &RegisterPage::noteChanged, note, &QLabel::setText);
    auto *button = new QPushButton(RegisterPage::tr("Register now"), face.widget);
    button->setObjectName(QStringLiteral("registerNow"));
    button->setAutoDefault(false);
    button->setEnabled(!page.isRegistered());
    QObject::connect(button, &QPushButton::clicked, &page, &RegisterPage::registerMachine);
    QObject::connect(&page, &RegisterPage::completeChanged, button,
                     [button, &page] { button->setEnabled(!page.isRegistered()); });
    face.rows->addRow(button);
    return face.widget;
}

QWidget *faceOf(SummaryPage &page)
{
    Face face("summaryPage");
    auto *text = face.addText(page.summary(), "summary");
    QObject::connect(&page, &SummaryPage::summaryChanged, text, &QLabel::setText);
    return face.widget;
}

} // namespace

QWidget *makePageWidget(CAbstractWizardPage &page)
{
    if (auto *proxy = qobject_cast<CDeclarativeWizardProxyPage *>(&page))
        return proxy->sourcePage();
    if (auto *source = qobject_cast<SourcePage *>(&page))
        return faceOf(*source);
    if (auto *system = qobject_cast<SystemPage *>(&page))
        return faceOf(*system);
    if (auto *disk = qobject_cast<DiskPage *>(&page))
        return faceOf(*disk);
    if (auto *registration = qobject_cast<RegisterPage *>(&page))
        return faceOf(*registration);
    if (auto *summary = qobject_cast<SummaryPage *>(&page))
        return faceOf(*summary);
    return nullptr;
}

QWidget *makeHardwareWidget(NewMachineModel &model)
{
    Face face("hardwarePage");
    auto *memory = face.addField<QSpinBox>(HardwarePage::tr("Memory"), "memory");
    memory->setRange(512, 65536);
    memory->setSingleStep(512);
    memory->setSuffix(HardwarePage::tr(" MB"));
    memory->setValue(model.machine.memory);
    QObject::connect(memory, qOverload<int>(&QSpinBox::valueChanged), &model,
                     [&model](int value) { model.machine.memory = value; });
    auto *processors = face.addField<QSpinBox>(HardwarePage::tr("Processors"), "processors");
    processors->setRange(1, 64);
    processors->setValue(model.machine.processors);
    QObject::connect(processors, qOverload<int>(&QSpinBox::valueChanged), &model,
                     [&model](int value) { model.machine.processors = value; });
    return face.widget;
}
