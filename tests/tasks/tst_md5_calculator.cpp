#include "gui/tasks/download/CMd5Calculator.h"
#include "tests/support/Files.h"
#include "tests/support/KovTest.h"
#include "tests/support/System.h"

class tst_Md5Calculator : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void digests()
    {
        const int piece = 256 * 1024;
        for (const int size : {0, 3, piece - 1, piece, piece + 1, 16 * 1024 * 1024 + 7}) {
            QByteArray content(size, 'a');
            for (int i = 0; i < size; i += 1000)
                content[i] = char(i / 1000);
            QFile file(path("file"));
            QVERIFY(file.open(QIODevice::WriteOnly) && file.write(content) == size);
            file.close();
            const QByteArray expected = QCryptographicHash::hash(content, QCryptographicHash::Md5).toHex();
            QCOMPARE(run(file.fileName()), "true " + QString::fromLatin1(expected));
        }
    }

    void noRegularFile()
    {
        const QString pipe = path("pipe");
        (void)System::makeFifo(pipe); // missing where the system has none
        for (const QString &name : {path("missing"), m_folder.path(), pipe, QString()})
            QCOMPARE(run(name), "false ");
    }

    void fileThatChangesItsSize_data()
    {
        Table<qint64> row;
        row("shrinks", qint64(4096));
        row("grows", (qint64(1) << 29) + 1);
    }

    void fileThatChangesItsSize()
    {
        if (QDir::listSeparator() != ':')
            QSKIP("The system does not tell which files a process reads.");
        const auto [size] = cells<qint64>();
        const QString name = sparseFile(qint64(1) << 29);
        const auto resize = [&](CMd5Calculator *) {
            QTRY_VERIFY(isBeingRead(name));
            QVERIFY(QFile::resize(name, size));
        };
        QCOMPARE(run(name, resize), "false ");
    }

    void cancelled()
    {
        const QString name = sparseFile(qint64(1) << 40);
        QCOMPARE(run(name, [](CMd5Calculator *calculator) { calculator->cancel(); }), "false ");
    }

    void deletedWhileItRuns()
    {
        const QString name = sparseFile(qint64(1) << 40);
        QPointer<CMd5Calculator> calculator = new CMd5Calculator(name, this);
        calculator->start();
        delete calculator;
        calculator = new CMd5Calculator(name, this);
        calculator->start();
        QTimer::singleShot(0, QCoreApplication::instance(), &QCoreApplication::quit);
        QCoreApplication::exec();
        QVERIFY(!calculator || calculator->isFinished());
        QTRY_VERIFY(findChildren<CMd5Calculator *>().isEmpty());
    }

private:
    QString path(const char *name) const { return m_folder.filePath(QLatin1String(name)); }
    QString sparseFile(qint64 size) const
    {
        QFile file(path("sparse"));
        return file.open(QIODevice::WriteOnly) && file.resize(size) ? file.fileName() : QString();
    }

    /// Whether this process has read the beginning of the file.
    static bool isBeingRead(const QString &path)
    {
        for (const QString &number : QDir("/proc/self/fd").entryList()) {
            if (QFile::symLinkTarget("/proc/self/fd/" + number) == path)
                return !fileContent("/proc/self/fdinfo/" + number).startsWith("pos:\t0\n");
        }
        return false;
    }

    /// What finished() told: "true 00ff..."; the calculator has deleted itself.
    static QString run(const QString &path, const std::function<void(CMd5Calculator *)> &meanwhile = {})
    {
        const QPointer<CMd5Calculator> calculator(new CMd5Calculator(path));
        QStringList told;
        connect(calculator, &CMd5Calculator::finished, QCoreApplication::instance(),
                [&](bool ok, const QString &digest) {
                    told << QString("%1 %2").arg(ok ? "true" : "false", digest);
                });
        calculator->start();
        if (meanwhile)
            meanwhile(calculator);
        const bool isGone = QTest::qWaitFor([&] { return !calculator; }, 90000);
        return isGone ? told.join(',') : "still there";
    }

    QTemporaryDir m_folder;
};

KOV_TEST_MAIN(QCoreApplication, tst_Md5Calculator)
#include "tst_md5_calculator.moc"
