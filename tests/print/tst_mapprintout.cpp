#include "print/mapprintout.h"
#include "print/patchpagination.h"
#include "support/mapbuild.h"

#include <QBuffer>
#include <QPdfWriter>
#include <QtTest>

// Pagination of the patch list (headings kept with their rows, headers repeated, no row
// lost or printed twice) and the pages a PDF really gets, all or some. The command line's
// PDF: tst_cli.
class tst_MapPrintout final : public QObject
{
    Q_OBJECT
private slots:
    void pagination_data();
    void pagination();
    void pdfPages_data();
    void pdfPages();
};

namespace {

using namespace PatchPagination;

// A list of one supply per entry of portSizes, each port with that many lights.
PatchList listOf(const QVector<QVector<int>> &portSizes)
{
    PatchList list;
    for (const QVector<int> &sizes : portSizes) {
        PatchSupply supply;
        for (int p = 0; p < sizes.size(); ++p) {
            PatchPort port{p + 1, {}};
            port.lights.resize(sizes.at(p));
            list.lightCount += sizes.at(p);
            supply.ports.append(port);
        }
        list.supplies.append(supply);
    }
    return list;
}

// A page of 20 rows of 10 units; headings 20 and 10, table header 10, gap 5.
Heights smallPages()
{
    return Heights{200, 20, 10, 10, 10, 5};
}

// MapModel with `supplies` supplies of `perSupply` lights on one port each.
void fillModel(MapModel &model, int supplies, int perSupply)
{
    for (int s = 0; s < supplies; ++s) {
        const quint64 supply = MapBuild::supply(model, QStringLiteral("Supply %1").arg(s + 1));
        for (int i = 0; i < perSupply; ++i) {
            Light *light = model.light(MapBuild::light(
                model, supply, 0, 0, QStringLiteral("L%1-%2").arg(s + 1).arg(i + 1)));
            light->setPosition(24 * (i % 20), 24 * (i / 20 + s * 10), 0);
            light->setDeviceProperty(QStringLiteral("DMX_OFFSET"), QString::number(3 * i));
        }
    }
}

int pdfPageCount(const QByteArray &pdf)
{
    // Page objects are "/Type /Page"; the page tree is "/Type /Pages".
    return pdf.count("/Type /Page\n") + pdf.count("/Type /Page ") + pdf.count("/Type /Page>") +
           pdf.count("/Type /Page/");
}

} // namespace

void tst_MapPrintout::pagination_data()
{
    QTest::addColumn<QVector<QVector<int>>>("ports");
    QTest::addColumn<int>("pages");

    QTest::newRow("one short table") << QVector<QVector<int>>{{5}} << 1;
    // 20 + 10 + 10 + 16 rows = 200: exactly one page.
    QTest::newRow("a table that just fits") << QVector<QVector<int>>{{16}} << 1;
    // 17 rows: 14 stay, three go on (never one alone) under a repeated heading and header.
    QTest::newRow("one row over: three move on") << QVector<QVector<int>>{{17}} << 2;
    QTest::newRow("a long table over three pages") << QVector<QVector<int>>{{50}} << 3;
    // The second supply's heading and first rows would not fit below the first's table.
    QTest::newRow("a heading is not left alone") << QVector<QVector<int>>{{14}, {3}} << 2;
    QTest::newRow("a heading needs five rows under it") << QVector<QVector<int>>{{8}, {6}} << 2;
    QTest::newRow("empty ports take a line") << QVector<QVector<int>>{{0, 0, 2}} << 1;
    QTest::newRow("many supplies") << QVector<QVector<int>>{{3, 4}, {0}, {30}, {1}, {18, 2}} << 5;
}

