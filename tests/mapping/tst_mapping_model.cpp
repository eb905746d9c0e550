#include "MappingFixture.h"
#include "tests/support/Files.h"
#include "tests/support/System.h"

#include <QPointer>
#include <QProcess>

using Step = std::function<void()>;

/// Submission, and settings that cannot be written.
class tst_MappingModel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { useNewSettings(); }

    /**
     * Steps and the events they lead to: "Remote.a=1" sets a value, several joined by "+" a tree, "submit"
     * submits, "end=7" is the storage's answer, "add=X" lists a storage, "others=a+b" are values that others
     * stored, each 2. At any time "?sdm" compares: is Submitting, has Data to submit, is Modified (a capital
     * letter is a yes).
     */
    void submission_data()
    {
        Table<const char *, QString, int> row;
        row("nothing to submit", "submit", "finished 0", 0);
        row("at once", "auto QSettings.p=1", "QSettings.p=1 | started | submit QSettings | finished 0", 0);
        row("a tree at once", "auto Remote.b=1+Remote.a=2+QSettings.p=3 end=0 QSettings.p=4",
            "QSettings.p=3 | Remote.a=2 | Remote.b=1 | started | submit QSettings | submit Remote | finished 0 | "
            "QSettings.p=4 | started | submit QSettings | finished 0",
            0);
        row("an unknown storage at once", "auto X.p=1", "finished 0", 0);
        row("collected, in the order of listing",
            "Remote.a=1 QSettings.p=1 Remote.a=2 add=Remote submit ?SDM end=0 ?sdm",
            "Remote.a=1 | QSettings.p=1 | Remote.a=2 | started | submit Remote | submit QSettings | finished 0",
            0);
        row("submitted again while it runs", "Remote.a=1 submit submit end=7",
            "Remote.a=1 | started | submit Remote | finished 7", 0);
        row("set while it runs", "Remote.a=1 submit Remote.a=2 end=0 end=0",
            "Remote.a=1 | started | submit Remote | Remote.a=2 | submit Remote | finished 0", 0);
        row("a failure stops, keeps and is tried again",
            "Remote.a=1 QSettings.p=1 submit end=-5 ?sdM submit end=0 ?sdm",
            "Remote.a=1 | QSettings.p=1 | started | submit Remote | failed | started | submit QSettings | "
            "submit Remote | finished 0",
            0);
        row("a storage that nobody submits", "add=X add= submit", "started | submit X | failed", 1);
        row("an end too many", "end=-1 submit", "finished 0", 1);
        row("submitted by a slot", "nested QSettings.p=1 submit",
            "QSettings.p=1 | started | submit QSettings | finished 0", 0);
        row("no value, no name", "QSettings.p= QSettings.//=1 ?sdm", "", 2);
        row("reverted", "QSettings.p=1 Remote.a=1 revert ?sdm submit",
            "QSettings.p=1 | Remote.a=1 | finished 0", 0);
        row("changed by others after it was stored", "Remote.a=1 submit end=0 others=a ?sdm",
            "Remote.a=1 | started | submit Remote | finished 0 | Remote.a=2", 0);
        row("changed by others", "Remote.a=1 others=a+b ?sDM Remote.a=2 ?sDm",
            "Remote.a=1 | Remote.b=2 | Remote.a=2", 0);
    }

    void submission()
    {
        const auto [script, events, logged] = cells<const char *, QString, int>();
        SampleModel model;
        const LogCapture log;
        for (const QString &step : QString(script).split(' '))
            run(model, step.section('=', 0, 0), step.section('=', 1), step);
        QCOMPARE(model.takeEvents(), events);
        QCOMPARE(log.count("(!)Error"), logged);
    }

    static void run(SampleModel &model, const QString &verb, const QString &rest, const QString &step)
    {
        const auto letter = [](char no, bool yes) { return QChar(yes ? no - 'a' + 'A' : no); };
        if (verb == "submit")
            model.submit();
        else if (verb == "end")
            model.end(rest.toInt());
        else if (verb == "add")
            model.addStorageToSubmit(rest);
        else if (verb == "auto")
            model.setSubmitPolicy(CMappingModel::AutoSubmit);
        else if (verb == "nested")
            connect(&model, &CMappingModel::submitStarted, &model, &CMappingModel::submit);
        else if (verb == "revert")
            model.revert();
        else if (verb == "others")
            for (const QString &path : rest.split('+'))
                model.valuesStored("Remote", {{path, 2}});
        else if (verb.startsWith('?'))
            QCOMPARE(QString("?") + letter('s', model.isSubmiting()) + letter('d', model.hasDataToSubmit())
                         + letter('m', model.isModified()),
                     verb);
        else
            set(model, step.split('+'));
    }

    static void set(SampleModel &model, const QStringList &assignments)
    {
        Mappings::Values tree;
        for (const QString &one : assignments) {
            const QString value = one.section('=', 1);
            tree[one.section('.', 0, 0)][one.section('=', 0, 0).section('.', 1)]
                = value.isEmpty() ? QVariant() : value.toInt();
        }
        if (assignments.size() > 1)
            return model.setValues(tree);
        model.setValue(tree.begin().key(), tree.begin()->begin().key(), tree.begin()->begin().value());
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
        Table<Step, Step> add;
        // What is read as settings: one good line, and one that is none.
        add(
            "damaged", [] { QVERIFY(writeFile(QSettings().fileName(), "[General]\np=old\nmy notes\n")); },
            [] { QVERIFY(writeFile(QSettings().fileName(), "[General]\np=old\n")); });
        const auto limitFiles = [](qint64 bytes) { QVERIFY(System::limitFileSize(bytes)); };
        if (System::hasModes)
            add(
                "no room", [=] { limitFiles(200); }, [=] { limitFiles(-1); });
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
        const auto [spoil, mend] = cells<Step, Step>();
        {
            QSettings settings;
            settings.setValue("p", "old");
            settings.setValue("new/child", "stays");
        }
        if (!QFileInfo(QSettings().fileName()).isFile())
            QSKIP("The settings are no file here.");
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
        TestEnvironment::useSettingsFiles();
        return writeValues(argv[3]);
    }
    TestEnvironment environment;
    tst_MappingModel test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_mapping_model.moc"
