// Forms of 50, 200 and 1,000 widgets bound to settings, beside KConfigDialogManager and QDataWidgetMapper:
// binding, one keystroke with a fresh answer whether anything is changed, loading and submitting.

#include "gui/mapping/storage/CMappingController.h"
#include "gui/mapping/storage/CMappingModel.h"
#include "gui/mapping/widgets/CDataProvider.h"
#include "gui/mapping/widgets/CWidgetMapper.h"

#include <KConfigDialogManager>
#include <KConfigSkeleton>

#include <QApplication>
#include <QCheckBox>
#include <QDataWidgetMapper>
#include <QLineEdit>
#include <QSpinBox>
#include <QStandardItemModel>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <functional>
#include <map>
#include <memory>
#include <vector>

namespace {

constexpr int roundCount = 9;
constexpr int keystrokes = 200;

/// Line edits, spin boxes and check boxes by turns.
class Form : public QWidget
{
public:
    explicit Form(int count)
    {
        for (int i = 0; i < count; ++i) {
            QWidget *widget = nullptr;
            if (i % 3 == 0)
                widget = new QLineEdit(this);
            else if (i % 3 == 1)
                widget = new QSpinBox(this);
            else
                widget = new QCheckBox(this);
            widget->setObjectName(QStringLiteral("kcfg_value%1").arg(i));
            widget->setProperty(Mappings::StoragesProp, QStringList(QStringLiteral("QSettings")));
            widget->setProperty("QSettings", QStringList(QStringLiteral("group.value%1").arg(i)));
            widgets.push_back(widget);
        }
        edit = static_cast<QLineEdit *>(widgets.front());
    }

    /// Every widget shows another value.
    void changeAll()
    {
        for (QWidget *widget : widgets) {
            if (auto *line = qobject_cast<QLineEdit *>(widget)) {
                line->setText(line->text() + QLatin1Char('x'));
                Q_EMIT line->editingFinished();
            } else if (auto *box = qobject_cast<QSpinBox *>(widget)) {
                box->setValue((box->value() + 1) % 100);
            } else if (auto *check = qobject_cast<QCheckBox *>(widget)) {
                check->toggle();
            }
        }
    }

