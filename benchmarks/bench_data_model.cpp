// A document of 5,000 records of 12 fields: read into its classes and written again, beside QDomDocument,
// which only makes a tree of it, and beside the bare tokens of QXmlStreamReader, which makes nothing of it.

#include "gui/data_model/documents/CUpdates.h"

#include <QDomDocument>
#include <QXmlStreamReader>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <vector>

static constexpr int Runs = 15;
static constexpr int Records = 5000;

struct Contestant
{
    const char *work;
    const char *name;
    std::function<bool()> run;
    std::vector<double> milliseconds;
};

static QByteArray makeDocument()
{
    CUpdProductVersion version;
    for (int i = 0; i < Records; ++i) {
        CUpdate update;
        update.updateName = QStringLiteral("Update %1").arg(i);
        update.updateDescription = QStringLiteral("Grüße, 日本語 & <%1>").arg(i);
        update.filePath = QStringLiteral("stable/Setup-3.1.%1.exe").arg(i);
        update.fileSize = 123456789 + i;
        update.localeName = QStringLiteral("de_DE");
        update.osType = QStringLiteral("windows");
        update.dateTime = QDateTime(QDate(2026, 1, 1), QTime(2, 30), Qt::UTC).addSecs(3600 * i);
        update.distributorName = QStringLiteral("Tessarine");
        update.status = QStringLiteral("released");
        update.checkSum = QStringLiteral("00112233445566778899aabbccddeeff");
        update.uuidElement = QStringLiteral("5b1cb8a8-%1").arg(i, 8, 16, QLatin1Char('0'));
        version.updates.append(update);
    }
    CUpdProduct product;
    product.versions = {version};
    CUpdates catalogue;
    catalogue.products = {product};
    return catalogue.write();
}

static double median(std::vector<double> values)
{
    std::nth_element(values.begin(), values.begin() + values.size() / 2, values.end());
    return values[values.size() / 2];
}

int main()
{
    const QByteArray document = makeDocument();
    CUpdates catalogue;
    QDomDocument tree;
    if (!catalogue.read(document) || catalogue.write() != document || !tree.setContent(document))
        return EXIT_FAILURE;
    std::vector<Contestant> contestants{
        {"read", "CUpdates", [&] { return CUpdates().read(document); }, {}},
        {"read", "QDomDocument", [&] { return QDomDocument().setContent(document); }, {}},
        {"read",
         "QXmlStreamReader, tokens",
         [&] {
             QXmlStreamReader reader(document);
             while (!reader.atEnd())
                 reader.readNext();
             return !reader.hasError();
         },
         {}},
        {"write", "CUpdates", [&] { return !catalogue.write().isEmpty(); }, {}},
        {"write", "QDomDocument", [&] { return !tree.toByteArray().isEmpty(); }, {}},
    };
    // Alternating, so that whatever else the machine does meets all of them.
    for (int run = 0; run < Runs; ++run) {
        for (Contestant &contestant : contestants) {
            const std::clock_t start = std::clock();
            if (!contestant.run())
                return EXIT_FAILURE;
            contestant.milliseconds.push_back(1000.0 * double(std::clock() - start) / CLOCKS_PER_SEC);
        }
    }
    std::printf("%d records, %.2f MiB; processor time, median of %d runs\n\n", Records,
                document.size() / 1048576.0, Runs);
    std::printf("| work | with | ms | ours / it |\n| --- | --- | --- | --- |\n");
    double ours = 0;
    for (const Contestant &contestant : contestants) {
        const double theirs = median(contestant.milliseconds);
        if (contestant.name == contestants.front().name)
            ours = theirs;
        std::printf("| %s | %-24s | %6.1f | %5.2f |\n", contestant.work, contestant.name, theirs,
                    ours / theirs);
    }
    return EXIT_SUCCESS;
}
