#include "MappingFixture.h"
#include "gui/mapping/storage/CMappingController.h"
#include "gui/mapping/storage/CMappingValueHandler.h"
#include "gui/mapping/widgets/CDataProvider.h"
#include "gui/mapping/widgets/CWidgetIniter.h"
#include "gui/mapping/widgets/CWidgetMapper.h"
#include "tests/support/OffscreenPlatform.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QDial>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QRadioButton>
#include <QSlider>
#include <QSpinBox>
#include <QTextEdit>
#include <QVBoxLayout>

using Properties = QVariantMap;
using Kind = std::function<QWidget *()>;

static Mappings::Values tree(const QVariant &value)
{
    return {{"QSettings", {{"p", value}}}};
}

/// A spin box of an application's own.
class OwnSpinBox : public QSpinBox
{
    Q_OBJECT
};

/// A provider with accessors of an application's own.
class OwnProvider : public CDataProvider
{
    Q_OBJECT

public:
    Q_INVOKABLE QVariant getQLabelValue(QWidget *widget, const QString &storage, const QString &path)
    {
        return storage + '/' + path + '/' + qobject_cast<QLabel *>(widget)->text();
    }
    Q_INVOKABLE void setQLabelValue(QWidget *widget, const Mappings::Values &values)
    {
        qobject_cast<QLabel *>(widget)->setText(values["QSettings"]["p"].toString());
    }
};

/// A form of widgets over a model, as an application has it.
class Form : public QWidget
{
    Q_OBJECT

public:
    template <typename Widget>
    Widget *add(const char *path, const Properties &properties = {})
    {
        auto *widget = new Widget(this);
        widget->setObjectName(path);
        bind(widget, path);
        for (auto property = properties.begin(); property != properties.end(); ++property)
            widget->setProperty(property.key().toLatin1(), *property);
        layout.addWidget(widget);
        return widget;
    }
    static void bind(QWidget *widget, const char *path)
    {
        widget->setProperty("storages", QStringList("QSettings"));
        widget->setProperty("QSettings", QStringList(path));
    }
    QVariant value(const char *path) const { return model->getValue("QSettings", path); }

    QVBoxLayout layout{this};
    std::unique_ptr<SampleModel> model = std::make_unique<SampleModel>();
    std::unique_ptr<CMappingController> controller = std::make_unique<CMappingController>(*model);
    std::unique_ptr<CDataProvider> provider = std::make_unique<CDataProvider>();
    std::unique_ptr<CWidgetMapper> mapper = std::make_unique<CWidgetMapper>(*controller, *provider, nullptr);
};

