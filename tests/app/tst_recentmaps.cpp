#include "app/recentmaps.h"
#include "app/testsettings.h"

#include <QtTest>

class tst_RecentMaps : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { m_settings = std::make_unique<TestSettings>(); }
    void init() { TestSettings::clear(); }
    void addAndRemove_data();
    void addAndRemove();
    void shrinkingTheMaximumDropsTheOldest();
    void savedListComesBackInOrder();
    void shorterListLeavesNoStaleKeys();
    void loadSkipsDuplicatesAndTrimsToTheMaximum();

private:
    std::unique_ptr<TestSettings> m_settings;
};

void tst_RecentMaps::addAndRemove_data()
{
    // Each step: "+path" adds, "-path" removes.
    QTest::addColumn<QStringList>("steps");
    QTest::addColumn<QStringList>("expected");
    QTest::newRow("newest first") << QStringList{"+a", "+b", "+c"} << QStringList{"c", "b", "a"};
    QTest::newRow("same file twice") << QStringList{"+a", "+b", "+a"} << QStringList{"a", "b"};
    QTest::newRow("sixth pushes out the oldest")
        << QStringList{"+1", "+2", "+3", "+4", "+5", "+6"} << QStringList{"6", "5", "4", "3", "2"};
    QTest::newRow("re-adding the oldest keeps five")
        << QStringList{"+1", "+2", "+3", "+4", "+5", "+1"} << QStringList{"1", "5", "4", "3", "2"};
    QTest::newRow("remove") << QStringList{"+a", "+b", "+c", "-b"} << QStringList{"c", "a"};
    QTest::newRow("remove unknown") << QStringList{"+a", "-z"} << QStringList{"a"};
    QTest::newRow("paths differing in case are different")
        << QStringList{"+/m/A.map", "+/m/a.map"} << QStringList{"/m/a.map", "/m/A.map"};
}

void tst_RecentMaps::addAndRemove()
{
    QFETCH(QStringList, steps);
    QFETCH(QStringList, expected);
    RecentMaps recent;
    for (const QString &step : qAsConst(steps)) {
        if (step.startsWith(QLatin1Char('+')))
            recent.add(step.mid(1));
        else
            recent.remove(step.mid(1));
    }
    QCOMPARE(recent.paths(), expected);
}

void tst_RecentMaps::shrinkingTheMaximumDropsTheOldest()
{
    RecentMaps recent;
    recent.setMaximum(9);
    for (int i = 0; i < 9; ++i)
        recent.add(QString::number(i));
    recent.setMaximum(3);
    QCOMPARE(recent.paths(), (QStringList{"8", "7", "6"}));
    recent.setMaximum(0);
    QCOMPARE(recent.maximum(), 1);
    QCOMPARE(recent.paths(), QStringList{"8"});
}

void tst_RecentMaps::savedListComesBackInOrder()
{
    RecentMaps recent;
    recent.add(QStringLiteral("/maps/old.map"));
    recent.add(QStringLiteral("/maps/new.map"));
    {
        QSettings settings;
        recent.save(settings);
        QCOMPARE(settings.value(QStringLiteral("/recentmap0")).toString(),
                 QStringLiteral("/maps/new.map"));
        QCOMPARE(settings.value(QStringLiteral("/recentmap1")).toString(),
                 QStringLiteral("/maps/old.map"));
    }
    RecentMaps loaded;
    loaded.load(QSettings());
    QCOMPARE(loaded.paths(), recent.paths());
}

void tst_RecentMaps::shorterListLeavesNoStaleKeys()
{
    RecentMaps recent;
    for (const char *path : {"a", "b", "c"})
        recent.add(QString::fromLatin1(path));
    QSettings settings;
    recent.save(settings);
    recent.remove(QStringLiteral("a"));
    recent.remove(QStringLiteral("b"));
    recent.save(settings);
    QCOMPARE(settings.allKeys(), QStringList{QStringLiteral("recentmap0")});
    RecentMaps loaded;
    loaded.load(settings);
    QCOMPARE(loaded.paths(), QStringList{QStringLiteral("c")});
}

void tst_RecentMaps::loadSkipsDuplicatesAndTrimsToTheMaximum()
{
    QSettings settings;
    const QStringList stored{"a", "b", "a", "c", "d", "e", "f", "g"};
    for (int i = 0; i < stored.size(); ++i)
        settings.setValue(RecentMaps::key(i), stored.at(i));
    RecentMaps loaded;
    loaded.setMaximum(5);
    loaded.load(settings);
    QCOMPARE(loaded.paths(), (QStringList{"a", "b", "c", "d", "e"}));
}

QTEST_GUILESS_MAIN(tst_RecentMaps)
#include "tst_recentmaps.moc"
