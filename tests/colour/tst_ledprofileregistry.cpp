#include "colour/ledprofileregistry.h"

#include <QTemporaryDir>
#include <QtTest>

class tst_LedProfileRegistry : public QObject
{
    Q_OBJECT

private slots:
    void compiledDatabaseLoads();
    void missingDatabaseIsReported();
    void badEntriesAreSkipped_data();
    void badEntriesAreSkipped();
    void brokenXmlLoadsNothing();

private:
    QString write(const QByteArray &xml);
    QTemporaryDir m_dir;
    int m_files = 0;
};

QString tst_LedProfileRegistry::write(const QByteArray &xml)
{
    const QString path = m_dir.filePath(QStringLiteral("profiles%1.xml").arg(++m_files));
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return {};
    file.write(xml);
    return path;
}

void tst_LedProfileRegistry::compiledDatabaseLoads()
{
    const LedProfileRegistry &registry = LedProfileRegistry::instance();
    QVERIFY(registry.isLoaded());
    QVERIFY(registry.profileCount() >= 1);
    const std::optional<LedProfileMode> rgb = registry.mode(0, 0);
    QVERIFY(rgb);
    QCOMPARE(rgb->chemistry, QStringLiteral("RGB"));
    QCOMPARE(rgb->channels, 3);
    QVERIFY(registry.chemistries().contains(QStringLiteral("RGBW")));
    QVERIFY(!registry.mode(0, 99));
    // Built once: every caller gets the same table.
    QCOMPARE(&LedProfileRegistry::instance(), &registry);
}

void tst_LedProfileRegistry::missingDatabaseIsReported()
{
    QTest::ignoreMessage(QtWarningMsg, "could not open tintlock profile database");
    const LedProfileRegistry registry(m_dir.filePath(QStringLiteral("absent.xml")));
    QVERIFY(!registry.isLoaded());
    QCOMPARE(registry.profileCount(), 0);
    QVERIFY(!registry.mode(0, 0));
}

void tst_LedProfileRegistry::badEntriesAreSkipped_data()
{
    QTest::addColumn<QByteArray>("mode");
    QTest::newRow("unknown chemistry")
        << QByteArray(R"(<mode input="1" chemistry="RGBX" channels="3" gamma="2"/>)");
    QTest::newRow("no channels") << QByteArray(
        R"(<mode input="1" chemistry="RGB" channels="0" gamma="2"/>)");
    QTest::newRow("too many channels")
        << QByteArray(R"(<mode input="1" chemistry="RGB" channels="17" gamma="2"/>)");
    QTest::newRow("input not a number")
        << QByteArray(R"(<mode input="x" chemistry="RGB" channels="3" gamma="2"/>)");
    QTest::newRow("gamma missing")
        << QByteArray(R"(<mode input="1" chemistry="RGB" channels="3"/>)");
    QTest::newRow("duplicate input")
        << QByteArray(R"(<mode input="0" chemistry="RGBW" channels="4" gamma="2"/>)");
}

void tst_LedProfileRegistry::badEntriesAreSkipped()
{
    QFETCH(QByteArray, mode);
    const QString path = write(R"(<profiles><profile id="7" name="Test">)"
                               R"(<mode input="0" chemistry="RGB" channels="3" gamma="2.2"/>)" +
                               mode +
                               R"(</profile><profile id="7" name="Again"/>)"
                               R"(<profile id="8" name="Other">)"
                               R"(<mode input="0" chemistry="WW" channels="1" gamma="2"/>)"
                               R"(</profile></profiles>)");
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("skipped")));
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("skipped")));
    const LedProfileRegistry registry(path);
    QVERIFY(registry.isLoaded());
    QCOMPARE(registry.profileIds(), (QList<int>{7, 8}));
    QCOMPARE(registry.profileName(7), QStringLiteral("Test"));
    QCOMPARE(registry.mode(7, 0)->chemistry, QStringLiteral("RGB"));
    QVERIFY(!registry.mode(7, 1));
    QCOMPARE(registry.mode(8, 0)->channels, 1);
}

void tst_LedProfileRegistry::brokenXmlLoadsNothing()
{
    const QString path = write(R"(<profiles><profile id="1"><mode input="0" chemistry="RGB")");
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("LED profile database")));
    const LedProfileRegistry registry(path);
    QVERIFY(!registry.isLoaded());
    QCOMPARE(registry.profileCount(), 0);
}

QTEST_GUILESS_MAIN(tst_LedProfileRegistry)
#include "tst_ledprofileregistry.moc"
