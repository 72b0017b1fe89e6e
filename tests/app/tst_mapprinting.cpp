#include "app/kestrel.h"
#include "app/mapprinting.h"
#include "app/scriptedprompts.h"
#include "app/testsettings.h"
#include "support/netnamespace.h"

#include <QAction>
#include <QFileDialog>
#include <QPrintPreviewDialog>
#include <QPrintPreviewWidget>
#include <QStatusBar>
#include <QtTest>

#include <memory>

// The window's Print Map... and Export Patch List..., with scripted dialogs.
class tst_MapPrinting : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();
    void exportWritesTheChosenType_data();
    void exportWritesTheChosenType();
    void failedExportSaysWhy();
    void printPreviewShowsTheMapAndItsPatchList();

private:
    std::unique_ptr<TestSettings> m_settings;
    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<Kestrel> m_window;
    ScriptedPrompts *m_prompts = nullptr;
};

namespace {

const QString kPdf = QStringLiteral("PDF Files (*.pdf)");
const QString kCsv = QStringLiteral("CSV Files (*.csv)");

// Answers the export dialog as a user would: picks the file type, then types a name.
std::function<int(QDialog &)> answer(const QString &filter, const QString &path)
{
    return [filter, path](QDialog &dialog) {
        auto &files = static_cast<QFileDialog &>(dialog);
        files.selectNameFilter(filter);
        emit files.filterSelected(filter); // what choosing it in the list emits
        files.selectFile(path);
        return int(QDialog::Accepted);
    };
}

} // namespace

void tst_MapPrinting::initTestCase()
{
    // The window owns the discovery engine, which announces itself on the network.
    const QString why = NetNamespace::enterOwn();
    if (!why.isEmpty())
        QSKIP(qPrintable(why));
    m_settings = std::make_unique<TestSettings>();
}

void tst_MapPrinting::init()
{
    TestSettings::clear();
    m_dir = std::make_unique<QTemporaryDir>();
    auto prompts = std::make_unique<ScriptedPrompts>();
    m_prompts = prompts.get();
    m_window = std::make_unique<Kestrel>(std::move(prompts));
    const QString map = m_dir->filePath(QStringLiteral("arcade.map"));
    QVERIFY(QFile::copy(QStringLiteral(ORRERY_SOURCE_DIR "/examples/riverside-arcade.map"), map));
    QVERIFY(m_window->openMap(map));
}

void tst_MapPrinting::cleanup()
{
    m_window.reset();
    m_dir.reset();
}

void tst_MapPrinting::exportWritesTheChosenType_data()
{
    QTest::addColumn<QString>("filter");
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("written");
    QTest::addColumn<bool>("csv");
    QTest::newRow("PDF by default suffix") << kPdf << "plan"
                                           << "plan.pdf" << false;
    QTest::newRow("CSV by default suffix") << kCsv << "plan"
                                           << "plan.csv" << true;
    QTest::newRow("the typed suffix wins") << kPdf << "plan.csv"
                                           << "plan.csv" << true;
    QTest::newRow("the typed PDF suffix wins") << kCsv << "plan.PDF"
                                               << "plan.PDF" << false;
    QTest::newRow("another suffix: the chosen type") << kCsv << "plan.txt"
                                                     << "plan.txt" << true;
}

void tst_MapPrinting::exportWritesTheChosenType()
{
    QFETCH(QString, filter);
    QFETCH(QString, typed);
    QFETCH(QString, written);
    QFETCH(bool, csv);
    m_prompts->dialogScripts.enqueue(answer(filter, m_dir->filePath(typed)));
    m_window->ui().exportPatchListAction->trigger();

    QCOMPARE(m_prompts->asked.constLast().title, QStringLiteral("Export Patch List"));
    QFile file(m_dir->filePath(written));
    QVERIFY2(file.open(QIODevice::ReadOnly), qPrintable(file.fileName()));
    const QByteArray bytes = file.readAll();
    if (csv) {
        // The same list as orrery-cli map patch --csv: the hand-checked one.
        QFile expected(QStringLiteral(ORRERY_TEST_DATA "/riverside-arcade-patch.csv"));
        QVERIFY(expected.open(QIODevice::ReadOnly));
        QCOMPARE(bytes, expected.readAll());
    } else {
        QVERIFY(bytes.startsWith("%PDF-"));
    }
    QVERIFY(m_window->statusBar()->currentMessage().startsWith("Patch list written to "));
    QVERIFY(m_prompts->messages().isEmpty());
}

void tst_MapPrinting::failedExportSaysWhy()
{
    const QString path = m_dir->filePath(QStringLiteral("missing/plan.csv"));
    m_prompts->dialogScripts.enqueue(answer(kCsv, path));
    m_window->ui().exportPatchListAction->trigger();
    const QList<ScriptedPrompts::Asked> messages = m_prompts->messages();
    QCOMPARE(messages.size(), 1);
    QCOMPARE(messages.at(0).title, QStringLiteral("Save Failed"));
    QVERIFY(messages.at(0).text.startsWith(QStringLiteral("Unable to save file ") + path));
    QVERIFY(!QFile::exists(path));
}

void tst_MapPrinting::printPreviewShowsTheMapAndItsPatchList()
{
    QCOMPARE(m_window->mapPrinting().title(), QStringLiteral("arcade.map"));
    int pages = 0;
    m_prompts->dialogScripts.enqueue([&pages](QDialog &dialog) {
        auto *widget = dialog.findChild<QPrintPreviewWidget *>();
        if (!qobject_cast<QPrintPreviewDialog *>(&dialog) || !widget)
            return int(QDialog::Rejected);
        widget->updatePreview();
        pages = widget->pageCount();
        return int(QDialog::Rejected);
    });
    m_window->ui().printAction->trigger();
    QCOMPARE(m_prompts->asked.constLast().title, QStringLiteral("Print Map"));
    // The layout, then the 200 lights of five ports: more than one page of tables.
    QVERIFY2(pages >= 3, qPrintable(QString::number(pages)));
}

QTEST_MAIN(tst_MapPrinting)
#include "tst_mapprinting.moc"
