#include "app/networkoptions.h"

#include "net/dottedquad.h"
#include "net/ksocket.h"
#include "sim/siminstallation.h"
#include "sim/simulator.h"

#include <QCommandLineParser>
#include <QSettings>

namespace NetworkOptions {

namespace {

const QString kDemoOption = QStringLiteral("demo");
const QString kBroadcastOption = QStringLiteral("broadcast");

bool setBroadcast(const QString &text, QString *error)
{
    const std::optional<quint32> address = parseDottedQuad(text);
    if (!address) {
        *error = QStringLiteral("The broadcast address must be an IPv4 address such as "
                                "192.168.1.255, not \"%1\".")
                     .arg(text);
        return false;
    }
    KSocket::setDefaultBroadcastAddress(QHostAddress(*address));
    return true;
}

} // namespace

void addTo(QCommandLineParser &parser)
{
    parser.addOption({kDemoOption,
                      QStringLiteral("Run a simulated installation inside the program; nothing "
                                     "leaves this machine.")});
    parser.addOption({kBroadcastOption,
                      QStringLiteral("Send discovery broadcasts to ADDRESS (for example the "
                                     "installation network's directed broadcast)."),
                      QStringLiteral("ADDRESS")});
}

bool apply(const QCommandLineParser &parser, QObject *owner, QString *error, Simulator **demo)
{
    if (parser.isSet(kDemoOption)) {
        KSocket::setLoopbackOnly(true);
        KSocket::setDefaultBroadcastAddress(QHostAddress(kDemoBroadcast));
        auto *simulator = new Simulator(SimInstallation::builtIn(), owner);
        if (!simulator->start(error)) {
            delete simulator;
            return false;
        }
        if (demo)
            *demo = simulator;
        return true;
    }
    if (parser.isSet(kBroadcastOption))
        return setBroadcast(parser.value(kBroadcastOption), error);
    const QString chosen = QSettings().value(kBroadcastSetting).toString().trimmed();
    return chosen.isEmpty() || setBroadcast(chosen, error);
}

} // namespace NetworkOptions