    std::vector<QWidget *> widgets;
    QLineEdit *edit = nullptr;
};

class Contestant
{
public:
    virtual ~Contestant() = default;
    virtual void bind(Form *form) = 0;
    virtual bool isChanged() = 0;
    virtual void load() = 0;
    virtual void submit() = 0;
};

class Ours : public Contestant
{
    class Model : public CMappingModel
    {
    public:
        Model()
            : CMappingModel(ManualSubmit)
        { }
        QVariant getDefaultValue(const QString &, const QString &path) const override
        {
            return path.endsWith(QLatin1Char('0')) ? QVariant(0) : QVariant(1);
        }
    };

public:
    void bind(Form *form) override { m_mapper.addMappings(form); }
    bool isChanged() override { return m_mapper.isModified(); }
    void load() override { m_model.revert(); }
    void submit() override { m_model.submit(); }

private:
    Model m_model;
    CMappingController m_controller{m_model};
    CDataProvider m_provider;
    CWidgetMapper m_mapper{m_controller, m_provider, nullptr};
};

class Kde : public Contestant
{
public:
    explicit Kde(int count)
        : m_skeleton(QStringLiteral("benchrc"))
        , m_texts(std::size_t(count))
        , m_numbers(std::size_t(count))
        , m_flags(std::make_unique<bool[]>(std::size_t(count)))
    {
        m_skeleton.setCurrentGroup(QStringLiteral("group"));
        for (int i = 0; i < count; ++i) {
            const QString name = QStringLiteral("value%1").arg(i);
            if (i % 3 == 0)
                m_skeleton.addItemString(name, m_texts[std::size_t(i)], QStringLiteral("1"));
            else if (i % 3 == 1)
                m_skeleton.addItemInt(name, m_numbers[std::size_t(i)], 1);
            else
                m_skeleton.addItemBool(name, m_flags[std::size_t(i)], true);
        }
    }
    void bind(Form *form) override
    {
        m_skeleton.load();
        m_manager = new KConfigDialogManager(form, &m_skeleton);
        m_manager->updateWidgets();
    }
    bool isChanged() override { return m_manager->hasChanged(); }
    void load() override
    {
        m_skeleton.load();
        m_manager->updateWidgets();
    }
    void submit() override { m_manager->updateSettings(); }

private:
    KConfigSkeleton m_skeleton;
    std::vector<QString> m_texts;
    std::vector<int> m_numbers;
    std::unique_ptr<bool[]> m_flags;
    KConfigDialogManager *m_manager = nullptr; ///< belongs to the form
};

/// Knows no storage and does not tell whether anything is changed: its model is in memory.
class Qt5 : public Contestant
{
public:
    explicit Qt5(int count)
        : m_model(1, count)
    {
        for (int i = 0; i < count; ++i)
            m_model.setItem(0, i, new QStandardItem(QStringLiteral("1")));
        m_mapper.setSubmitPolicy(QDataWidgetMapper::ManualSubmit);
        m_mapper.setModel(&m_model);
    }
    void bind(Form *form) override
    {
        for (std::size_t i = 0; i < form->widgets.size(); ++i)
            m_mapper.addMapping(form->widgets[i], int(i));
        m_mapper.toFirst();
    }
    bool isChanged() override { return false; }
    void load() override { m_mapper.revert(); }
    void submit() override { m_mapper.submit(); }

private:
    QStandardItemModel m_model;
    QDataWidgetMapper m_mapper;
};

double microseconds(const std::function<void()> &work)
{
    const std::clock_t begin = std::clock();
    work();
    return double(std::clock() - begin) * 1e6 / CLOCKS_PER_SEC;
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

using Times = std::map<QString, std::vector<double>>;

void run(Contestant *contestant, int count, Times *times)
{
    Form form(count);
    const auto note = [&](const char *work, double time) { (*times)[QLatin1String(work)].push_back(time); };
    note("bind, each", microseconds([&] { contestant->bind(&form); }) / count);
    note("keystroke", microseconds([&] {
                          for (int i = 0; i < keystrokes / 2; ++i) {
                              form.edit->insert(QStringLiteral("x"));
                              contestant->isChanged();
                              form.edit->backspace();
                              contestant->isChanged();
                          }
                      }) / keystrokes);
    note("load, each", microseconds([&] { contestant->load(); }) / count);
    // Ours takes a value when it changes, the others when it is submitted.
    note("change and submit", microseconds([&] {
                                  form.changeAll();
                                  contestant->submit();
                              }) / count);
}

} // namespace

int main(int argc, char *argv[])
{
    const QTemporaryDir folder;
    qputenv("XDG_CONFIG_HOME", folder.path().toLocal8Bit());
    QApplication application(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("bench"));
    QApplication::setApplicationName(QStringLiteral("mapping"));
    std::printf(
        "medians of %d rounds, us of processor time; a form of   ours, KConfigDialogManager, QDataWidgetMapper\n",
        roundCount);
    for (const int count : {50, 200, 1000}) {
        Times times[3];
        for (int round = 0; round < roundCount; ++round) {
            Ours ours;
            run(&ours, count, &times[0]);
            Kde kde(count);
            run(&kde, count, &times[1]);
            Qt5 qt(count);
            run(&qt, count, &times[2]);
        }
        for (const auto &[work, values] : times[0]) {
            const double our = median(values);
            const double peer = median(times[1][work]);
            std::printf("%5d  %-14s %8.2f %8.2f %8.2f   %.2f x KConfigDialogManager\n", count,
                        qUtf8Printable(work), our, peer, median(times[2][work]), our / peer);
        }
    }
    return 0;
}
