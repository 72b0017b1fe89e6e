#include "print/mapprintout.h"
#include "print/patchpagination.h"
#include "model/mapmodel.h"

#include <QBuffer>
#include <QPdfWriter>
#include <QtTest>

// Pagination of the patch list and the pages a PDF really gets, all or some. The command
// line's PDF: tst_cli.
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
        list.supplies.append(PatchSupply());
        for (int p = 0; p < sizes.size(); ++p) {
            list.supplies.last().ports.append(PatchPort{p + 1, QVector<PatchLight>(sizes.at(p))});
            list.lightCount += sizes.at(p);
        }
    }
    return list;
}

int pdfPageCount(const QByteArray &pdf)
{
    return pdf.count("/Type /Page\n"); // the page tree is "/Type /Pages"
}

} // namespace

void tst_MapPrintout::pagination_data()
{
    QTest::addColumn<QVector<QVector<int>>>("ports");
    QTest::addColumn<int>("pages");

    // 20 + 10 + 10 + 16 rows = 200: exactly one page.
    QTest::newRow("a table that just fits") << QVector<QVector<int>>{{16}} << 1;
    // 17 rows: 14 stay, three go on (never one alone) under a repeated heading and header.
    QTest::newRow("one row over: three move on") << QVector<QVector<int>>{{17}} << 2;
    // The second supply's heading and first rows would not fit below the first's table.
    QTest::newRow("a heading is not left alone") << QVector<QVector<int>>{{14}, {3}} << 2;
    QTest::newRow("a heading needs five rows under it") << QVector<QVector<int>>{{8}, {6}} << 2;
    QTest::newRow("empty ports take a line") << QVector<QVector<int>>{{0, 0, 2}} << 1;
    QTest::newRow("many supplies") << QVector<QVector<int>>{{3, 4}, {0}, {30}, {1}, {18, 2}} << 5;
}

// Every light exactly once, in order; every page within its height; a table carried on
// starts its page under the continued heading and the column titles; a heading never ends a
// page nor stands over fewer than five rows (or all of them); no row or two goes on alone.
void tst_MapPrintout::pagination()
{
    QFETCH(QVector<QVector<int>>, ports);
    const PatchList list = listOf(ports);
    const Heights h{200, 20, 10, 10, 10, 5}; // 20 rows a page; headings of 20 and 10
    const QVector<Page> result = paginate(list, h);
    QTEST(int(result.size()), "pages");
    QMap<QPair<int, int>, int> next; // (supply, port): the next row to print
    int supplyHeadings = 0;
    for (const Page &page : result) {
        QVERIFY(!page.isEmpty());
        double bottom = 0;
        for (int b = 0; b < page.size(); ++b) {
            const Block &block = page.at(b);
            const double heights[] = {h.supplyHeading, h.portHeading, h.tableHeader,
                                      block.rowCount * h.row, h.row};
            QVERIFY(block.y >= bottom - 1e-9);
            bottom = block.y + heights[block.kind];
            QVERIFY2(bottom <= h.page + 1e-9, "a block runs past the page");
            supplyHeadings += block.kind == Block::SupplyHeading;
            QVERIFY2(block.kind != Block::SupplyHeading || b + 1 < page.size(),
                     "a supply heading ends its page");
            if (block.kind != Block::Rows)
                continue;
            int &row = next[{block.supply, block.port}];
            QCOMPARE(block.firstRow, row);
            row += block.rowCount;
            const int total = list.supplies.at(block.supply).ports.at(block.port).lights.size();
            if (block.firstRow == 0) {
                QVERIFY2(block.rowCount >= std::min(5, total), "a heading over a stub of rows");
                continue;
            }
            QVERIFY2(block.rowCount >= 2, "a row or two alone on a page");
            QCOMPARE(b, 2);
            QVERIFY(page.at(0).kind == Block::PortHeading && page.at(0).continued);
            QCOMPARE(page.at(1).kind, Block::TableHeader);
        }
    }
    QCOMPARE(supplyHeadings, list.supplies.size());
    for (int s = 0; s < list.supplies.size(); ++s) {
        for (int p = 0; p < list.supplies.at(s).ports.size(); ++p)
            QCOMPARE(next.value({s, p}), list.supplies.at(s).ports.at(p).lights.size());
    }
}

void tst_MapPrintout::pdfPages_data()
{
    QTest::addColumn<bool>("example"); // the example map (three supplies, 200 lights)
    QTest::addColumn<int>("from");     // counted from 1; 0: the first; -N: the Nth from the end
    QTest::addColumn<int>("to");       // 0: the last
    QTest::addColumn<int>("pages");
    QTest::newRow("empty map: the layout page only") << false << 0 << 0 << 1;
    QTest::newRow("the layout and five list pages") << true << 0 << 0 << 6;
    QTest::newRow("pages 2 to 3") << true << 2 << 3 << 2;
    QTest::newRow("the last two, asked past the end") << true << -2 << 99 << 2;
}

void tst_MapPrintout::pdfPages()
{
    QFETCH(bool, example);
    QFETCH(int, from);
    QFETCH(int, to);
    MapModel model;
    QVERIFY(!example || model.loadFromFile(ORRERY_SOURCE_DIR "/examples/riverside-arcade.map"));
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
