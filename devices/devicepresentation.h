#pragma once

#include <QList>
#include <QString>
#include <QVector>

class DeviceDictionary;
class MapModel;

// How device knowledge is put into words for the interface editor and the device view.
// Pure rules, kept apart from the widgets so they can be tested without a display.
namespace DevicePresentation {

// Lights of unknown kind are listed as the maker's generic fixture.
extern const QString kGenericFixtureName;

// "Vistra Interface" for supply type 2, "Vistra Broadcast Interface" for 3, otherwise
// "Unknown Interface Type".
QString interfaceTypeText(unsigned int supplyType);

// The version combo's items, "Vistra v1" to "Vistra v3", in order.
QList<QString> protocolVersionTexts();
// Index of the combo item for a protocol version; versions other than 1..3 select the
// first item.
int protocolVersionIndex(int version);
// The version an item's text stands for, compared without regard to case; 0 for any other
// text.
int protocolVersionFromText(const QString &text);

// A supply's serial number as the user sees and types it: upper-case hexadecimal without
// prefix, as in map files. Text that is not hexadecimal reads as 0.
QString serialText(quint64 serial);
quint64 serialFromText(const QString &text);

// A typed decimal number; text that is not a number gives 0.
unsigned int decimalFromText(const QString &text);

// The kind under which the device view lists a light: the device name of its serial, or
// "Vela Fixture" when the dictionary calls it "Unknown Device" (in any case).
QString deviceViewKind(const DeviceDictionary &dictionary, quint64 serial);

// One row of the device view.
struct DeviceViewRow
{
    quint64 lightUid = 0;
    QString label;
    int displayedChannel = 0; // the light's zero-based channel shown one-based
    QString supplyName;       // empty when the light's supply is not in the map
};

struct DeviceViewKind
{
    QString name;
    QVector<DeviceViewRow> rows;
};

// The map's lights grouped by kind, each kind once, kinds in the order of their first
// light and lights in uid order.
QVector<DeviceViewKind> groupLightsByKind(const MapModel &model,
                                          const DeviceDictionary &dictionary);

} // namespace DevicePresentation
