#pragma once

#include <QVector>

struct PatchList;

// Where the patch list's headings, table headers and rows fall on the printed pages. Pure
// arithmetic on heights (in device units), worked out before anything is painted, so the
// footer can say "Page n of N" and every page can repeat its table's header.
namespace PatchPagination {

struct Heights
{
    double page = 0;          // usable height of a page below its header
    double supplyHeading = 0; // a supply's name, address and serial
    double portHeading = 0;   // "Port n" above its table (also a continued table's title)
    double tableHeader = 0;   // the column titles
    double row = 0;           // one light
    double gap = 0;           // after a port's table
};

struct Block
{
    enum Kind { SupplyHeading, PortHeading, TableHeader, Rows, EmptyPort };
    Kind kind = Rows;
    int supply = 0;         // index into PatchList::supplies
    int port = 0;           // index into that supply's ports (-1: the supply has none)
    int firstRow = 0;       // Rows: the first light of the port on this page
    int rowCount = 0;       // Rows: how many
    bool continued = false; // PortHeading: the port's table carries on from the page before
    double y = 0;           // top of the block on its page
};

using Page = QVector<Block>;

// A supply's heading stays with its first port's table, and a port's heading and table
// header with at least five of its rows (all of a shorter table); a table that breaks
// carries on under a "continued" heading and its header on the next page, taking at least
// three rows there.
QVector<Page> paginate(const PatchList &list, const Heights &heights);

} // namespace PatchPagination