void tst_MapPrintout::pagination()
{
    QFETCH(QVector<QVector<int>>, ports);
    QFETCH(int, pages);
    const PatchList list = listOf(ports);
    const Heights h = smallPages();
    const QVector<Page> result = paginate(list, h);
    QCOMPARE(result.size(), pages);

    // Every light exactly once, in order; every page within its height; every page that
    // carries on a table starts with the continued heading and the column titles.
    QVector<QVector<int>> nextRow(list.supplies.size());
    for (int s = 0; s < list.supplies.size(); ++s)
        nextRow[s].resize(list.supplies.at(s).ports.size());
    int supplyHeadings = 0;
    for (const Page &page : result) {
        QVERIFY(!page.isEmpty());
        double bottom = 0;
        for (int b = 0; b < page.size(); ++b) {
            const Block &block = page.at(b);
            QVERIFY(block.y >= bottom - 1e-9);
            double height = block.kind == Block::SupplyHeading ? h.supplyHeading
                            : block.kind == Block::PortHeading ? h.portHeading
                            : block.kind == Block::Rows        ? block.rowCount * h.row
                                                               : h.row;
            bottom = block.y + height;
            QVERIFY2(bottom <= h.page + 1e-9, "a block runs past the page");
            if (block.kind == Block::SupplyHeading) {
                ++supplyHeadings;
                QVERIFY2(b + 1 < page.size(), "a supply heading ends its page");
            }
            if (block.kind != Block::Rows)
                continue;
            QCOMPARE(block.firstRow, nextRow[block.supply][block.port]);
            nextRow[block.supply][block.port] += block.rowCount;
            if (block.firstRow > 0) {
                QCOMPARE(b, 2);
                QVERIFY(page.at(0).kind == Block::PortHeading && page.at(0).continued);
                QCOMPARE(page.at(1).kind, Block::TableHeader);
            }
            const int total = list.supplies.at(block.supply).ports.at(block.port).lights.size();
            if (block.firstRow == 0)
                QVERIFY2(block.rowCount >= std::min(5, total), "a heading over a stub of rows");
            else
                QVERIFY2(block.rowCount >= 2, "a row or two alone on a page");
        }
    }
    QCOMPARE(supplyHeadings, list.supplies.size());
    for (int s = 0; s < list.supplies.size(); ++s)
        for (int p = 0; p < list.supplies.at(s).ports.size(); ++p)
            QCOMPARE(nextRow[s][p], list.supplies.at(s).ports.at(p).lights.size());
}

void tst_MapPrintout::pdfPages_data()
{
    QTest::addColumn<int>("supplies");
    QTest::addColumn<int>("perSupply");
    QTest::addColumn<int>("from"); // counted from 1; 0: the first; -N: the Nth from the end
    QTest::addColumn<int>("to");   // 0: the last
    QTest::addColumn<int>("pages");
    QTest::newRow("empty map: the layout page only") << 0 << 0 << 0 << 0 << 1;
    QTest::newRow("a few lights: layout and one list page") << 1 << 3 << 0 << 0 << 2;
    QTest::newRow("two supplies on one list page") << 2 << 10 << 0 << 0 << 2;
    QTest::newRow("pages 2 to 3 of many") << 4 << 120 << 2 << 3 << 2;
    QTest::newRow("the last two, asked past the end") << 4 << 120 << -2 << 99 << 2;
}

void tst_MapPrintout::pdfPages()
{
    QFETCH(int, supplies);
    QFETCH(int, perSupply);
    QFETCH(int, from);
    QFETCH(int, to);
    MapModel model;
    fillModel(model, supplies, perSupply);
    const MapPrintout printout(model, QStringLiteral("plan.map"), QDateTime::currentDateTime());
    int painted = 0;
    const auto pdf = [&](int first, int last) {
        QBuffer buffer;
        buffer.open(QIODevice::WriteOnly);
        QPdfWriter writer(&buffer);
        painted = printout.paint(writer, first, last);
        return buffer.data();
    };
    const int total = pdfPageCount(pdf(0, 0));
    QCOMPARE(painted, total);
    const QByteArray some = pdf(from < 0 ? total + 1 + from : from, to);
    QVERIFY(some.startsWith("%PDF-"));
    QTEST(painted, "pages");
    QTEST(pdfPageCount(some), "pages");
}

QTEST_MAIN(tst_MapPrintout)
#include "tst_mapprintout.moc"
