#pragma once

#include <QString>
#include <QVector>

class MapModel;

// The patch plan electricians work from on site: for every supply its name, address and
// serial, then for each of its ports the lights in the order of their DMX addresses.
// Built once from the map; the printout, the CSV, JSON and text forms all read this.

struct PatchLight
{
    quint64 uid = 0;
    QString name;
    quint64 serial = 0;
    // 1..512, as set on a desk or a fixture; 0 when the light holds no DMX start.
    int dmxAddress = 0;
    // DMX slots the light occupies from its address (16-bit channels take two).
    int channels = 0;
    // Its range shares slots with the light before it on the same port.
    bool overlapsPrevious = false;

    bool hasAddress() const { return dmxAddress > 0; }
    // The last slot of its range; past 512 when the light does not fit its universe.
    int dmxEnd() const { return hasAddress() ? dmxAddress + channels - 1 : 0; }
    bool runsPastUniverse() const { return dmxEnd() > 512; }
};

struct PatchPort
{
    // Counted from 1, as light names and the supplies' labels count ports.
    int port = 1;
    // By DMX address; lights without one come last, by name.
    QVector<PatchLight> lights;
};

struct PatchSupply
{
    // False for the closing section of lights that belong to no supply of the map; its
    // name, address and serial are empty.
    bool isSupply = true;
    quint64 uid = 0;
    QString name;
    QString ip; // empty when the supply has no address
    quint64 serial = 0;
    // Every port the supply has (empty ones too), then any further port its lights name.
    QVector<PatchPort> ports;

    int lightCount() const;
};

struct PatchList
{
    // By name (numbers in names by value, "PDS 2" before "PDS 10"), then serial, then uid;
    // lights without a supply last.
    QVector<PatchSupply> supplies;
    int lightCount = 0;

    static PatchList fromModel(const MapModel &model);
};

namespace PatchText {

// A serial as the light pane shows it: upper-case hexadecimal of 8 digits (classic devices)
// or 12 (RDM unique ids); empty for the "not known" serial 0xFFFFFFFF.
QString serial(quint64 serial);
// "1-3" for a light of three slots at address 1, "7" for a single slot, empty without an
// address.
QString dmxRange(const PatchLight &light);
// What an electrician should look at twice about a light: no address, slots shared with the
// light before, a range past 512. Brief for a table column, full for a text report; empty
// when all is well.
enum class NoteLength { Brief, Full };
QString checkNotes(const PatchLight &light, NoteLength length);
// Orders names as people read numbered labels: digit runs by value, letters without regard
// to case; negative, zero or positive like QString::compare.
int naturalCompare(const QString &a, const QString &b);
// The name on one line: line breaks and other control characters become blanks.
QString singleLine(const QString &text);

} // namespace PatchText
