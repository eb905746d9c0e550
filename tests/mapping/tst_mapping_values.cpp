#include "gui/mapping/values/MappingHelpers.h"
#include "tests/support/KovTest.h"

using namespace MappingHelpers;
using Mappings::Values;

/// The rules of the value tree, without a window and without a storage.
class tst_MappingValues : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void treeFunctions()
    {
        const QVariant none;
        const Values tree{{"A", {{"x.name", 1}, {"x.size", none}}}, {"B", {{"x.name", 2}, {"y.name", 3}}}};
        QCOMPARE(createValuesTree(tree, false), (Values{{"A", {{"x.name", none}, {"x.size", none}}},
                                                        {"B", {{"x.name", none}, {"y.name", none}}}}));
        QCOMPARE(createValuesTree(tree, true), (Values{{"A", {{"x.size", none}}}}));
        QVERIFY(!isAllValuesValid(tree));
        QVERIFY(isAllValuesValid({{"A", {}}}));

        QCOMPARE(getValueByPath(tree, "x.name"), QVariant(1));
        QCOMPARE(getValueByPath(tree, "x.name", "B"), QVariant(2));
        QCOMPARE(getValueByPath(tree, "x"), none);
        QCOMPARE(getValueByPath(tree, "x.name", "C"), none);
        QCOMPARE(getValueByName(tree, "name"), QVariant(1));
        QCOMPARE(getValueByName(tree, "name", "B"), QVariant(2));
        QCOMPARE(getValueByName(tree, "Name"), none);
        QVERIFY(hasPath(tree, "x.size") && !hasPath(tree, "x.size", "B"));
        QCOMPARE(getFirstValue(tree), QVariant(1));
        QCOMPARE(getFirstValue({{"A", {{"a", none}, {"b", 7}}}}), QVariant(7));

        Values changed = tree;
        setValueByPath(changed, "z", "C", 5);
        QCOMPARE(getValueByPath(changed, "z", "C"), QVariant(5));
        QVERIFY(removePath(changed, "x.name") && !removePath(changed, "x.name"));
        QVERIFY(!removeAllPathsStartsWith(changed, "x", "B") && removeAllPathsStartsWith(changed, "x"));
        QCOMPARE(changed, (Values{{"A", {}}, {"B", {{"y.name", 3}}}, {"C", {{"z", 5}}}}));

        Values wanted{{"A", {{"x.name", none}}}, {"B", {{"x.size", none}}}};
        QVERIFY(!getValuesFromList(tree, wanted));
        QCOMPARE(wanted, (Values{{"A", {{"x.name", 1}}}, {"B", {{"x.size", none}}}}));

        const Values second{{"A", {{"x.name", 9}, {"x.size", none}}}, {"C", {{"z", none}}}};
        QCOMPARE(mergeValues(tree, second),
                 (Values{{"A", {{"x.name", 9}}}, {"B", {{"x.name", 2}, {"y.name", 3}}}}));
        const Values united = Mappings::unitePaths(second, tree);
        QCOMPARE(united, (Values{{"A", {{"x.name", 1}, {"x.size", none}}},
                                 {"B", {{"x.name", 2}, {"y.name", 3}}},
                                 {"C", {{"z", none}}}}));
    }

    void newListItem()
    {
        // The new path begins with the old one, and one new path is another old one.
        Values tree{{"A", {{"list", 1}, {"list.list", 2}, {"other", 3}}}, {"B", {{"list", 4}}}};
        patchNewlyAddedListItemPath(tree, "list", "list.list", "A");
        QCOMPARE(tree, (Values{{"A", {{"list", 1}, {"list.list", 1}, {"list.list.list", 2}, {"other", 3}}},
                               {"B", {{"list", 4}}}}));
    }

    void paths_data()
    {
        Table<QString, int, QString, QString> row;
        row("an item", "a.items[12].name", 12, "name", "a.items[12]");
        row("the last item counts", "a[1].b[2]", 2, "b[2]", "a[1]");
        row("one component", "a", 0, "a", "");
        row("nothing", "", 0, "", "");
        row("no number", "a[x]", 0, "a[x]", "");
        row("brackets the wrong way round", "a]3[", 0, "a]3[", "");
        row("beyond a number", "a[99999999999]", 0, "a[99999999999]", "");
        row("a dot at either end", ".a.", 0, "", ".a");
    }

    void paths()
    {
        const auto [path, item, name, parent] = cells<QString, int, QString, QString>();
        QCOMPARE(getItemIdFromPath(path), item);
        QCOMPARE(getValueName(path), name);
        QCOMPARE(getParentObjectPath(path), parent);
    }

    void dump()
    {
        for (const char *line :
             {"--------------------------------------- T ---------------------------------------",
              "A: p\\nq = QVariant(QString, \"forged\\nline\")", "B: r = QVariant(Invalid)",
              "-------------------------------------------------------------------------------------------"})
            QTest::ignoreMessage(QtCriticalMsg, line);
        dumpValues({{"B", {{"r", QVariant()}}}, {"A", {{"p\nq", "forged\nline"}}}}, "T");
    }

    void sameValue_data()
    {
        Table<QVariant, QVariant, bool> add;
        add("number as text", "1048576", 1048576, true);
        add("truth as text", "false", false, true);
        add("double as text", "0.1", 0.1, true);
        add("large double as text", "1000000", 1e6, true);
        add("a double's last digit", 0.1, 0.10000000000000002, false);
        add("whole double", 1, 1.0, true);
        add("unsigned is not negative", 4294967295u, -1, false);
        add("list of one as text", "a", QStringList{"a"}, true);
        add("text is no number", "abc", 0.0, false);
        add("nothing and the empty text", QVariant(), "", false);
        add("nothing twice", QVariant(), QVariant(), true);
    }

    void sameValue()
    {
        const auto [stored, set, same] = cells<QVariant, QVariant, bool>();
        QCOMPARE(isSameValue(stored, set), same);
        QCOMPARE(isSameValue(set, stored), same);
    }
};

KOV_TEST_MAIN(QCoreApplication, tst_MappingValues)
#include "tst_mapping_values.moc"
