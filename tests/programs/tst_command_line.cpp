#include "gui/platform/windows/CommandLine.h"
#include "tests/support/KovTest.h"

#include <windows.h>

#include <shellapi.h>

/// What the updater hands over arrives as it was.
class tst_CommandLine : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void roundTrip_data()
    {
        Table<QStringList, QString> row;
        row("plain", {"-a", "b=c"}, "-a b=c");
        row("blanks", {"a b", "", "\t"}, "\"a b\" \"\" \"\t\"");
        row("quotation marks", {"a\"b", "\"", "\"\""}, "\"a\\\"b\" \"\\\"\" \"\\\"\\\"\"");
        row("backslashes", {"C:\\", "C:\\a b\\", "\\\\server\\share"},
            "C:\\ \"C:\\a b\\\\\" \\\\server\\share");
        row("backslashes before a quotation mark", {"a\\\"b", "a\\\\\"b c"},
            "\"a\\\\\\\"b\" \"a\\\\\\\\\\\"b c\"");
        row("what a shell would take", {"%PATH%", "a&b", "^", "*"}, "%PATH% a&b ^ *");
        row("other letters", {"Größe", "日本"}, "Größe 日本");
    }

    void roundTrip()
    {
        const auto [words, line] = cells<QStringList, QString>();
        std::vector<std::wstring> given{L"C:\\Program Files\\x.exe"};
        for (const QString &word : words)
            given.push_back(word.toStdWString());
        const std::wstring text = KovGui::Platform::commandLineOf(given);
        QCOMPARE(QString::fromStdWString(text), QString("\"C:\\Program Files\\x.exe\" ") + line);
        int count = 0;
        wchar_t **const taken = CommandLineToArgvW(text.c_str(), &count);
        QCOMPARE(std::vector<std::wstring>(taken, taken + count), given);
        LocalFree(taken);
    }
};

KOV_TEST_MAIN(QCoreApplication, tst_CommandLine)
#include "tst_command_line.moc"
