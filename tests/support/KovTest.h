#pragma once

#ifdef KOV_TEST_HAS_LOG
#include "gui/log/Log.h"
#endif

#include <QApplication>
#include <QDir>
#include <QSettings>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>

#include <tuple>
#include <type_traits>
#include <vector>

/// Keeps a test's settings, data and log away from the user's: everything lands in one temporary folder.
class TestEnvironment
{
public:
    /// For a test that asks for settings in files where the system keeps them elsewhere, and for its
    /// children.
    static void useSettingsFiles()
    {
        const QString folder = qEnvironmentVariable("KOV_TEST_SETTINGS");
        if (folder.isEmpty())
            return;
        QSettings::setDefaultFormat(QSettings::IniFormat);
        QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, folder);
    }

    TestEnvironment()
    {
        if (qEnvironmentVariableIsSet("KOV_TEST_SETTINGS"))
            qputenv("KOV_TEST_SETTINGS", path("config"));
        useSettingsFiles();
        qputenv("XDG_CONFIG_HOME", path("config"));
        qputenv("XDG_DATA_HOME", path("data"));
        qputenv("XDG_CACHE_HOME", path("cache"));
#ifdef KOV_TEST_HAS_LOG
        KovGui::setLogDirectory(path("log").constData());
#endif
        QCoreApplication::setOrganizationName(QStringLiteral("Tessarine Tests"));
    }

#ifdef KOV_TEST_HAS_LOG
    ~TestEnvironment()
    {
        // What is reported on the way out must not make the folder again.
        KovGui::setLogOutputFunction([](const char *, std::size_t) {});
    }
#endif

private:
    QByteArray path(const char *name)
    {
        const QString full = m_dir.filePath(QString::fromLatin1(name));
        QDir().mkpath(full);
        return full.toLocal8Bit();
    }

    QTemporaryDir m_dir;
};

/// One row of a test's table: `row("empty", "", 0)`. A C string fills a column of Text.
template <typename Text = QString, typename... Cells>
void row(const char *name, const Cells &...cells)
{
    QTestData &data = QTest::newRow(name);
    const auto add = [&data](const auto &cell) {
        constexpr bool isCString = std::is_same_v<std::decay_t<decltype(cell)>, const char *>;
        if constexpr (isCString && std::is_same_v<Text, QByteArray>)
            data << QByteArray(cell);
        else
            data << cell;
    };
    (add(cells), ...);
}

/**
 * A test's table: its data function fills it, and cells() are those of the present row.
 *
 *     void length_data()
 *     {
 *         Table<QString, int> row;
 *         row("nothing", "", 0);
 *     }
 *     void length()
 *     {
 *         const auto [text, length] = cells<QString, int>();
 */
template <typename... Cells>
class Table
{
public:
    Table()
    {
        rows().clear();
        QTest::addColumn<int>("row");
    }
    void operator()(const QByteArray &name, const Cells &...cells)
    {
        QTest::newRow(name.constData()) << int(rows().size());
        rows().emplace_back(cells...);
    }
    static std::vector<std::tuple<Cells...>> &rows()
    {
        static std::vector<std::tuple<Cells...>> filled;
        return filled;
    }
};

template <typename... Cells>
std::tuple<Cells...> cells()
{
    QFETCH(int, row);
    return Table<Cells...>::rows().at(std::size_t(row));
}

/// main() of a test with (widgets) or without (core) windows.
#define KOV_TEST_MAIN(ApplicationClass, TestClass)                                                           \
    int main(int argc, char *argv[])                                                                         \
    {                                                                                                        \
        TestEnvironment environment;                                                                         \
        ApplicationClass application(argc, argv);                                                            \
        application.setApplicationName(QStringLiteral(#TestClass));                                          \
        TestClass test;                                                                                      \
        QTEST_SET_MAIN_SOURCE_PATH                                                                           \
        return QTest::qExec(&test, argc, argv);                                                              \
    }
