#include "MappingFixture.h"
#include "tests/support/Files.h"

#include <QPointer>
#include <QProcess>

#include <sys/resource.h>

#include <csignal>

using Script = std::function<void(SampleModel &)>;
using Step = std::function<void()>;
Q_DECLARE_METATYPE(Script)
Q_DECLARE_METATYPE(Step)

/// Submission, and settings that cannot be written.
class tst_MappingModel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { useNewSettings(); }

    void submission_data()
    {
        struct Row
        {
            const char *name;
            Script script;
            const char *events;
            int logged;
        };
        const auto automatic = CMappingModel::AutoSubmit;
        const QVector<Row> rows{
            {"nothing to submit", [](SampleModel &m) { m.submit(); }, "finished 0", 0},
            {"at once",
             [=](SampleModel &m) {
                 m.setSubmitPolicy(automatic);
                 m.setValue("QSettings", "p", 1);
             },
             "QSettings.p=1 | started | submit QSettings | finished 0", 0},
            {"a tree at once",
             [=](SampleModel &m) {
                 m.setSubmitPolicy(automatic);
                 m.setValues({{"Remote", {{"b", 1}, {"a", 2}}}, {"QSettings", {{"p", 3}}}});
                 m.end(0);
                 QCOMPARE(m.getSubmitPolicy(), automatic);
             },
             "QSettings.p=3 | Remote.a=2 | Remote.b=1 | started | submit QSettings | submit Remote | finished 0",
             0},
            {"an unknown storage at once",
             [=](SampleModel &m) {
                 m.setSubmitPolicy(automatic);
                 m.setValue("X", "p", 1);
             },
             "finished 0", 0},
            {"collected, in the order of listing",
             [](SampleModel &m) {
                 m.setValue("Remote", "a", 1);
                 m.setValue("QSettings", "p", 1);
                 m.setValue("Remote", "a", 2);
                 m.addStorageToSubmit("Remote");
                 m.submit();
                 QVERIFY(m.isSubmiting() && m.hasDataToSubmit());
                 m.end(0);
                 QVERIFY(!m.isSubmiting() && !m.hasDataToSubmit() && !m.isModified());
             },
             "Remote.a=1 | QSettings.p=1 | Remote.a=2 | started | submit Remote | submit QSettings | finished 0",
             0},
            {"submitted again while it runs",
             [](SampleModel &m) {
                 m.setValue("Remote", "a", 1);
                 m.submit();
                 m.submit();
                 m.end(7);
             },
             "Remote.a=1 | started | submit Remote | finished 7", 0},
            {"set while it runs",
             [](SampleModel &m) {
                 m.setValue("Remote", "a", 1);
                 m.submit();
                 m.setValue("Remote", "a", 2);
                 m.end(0);
                 m.end(0);
             },
             "Remote.a=1 | started | submit Remote | Remote.a=2 | submit Remote | finished 0", 0},
            {"a failure stops, keeps and is tried again",
             [](SampleModel &m) {
                 m.setValue("Remote", "a", 1);
                 m.setValue("QSettings", "p", 1);
                 m.submit();
                 m.end(-5);
                 QVERIFY(!m.hasDataToSubmit() && m.isModified() && !QSettings().contains("p"));
                 m.submit();
                 m.end(0);
                 QVERIFY(!m.isModified());
             },
             "Remote.a=1 | QSettings.p=1 | started | submit Remote | failed | started | submit QSettings | submit Remote "
             "| finished 0",
             0},
            {"a storage that nobody submits",
             [](SampleModel &m) {
                 m.addStorageToSubmit("X");
                 m.addStorageToSubmit("");
                 m.submit();
             },
             "started | submit X | failed", 1},
            {"an end too many",
             [](SampleModel &m) {
                 m.end(-1);
                 m.submit();
             },
             "finished 0", 1},
            {"submitted by a slot",
             [](SampleModel &m) {
                 connect(&m, &CMappingModel::submitStarted, &m, &CMappingModel::submit);
                 m.setValue("QSettings", "p", 1);
                 m.submit();
             },
             "QSettings.p=1 | started | submit QSettings | finished 0", 0},
            {"no value, no name",
             [](SampleModel &m) {
                 m.setValue("QSettings", "p", QVariant());
                 m.setValue("QSettings", "//", 1);
                 QVERIFY(!m.hasDataToSubmit());
                 QCOMPARE(m.getValue("QSettings", ""), QVariant());
             },
             "", 2},
            {"reverted",
             [](SampleModel &m) {
                 m.setValue("QSettings", "p", 1);
                 m.setValue("Remote", "a", 1);
                 m.revert();
                 m.submit();
                 QCOMPARE(m.getValue("Remote", "a"), QVariant());
             },
             "QSettings.p=1 | Remote.a=1 | finished 0", 0},
            {"changed by others",
             [](SampleModel &m) {
                 m.setValue("Remote", "a", 1);
                 m.valuesStored("Remote", {{"a", 2}, {"b", 3}});
                 QVERIFY(m.isModified());
                 m.valuesStored("Remote", {{"a", 1}});
                 QVERIFY(!m.isModified());
             },
             "Remote.a=1 | Remote.b=3", 0},
        };
        QTest::addColumn<Script>("script");
        QTest::addColumn<QString>("events");
        QTest::addColumn<int>("logged");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.script << QString(row.events) << row.logged;
    }

    void submission()
    {
        QFETCH(Script, script);
        SampleModel model;
        const LogCapture log;
        script(model);
        QTEST(model.takeEvents(), "events");
        QTEST(log.count("(!)Error"), "logged");
    }

    void deletedInItsOwnSignal()
    {
        for (const auto signal : {&CMappingModel::submitStarted, &CMappingModel::modifiedChanged}) {
            const QPointer<SampleModel> model = new SampleModel(CMappingModel::AutoSubmit);
            connect(model, signal, this, [model] { delete model; });
            model->setValues({{"QSettings", {{"p", 1}, {"q", 2}}}});
            QVERIFY(!model);
        }
        const QPointer<SampleModel> model = new SampleModel(CMappingModel::AutoSubmit);
        connect(model, &CMappingModel::submitFinished, this, [model] { delete model; });
        model->setValue("QSettings", "p", 3);
        QVERIFY(!model);
    }

    void keysAndDefaults()
    {
        SampleModel model;
        model.prefix = "/User Preferences/";
        model.defaults = {{"a.b", 5}, {"none", 6}};
        const LogCapture log;
        QSettings().setValue("User Preferences/none", QVariant());
        Mappings::Values values{{"QSettings", {{"a.b", 0}, {"none", 0}, {"c", 0}}}, {"X", {{"y", 0}}}};
        QVERIFY(model.getValues(values));
        QCOMPARE(values, (Mappings::Values{{"QSettings", {{"a.b", 5}, {"none", 6}, {"c", QVariant()}}},
                                           {"X", {{"y", QVariant()}}}}));
        QCOMPARE(log.count("holds no value"), 1);

        for (const char *path :
             {"a.items[0].name", "with space=%;\"", u8"ключ", "deep/er/key", "General/x"}) {
            model.setValue("QSettings", path, path);
            model.submit();
            QCOMPARE(QSettings().value("User Preferences/" + QString(path)).toString(), QString(path));
        }
        model.prefix.clear();
        model.setValue("QSettings", "bare", 1);
        model.submit();
        QCOMPARE(QSettings().value("bare"), QVariant(1));
    }

    void modified()
    {
        QSettings().setValue("p", "5");
        SampleModel model;
        QVERIFY(!model.isModified() && !model.isModified({{"QSettings", {{"p", 5}}}}));
        QVERIFY(model.isModified({{"QSettings", {{"p", 6}}}}));
        model.setValue("QSettings", "p", 6);
        QVERIFY(model.isModified() && !model.isModified({{"QSettings", {{"p", 5}}}}));
        model.setValue("QSettings", "p", 5);
        QVERIFY(!model.isModified() && model.hasDataToSubmit());
    }

    void settingsThatCannotBeWritten_data()
    {
        QTest::addColumn<Step>("spoil");
        QTest::addColumn<Step>("mend");
        const auto add = [](const char *name, const Step &spoil, const Step &mend) {
            QTest::newRow(name) << spoil << mend;
        };
        // What is read as settings: one good line, and one that is none.
        add(
            "damaged", [] { QVERIFY(writeFile(QSettings().fileName(), "[General]\np=old\nmy notes\n")); },
            [] { QVERIFY(writeFile(QSettings().fileName(), "[General]\np=old\n")); });
        const auto limitFiles = [](rlim_t bytes) {
            std::signal(SIGXFSZ, SIG_IGN);
            const rlimit limit{bytes, RLIM_INFINITY};
            QCOMPARE(setrlimit(RLIMIT_FSIZE, &limit), 0);
        };
        add(
            "no room", [=] { limitFiles(200); }, [=] { limitFiles(RLIM_INFINITY); });
        add(
            "no file can stand there",
            [] {
                QVERIFY(QFile::rename(QSettings().fileName(), QSettings().fileName() + ".away"));
                QVERIFY(QDir().mkdir(QSettings().fileName()));
            },
            [] {
                QVERIFY(QDir().rmdir(QSettings().fileName()));
                QVERIFY(QFile::rename(QSettings().fileName() + ".away", QSettings().fileName()));
            });
    }

    void settingsThatCannotBeWritten()
    {
        QFETCH(Step, spoil);
        QFETCH(Step, mend);
        {
            QSettings settings;
            settings.setValue("p", "old");
            settings.setValue("new/child", "stays");
        }
        spoil();
        QSettings().value("p"); // QSettings complains of a damaged file once
        const QByteArray before = fileContent(QSettings().fileName());
        SampleModel model;
        const QString text(4000, 'x');
        model.setValues({{"QSettings", {{"p", text}, {"new", text}}}});
        const LogCapture log;
        model.submit();
        QVERIFY(model.takeEvents().endsWith("failed"));
        QCOMPARE(log.count("(!)Error: The settings are not saved"), 1);
        QCOMPARE(fileContent(QSettings().fileName()), before);
        // The storage has the old values, for everybody in this process; the model still has the new ones.
        QVERIFY(QSettings().value("p").toString() != text && !QSettings().contains("new"));
        QVERIFY(model.isModified() && model.getValue("QSettings", "p") == text);
        mend();
        model.submit();
        QVERIFY(model.takeEvents().endsWith("finished 0"));
        QVERIFY(fileContent(QSettings().fileName()).contains(text.toLatin1()));
        QVERIFY(!QFile::exists(QSettings().fileName() + ".lock"));
    }

    void severalProcesses()
    {
        SampleModel model;
        model.setValue("QSettings", "mine", 1);
        std::vector<std::unique_ptr<QProcess>> others;
        for (const char *name : {"a", "b", "c"}) {
            others.push_back(std::make_unique<QProcess>());
            others.back()->start(QCoreApplication::applicationFilePath(),
                                 {"--write", QCoreApplication::applicationName(), name});
        }
        model.submit();
        QStringList expected{"mine"};
        for (const auto &other : others) {
            QVERIFY(other->waitForFinished(60000));
            QCOMPARE(other->exitCode(), 0);
            for (int i = 0; i < 20; ++i)
                expected += other->arguments().last() + QString::number(i);
        }
        expected.sort();
        QSettings settings;
        settings.sync();
        QCOMPARE(settings.allKeys(), expected);
    }
};

/// Another process that sets values in the same settings, each in a submission of its own.
static int writeValues(const QString &name)
{
    SampleModel model(CMappingModel::AutoSubmit);
    for (int i = 0; i < 20; ++i)
        model.setValue("QSettings", name + QString::number(i), i);
    return model.takeEvents().contains("failed") ? 1 : 0;
}

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    if (argc == 4 && qstrcmp(argv[1], "--write") == 0) {
        QCoreApplication::setOrganizationName("Tessarine Tests");
        QCoreApplication::setApplicationName(argv[2]);
        return writeValues(argv[3]);
    }
    TestEnvironment environment;
    tst_MappingModel test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_mapping_model.moc"