class tst_MappingWidgets : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { ignoreOffscreenWarnings(); }
    void init() { useNewSettings(); }

    /// A value written, what the widget then shows, another that it is made to show, and what is read then.
    void conversion_data()
    {
        Table<Kind, Properties, QByteArray, QVariant, QVariant, QVariant, QVariant> row;
        Kind kind;
        QByteArray property;
        const auto add = [&](const char *name, const Properties &properties, const QVariant &written,
                             const QVariant &shown, const QVariant &changed, const QVariant &read) {
            row(name, kind, properties, property, written, shown, changed, read);
        };
        const QVariant none;
        const Properties wide{{"minimum", -2147483647}, {"maximum", 2147483647}};
        const auto with = [&](const Properties &more) {
            Properties all = wide;
            for (auto entry = more.begin(); entry != more.end(); ++entry)
                all.insert(entry.key(), *entry);
            return all;
        };

        kind = [] { return new QCheckBox; };
        property = "checked";
        add("check box", {}, true, true, false, false);
        add("check box, text", {}, "false", false, true, true);
        add("check box, inverted", {{"invertValue", true}}, false, true, false, true);
        add("check box, no truth value", {{"checked", true}}, QVariantMap{}, true, false, false);
        kind = [] { return new QGroupBox; };
        add("group box", {{"checkable", true}}, false, false, true, true);

        kind = [] { return new QSpinBox; };
        property = "value";
        add("spin box", {}, 7, 7, 8, 8);
        add("spin box, text", {}, "7", 7, 8, 8);
        add("spin box, no value", {{"value", 3}}, none, 3, 4, 4);
        add("spin box, no number", {{"value", 3}}, "many", 3, 4, 4);
        add("spin box, beyond its range", {}, 500, 99, 98, 98);
        add("spin box, factors", with({{"multiplier", 3}, {"divisor", 2}}), 7, 10, 10, 6);
        add("spin box, factors below 1", {{"multiplier", 0}, {"divisor", -5}}, 7, 7, 8, 8);
        add("spin box, lossy", with({{"divisor", 1048576}}), 1500000, 1, 2, 2097152);
        add("spin box, overflow both ways", with({{"multiplier", 2147483647}}), 5, 2147483647, 2147483647, 1);
        add("spin box, overflow back", with({{"divisor", 2147483647}}), -5, 0, -3, int(-2147483647 - 1));
        add("spin box, larger than an int", wide, 3000000000LL, 2147483647, 1, 1);
        add("spin box, unsigned", with({{"typeUInt", true}}), 4294967295u, 2147483647, 5, 5u);
        add("spin box, unsigned divided", with({{"typeUInt", true}, {"divisor", 1024}}), 4294967295u, 4194303,
            4194304, 4294967295u);
        add("spin box, unsigned of a negative", with({{"typeUInt", true}}), -5, 0, -5, 0u);
        add("spin box, double", with({{"typeDouble", true}, {"multiplier", 100}}), 0.29, 29, 50, 0.5);
        add("spin box, not a number", with({{"typeDouble", true}, {"value", 3}}), qQNaN(), 3, 4, 4.0);
        kind = [] { return new OwnSpinBox; };
        add("spin box of its own class", {}, 7, 7, 8, 8);
        kind = [] { return new QSlider; };
        add("slider", {{"divisor", 10}}, 70, 7, 8, 80);
        kind = [] { return new QDial; };
        add("accessors by name", {{"getter", "getQSliderValue"}, {"setter", "setQSliderValue"}}, 7, 7, 8, 8);

        kind = [] { return new QDoubleSpinBox; };
        add("double spin box", {{"typeDouble", true}}, 1.25, 1.25, 2.5, 2.5);
        add("double spin box, whole number stored", {{"divisor", 1000}}, 1500, 1.5, 0.29, 290);
        add("double spin box, unsigned", {{"typeUInt", true}, {"divisor", 100}}, 29u, 0.29, 0.57, 57u);

        kind = [] { return new QLineEdit; };
        property = "text";
        add("line edit", {}, "<b>a</b>", "<b>a</b>", "c", "c");
        add("line edit, number", {}, 5, "5", "c", "c");
        add("line edit, list", {}, QStringList{"a", "b"}, "a, b", "c", "c");
        kind = [] { return new QTextEdit; };
        property = "plainText";
        add("text edit", {}, "<b>a</b>\n b", "<b>a</b>\n b", "c", "c");

        kind = [] {
            auto *box = new QComboBox;
            box->addItem("One", 1);
            box->addItem("Two", 2);
            return box;
        };
        property = "currentIndex";
        add("combo box", {}, 2, 1, 0, 1);
        add("combo box, text", {}, "2", 1, 0, 1);
        add("combo box, unknown value", {}, 9, -1, -1, 1);
        add("combo box, none chosen", {{"lastSelectedIndex", 1}}, 9, -1, -1, 2);
    }

    void conversion()
    {
        const auto [kind, properties, shownProperty, written, shown, changed, read]
            = cells<Kind, Properties, QByteArray, QVariant, QVariant, QVariant, QVariant>();
        const LogCapture log;
        const std::unique_ptr<QWidget> widget(kind());
        for (auto property = properties.begin(); property != properties.end(); ++property)
            widget->setProperty(property.key().toLatin1(), *property);
        CDataProvider provider;
        QSignalSpy spy(&provider, &CDataProvider::valueChanged);
        provider.connectWidgetSignals(widget.get());
        provider.setWidgetValues(widget.get(), tree(written));
        QCOMPARE(widget->property(shownProperty), shown);
        QVERIFY(spy.isEmpty());
        widget->setProperty(shownProperty, changed);
        Mappings::Values values = tree({});
        QVERIFY(provider.getWidgetValues(widget.get(), values));
        QCOMPARE(values, tree(read));
        QCOMPARE(values["QSettings"]["p"].userType(), read.userType());
    }

    void reports()
    {
        CDataProvider provider;
        QStringList reported;
        connect(&provider, &CDataProvider::valueChanged, this,
                [&](QWidget *widget) { reported += widget->objectName(); });
        const auto take = [&] { return std::exchange(reported, {}).join(' '); };
        Form form;
        auto *spin = form.add<QSpinBox>("spin", {{"divisor", 1048576}});
        auto *line = form.add<QLineEdit>("line");
        auto *text = form.add<QTextEdit>("text");
        auto *first = form.add<QRadioButton>("first");
        auto *second = form.add<QRadioButton>("second");
        auto *own = form.add<QCheckBox>("own", {{"preprocessValue", true}});
        for (QWidget *widget : form.findChildren<QWidget *>(QString(), Qt::FindDirectChildrenOnly))
            provider.connectWidgetSignals(widget);
        provider.setWidgetValues(spin, tree(1500000));
        provider.setWidgetValues(first, tree(true));
        provider.setWidgetValues(second, tree(true)); // unchecks the first, which tells so
        provider.setWidgetValues(line, tree("text"));
        form.show();
        QApplication::setActiveWindow(&form);
        for (QWidget *widget : QWidgetList{spin, line, text, spin})
            widget->setFocus();
        QTest::keyClick(spin, Qt::Key_Return);
        QCOMPARE(take(), QString());

        QTest::keyClick(spin, Qt::Key_Up);
        line->setFocus();
        QTest::keyClicks(line, "x");
        QCOMPARE(take(), "spin");
        text->setFocus();
        QTest::keyClicks(text, "y");
        QCOMPARE(take(), "line");
        own->setFocus();
        own->click();
        QCOMPARE(take(), "text");
        first->click();
        QCOMPARE(take(), "second first");

        const LogCapture log(2);
        provider.connectWidgetSignals(line);
        QCOMPARE(log.count("Warning: Widget[line] already added in map."), 1);
        for (QWidget *widget : QWidgetList{line, text, spin, line})
            provider.disconnectWidgetSignals(widget);
        QCOMPARE(log.count("Info: Widget[line] absent in map."), 1);
        for (QWidget *widget : QWidgetList{spin, line, text}) {
            widget->setFocus();
            QTest::keyClick(widget, Qt::Key_7);
        }
        first->setFocus();
        QCOMPARE(take(), QString());
    }

    void accessorsOfItsOwnAndNone()
    {
        OwnProvider provider;
        QLabel label("old");
        provider.connectWidgetSignals(&label);
        provider.setWidgetValues(&label, tree("new"));
        Mappings::Values values = tree({});
        QVERIFY(provider.getWidgetValues(&label, values));
        QCOMPARE(values, tree("QSettings/p/new"));

        const LogCapture log;
        CDataProvider other;
        label.setObjectName("label");
        other.connectWidgetSignals(&label);
        other.setWidgetValues(&label, tree("x"));
        QVERIFY(!other.getWidgetValues(&label, values));
        QCOMPARE(log.count("(!)Error: Control[label]: failed to invoke method 'setQLabelValue'"), 1);
        QCOMPARE(log.count("(!)Error: Control[label]: failed to invoke getQLabelValue"), 1);
        label.setProperty("setter", "setQSpinBoxValue");
        label.setProperty("getter", "deleteLater");
        other.setWidgetValues(&label, tree(1));
        QVERIFY(!other.getWidgetValues(&label, values));
        QCOMPARE(log.count("a QLabel is no QSpinBox"), 1);
        QCOMPARE(label.text(), "new");
    }

    /// Every change reaches the widget, also one of values that count as equal.
    void loadedAnew()
    {
        Form form;
        const auto label = form.add<QLabel>("p");
        OwnProvider provider;
        form.mapper = std::make_unique<CWidgetMapper>(*form.controller, provider, nullptr);
        const auto noon = QDateTime(QDate(2026, 1, 1), QTime(12, 0), Qt::UTC);
        QSettings().setValue("p", 0.1);
        QVERIFY(form.mapper->addMappings(&form));
        for (const QVariant &value :
             {QVariant(0.1 + 1e-16), QVariant(noon), QVariant(noon.toOffsetFromUtc(3600))}) {
            QSettings().setValue("p", value);
            form.model->revert();
            QCOMPARE(label->text(), value.toString());
        }
    }

    void mapping()
    {
        const LogCapture log;
        QSettings().setValue("list[3].name", "three");
        Form form;
        auto *line = form.add<QLineEdit>("list[DYNAMIC_PART].name");
        QVERIFY(!form.mapper->addMapping(line));
        QCOMPARE(log.count("(!)Error: Failed to init widget value path. Dynamic part of path absent."), 1);
        form.mapper->processValueChanged(line);
        QCOMPARE(log.count("(!)Error: widget not mapped."), 1);
        line->setProperty("DYNAMIC_PART", "3");
        QVERIFY(form.mapper->addMapping(line));
        QVERIFY(!form.mapper->addMapping(line) && !form.mapper->addMapping(nullptr));
        QCOMPARE(log.count("(!)Error: Control already mapped. Widget[list[DYNAMIC_PART].name]"), 1);
        QCOMPARE(log.count("(!)Error: Invalid params."), 1);
        QCOMPARE(line->text(), "three");
        line->setText("four");
        form.mapper->processValueChanged(line);
        QCOMPARE(form.value("list[3].name"), QVariant("four"));

        // Several widgets of one value follow each other, and the model.
        QSettings().setValue("n", 5);
        auto *slider = form.add<QSlider>("n");
        auto *spin = form.add<QSpinBox>("n");
        QSignalSpy finished(form.mapper.get(), &CWidgetMapper::initWidgetsFinished);
        QVERIFY(!form.mapper->addMappings(&form)); // but for the one that is mapped
        QCOMPARE(finished.size(), 1);
        slider->setValue(7);
        QCOMPARE(spin->value(), 7);
        form.model->setValue("QSettings", "n", 9);
        QVERIFY(slider->value() == 9 && spin->value() == 9);
        form.mapper->removeMapping(spin);
        slider->setValue(8);
        QCOMPARE(spin->value(), 9);

        auto *bare = new QCheckBox(&form);
        QVERIFY(form.mapper->addMapping(bare));
        bare->click();
    }

    void editing()
    {
        QSettings().setValue("line", "stored");
        QSettings().setValue("spin", 1500000);
        Form form;
        struct Choices : CWidgetIniter
        {
            void initWidget(QWidget *widget, const QVariant &) override
            {
                auto *box = qobject_cast<QComboBox *>(widget);
                if (box && box->count() == 0)
                    box->addItem("The first entry becomes the current one", 1);
            }
        } choices;
        form.mapper = std::make_unique<CWidgetMapper>(*form.controller, *form.provider, &choices);
        QSettings().setValue("choice", 2);
        form.add<QComboBox>("choice");
        auto *line = form.add<QLineEdit>("line");
        auto *spin = form.add<QSpinBox>("spin", {{"divisor", 1048576}, {"keyboardTracking", false}});
        auto *text = form.add<QTextEdit>("text");
        form.model->defaults = {{"text", "default"}};
        QVERIFY(form.mapper->addMappings(&form));
        QSignalSpy changes(form.mapper.get(), &CWidgetMapper::modificationChanged);
        const auto expect = [&](bool modified) {
            return form.mapper->isModified() == modified
                   && (changes.isEmpty() || changes.last().at(0).toBool() == modified);
        };
        QTest::keyClicks(line, "X");
        QVERIFY(expect(true));
        QTest::keyClick(line, Qt::Key_Backspace);
        QVERIFY(expect(false));
        QCOMPARE(changes.size(), 2);
        QTest::keyClicks(text, "X");
        QVERIFY(expect(true));
        form.mapper->revert();
        QVERIFY(expect(false) && text->toPlainText() == "default");

        // What is being typed survives a change of all values, and a button that does not take the focus.
        QTest::keyClicks(line, "Y");
        Q_EMIT form.model->dataChanged();
        QCOMPARE(line->text(), "storedY");
        QCOMPARE(form.value("line"), QVariant("stored"));
        QTest::keyClick(spin, Qt::Key_5);
        QVERIFY(form.mapper->isModified());
        QVERIFY(form.mapper->flush());
        QCOMPARE(form.value("line"), QVariant("storedY"));
        QCOMPARE(form.value("spin"), QVariant(51 * 1048576));
        form.model->submit();
        QVERIFY(expect(false));

        line->setValidator(new QRegularExpressionValidator(QRegularExpression(".*!"), line));
        QTest::keyClicks(line, "Z"); // acceptable with an exclamation mark only
        QVERIFY(expect(true) && !form.mapper->flush() && form.value("line") == QVariant("storedY"));
        delete line;
        QCoreApplication::processEvents();
        QVERIFY(expect(false));

        // Reset while a lossy value is shown; the question of a handler that says no.
        spin->setValue(7);
        form.mapper->revert();
        QVERIFY(expect(false) && spin->value() == 51);
        struct No : CMappingValueHandler
        {
            bool handleValue(const QString &storage, const QString &path, QVariant value) override
            {
                Q_EMIT CMappingValueHandler::handleValueFinished(false, storage, path, value);
                return true;
            }
        };
        form.controller->setValueHandler(new No);
        spin->setValue(8);
        QVERIFY(expect(false) && spin->value() == 51);
    }

    void partsThatGo()
    {
        const LogCapture log;
        Form form;
        form.model->defaults = {{"n", 1}, {"line", ""}};
        QPointer<QSlider> slider = form.add<QSlider>("n");
        auto *line = form.add<QLineEdit>("line");
        CWidgetIniter initer;
        QVERIFY(form.mapper->addMappings(&form));
        connect(form.model.get(), &CMappingModel::valueChanged, this, [&] { delete slider; });
        slider->setValue(2); // in its own signal
        QVERIFY(!slider);
        QCOMPARE(form.value("n"), QVariant(2));
        connect(form.mapper.get(), &CWidgetMapper::valuesChanged, this, [&] { form.mapper.reset(); });
        QTest::keyClicks(line, "a");
        QTest::keyClick(line, Qt::Key_Return);
        QVERIFY(!form.mapper);

        form.mapper = std::make_unique<CWidgetMapper>(*form.controller, *form.provider, nullptr);
        QVERIFY(form.mapper->addMapping(line));
        form.model.reset();
        QTest::keyClicks(line, "b");
        QTest::ignoreMessage(QtCriticalMsg, "Error(!): Value not initialized: QSettings: line");
        QTest::ignoreMessage(QtCriticalMsg, QRegularExpression("VALUE PATHS TO GET"));
        QTest::ignoreMessage(QtCriticalMsg, "QSettings: line = QVariant(Invalid)");
        QTest::ignoreMessage(QtCriticalMsg, QRegularExpression("^-+$"));
        form.mapper->revert();
        Q_EMIT form.controller->dataChanged();
        QCOMPARE(log.count("(!)Error: Failed to get values for control[line]"), 1);
        QCOMPARE(log.count("(!)Warning: Not all values are valid for control[line]"), 1);
        form.controller.reset();
        QTest::keyClicks(line, "c");
        form.mapper->flush();
        form.provider.reset();
        QTest::keyClicks(line, "d");
        QVERIFY(form.mapper->flush() && !form.mapper->isModified());
        form.mapper->revert();
        form.mapper->processValueChanged(line);
    }
};

KOV_TEST_MAIN(QApplication, tst_MappingWidgets)
#include "tst_mapping_widgets.moc"
