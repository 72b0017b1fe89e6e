// How long the main window stops answering while it opens a map. A 1 ms timer runs beside
// the open; the longest gap between two of its ticks is the worst stall the user would feel.
// Maps are generated: LIGHTS lights on supplies of 150, groups of 50, every light and supply
// name NAME characters long.
//
//   bench_mapopen [LIGHTS [NAME]]      defaults: 15000 lights, names of 32 characters
//
// The window creates its protocol object, which broadcasts: run it inside a network
// namespace of its own (unshare -n) or through scripts/run.
#include "app/kestrel.h"
#include "model/mapmodel.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTimer>
#include <QXmlStreamWriter>

#include <cstdio>

namespace {

// Answers every question with its first button and remembers the messages.
class QuietPrompts final : public UserPrompts
{
public:
    QStringList messages;

    QString openFileName(QWidget *, const QString &, const QString &, const QString &) override
    {
        return {};
    }
    QString saveFileName(QWidget *, const QString &, const QString &, const QString &) override
    {
        return {};
    }
    QMessageBox::StandardButton message(QWidget *, QMessageBox::Icon, const QString &title,
                                        const QString &text, QMessageBox::StandardButtons) override
    {
        messages << title + QStringLiteral(": ") + text;
        return QMessageBox::Ok;
    }
    std::optional<QString> chooseItem(QWidget *, const QString &, const QString &,
                                      const QStringList &) override
    {
        return std::nullopt;
    }
    std::optional<int> chooseInt(QWidget *, const QString &, const QString &, int, int,
                                 int) override
    {
        return std::nullopt;
    }
    void showAbout(QWidget *, const QString &) override {}
    int runDialog(QDialog &) override { return 0; }
};

bool writeMap(const QString &path, int lights, int nameLength)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    constexpr int kPerSupply = 150;
    constexpr int kGroupSize = 50;
    const int supplies = (lights + kPerSupply - 1) / kPerSupply;
    auto name = [nameLength](const QString &stem) {
        return stem.leftJustified(nameLength, QLatin1Char('.'), true);
    };
    QXmlStreamWriter xml(&file);
    xml.writeStartElement(QStringLiteral("map"));
    for (int s = 0; s < supplies; ++s) {
        xml.writeStartElement(QStringLiteral("c"));
        xml.writeTextElement(QStringLiteral("t"), QStringLiteral("2"));
        xml.writeTextElement(QStringLiteral("s"), QString::number(0x100000 + s, 16));
        xml.writeTextElement(QStringLiteral("n"), name(QStringLiteral("Supply %1 ").arg(s)));
        xml.writeTextElement(QStringLiteral("sn"), QString::number(0x01A20000 + s, 16));
        for (int l = s * kPerSupply; l < std::min(lights, (s + 1) * kPerSupply); ++l)
            xml.writeTextElement(QStringLiteral("l"), QString::number(0x200000 + l, 16));
        xml.writeEndElement();
    }
    for (int l = 0; l < lights; ++l) {
        xml.writeStartElement(QStringLiteral("l"));
        xml.writeTextElement(QStringLiteral("s"), QString::number(0x200000 + l, 16));
        xml.writeTextElement(QStringLiteral("n"), name(QStringLiteral("Light %1 ").arg(l)));
        xml.writeTextElement(QStringLiteral("pn"), QString::number(l % 2));
        xml.writeTextElement(QStringLiteral("ln"), QString::number(l % kPerSupply / 2));
        xml.writeTextElement(QStringLiteral("c"), QString::number(0x100000 + l / kPerSupply, 16));
        xml.writeTextElement(QStringLiteral("x"), QString::number(24 * (l % kPerSupply)));
        xml.writeTextElement(QStringLiteral("y"), QString::number(24 * (l / kPerSupply)));
        xml.writeTextElement(QStringLiteral("sn"), QString::number(0x10100000 + l));
        xml.writeEndElement();
    }
    for (int g = 0; g * kGroupSize < lights; ++g) {
        xml.writeStartElement(QStringLiteral("g"));
        xml.writeTextElement(QStringLiteral("s"), QString::number(0x300000 + g, 16));
        xml.writeTextElement(QStringLiteral("n"), name(QStringLiteral("Group %1 ").arg(g)));
        for (int l = g * kGroupSize; l < std::min(lights, (g + 1) * kGroupSize); ++l)
            xml.writeTextElement(QStringLiteral("c"), QString::number(0x200000 + l, 16));
        xml.writeEndElement();
    }
    xml.writeEndElement();
    return !xml.hasError() && file.flush();
}

} // namespace

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    // Keep the user's settings and recent maps out of it.
    QStandardPaths::setTestModeEnabled(true);
    const int lights = argc > 1 ? atoi(argv[1]) : 15000;
    const int nameLength = argc > 2 ? atoi(argv[2]) : 32;

    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("bench.map"));
    if (!writeMap(path, lights, nameLength)) {
        std::fprintf(stderr, "cannot write %s\n", qPrintable(path));
        return 1;
    }

    auto prompts = std::make_unique<QuietPrompts>();
    QuietPrompts *answers = prompts.get();
    Kestrel window(std::move(prompts));
    window.resize(1200, 800);
    window.show();
    QCoreApplication::processEvents();

    QElapsedTimer clock;
    qint64 lastTick = 0;
    qint64 worstGap = 0;
    QTimer ticker;
    ticker.setTimerType(Qt::PreciseTimer);
    QObject::connect(&ticker, &QTimer::timeout, [&] {
        const qint64 now = clock.nsecsElapsed();
        worstGap = std::max(worstGap, now - lastTick);
        lastTick = now;
    });
    qint64 openMs = 0;
    bool loaded = false;
    QTimer::singleShot(0, [&] {
        QElapsedTimer open;
        open.start();
        loaded = window.openMap(path);
        openMs = open.elapsed();
    });
    // Two seconds after the open cover the panes' deferred work.
    QTimer::singleShot(0, [&] { QTimer::singleShot(2000, &app, &QCoreApplication::quit); });
    clock.start();
    ticker.start(1);
    app.exec();

    std::printf("lights %d, names of %d characters, file %lld bytes: %s in %lld ms; "
                "worst stall %.1f ms\n",
                lights, nameLength, static_cast<long long>(QFile(path).size()),
                loaded ? "opened" : "failed", static_cast<long long>(openMs),
                double(worstGap) / 1e6);
    for (const QString &m : qAsConst(answers->messages))
        std::printf("  message: %s\n", qPrintable(m.left(200)));
    return loaded ? 0 : 1;
}
