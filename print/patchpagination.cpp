#include "print/patchpagination.h"

#include "report/patchlist.h"

#include <algorithm>
#include <cmath>

namespace PatchPagination {

namespace {

// A table starts on a page only with this many of its rows (all of a shorter one), so no
// heading stands at the foot of a page over a stub of rows ...
constexpr int kRowsWithHeading = 5;
// ... and a table that breaks carries at least this many rows onto the next page.
constexpr int kRowsCarried = 3;

class Paginator
{
public:
    explicit Paginator(const Heights &heights) : m_h(heights) { m_pages.append(Page()); }

    void supply(const PatchSupply &entry, int supplyIndex)
    {
        if (entry.ports.isEmpty()) {
            // A supply without ports still gets its heading and a line saying so.
            if (m_y > 0 && m_y + m_h.supplyHeading + m_h.row > m_h.page)
                newPage();
            add({Block::SupplyHeading, supplyIndex, -1}, m_h.supplyHeading);
            add({Block::EmptyPort, supplyIndex, -1}, m_h.row);
            m_y += m_h.gap;
            return;
        }
        for (int p = 0; p < entry.ports.size(); ++p)
            port(entry.ports.at(p), supplyIndex, p, p == 0);
    }

    QVector<Page> take() { return std::move(m_pages); }

private:
    void port(const PatchPort &entry, int supplyIndex, int portIndex, bool withSupplyHeading)
    {
        const int rows = entry.lights.size();
        // What must share the page: the headings, and the table header with its first rows.
        double keep = (withSupplyHeading ? m_h.supplyHeading : 0) + m_h.portHeading;
        // A table too short to split by the rules below (enough rows under its heading and
        // enough carried over) moves to the next page whole.
        const int kept = rows < kRowsWithHeading + kRowsCarried ? rows : kRowsWithHeading;
        keep += rows == 0 ? m_h.row : m_h.tableHeader + kept * m_h.row;
        if (m_y > 0 && m_y + keep > m_h.page)
            newPage();
        if (withSupplyHeading)
            add({Block::SupplyHeading, supplyIndex, portIndex}, m_h.supplyHeading);
        add({Block::PortHeading, supplyIndex, portIndex}, m_h.portHeading);
        if (rows == 0) {
            add({Block::EmptyPort, supplyIndex, portIndex}, m_h.row);
            m_y += m_h.gap;
            return;
        }
        add({Block::TableHeader, supplyIndex, portIndex}, m_h.tableHeader);
        int first = 0;
        while (first < rows) {
            const int fit = std::max(1, int(std::floor((m_h.page - m_y) / m_h.row + 1e-9)));
            int count = std::min(fit, rows - first);
            // Carry a few rows over rather than one or two, as long as enough stay.
            const int carried = rows - first - count;
            const int minStay = first == 0 ? kRowsWithHeading : kRowsCarried;
            if (carried > 0 && carried < kRowsCarried)
                count = std::max(std::min(count, minStay), count - (kRowsCarried - carried));
            Block block{Block::Rows, supplyIndex, portIndex, first, count};
            add(block, count * m_h.row);
            first += count;
            if (first < rows) {
                newPage();
                Block heading{Block::PortHeading, supplyIndex, portIndex};
                heading.continued = true;
                add(heading, m_h.portHeading);
                add({Block::TableHeader, supplyIndex, portIndex}, m_h.tableHeader);
            }
        }
        m_y += m_h.gap;
    }

    void add(Block block, double height)
    {
        block.y = m_y;
        m_pages.last().append(block);
        m_y += height;
    }

    void newPage()
    {
        m_pages.append(Page());
        m_y = 0;
    }

    const Heights m_h;
    QVector<Page> m_pages;
    double m_y = 0;
};

} // namespace

QVector<Page> paginate(const PatchList &list, const Heights &heights)
{
    Paginator paginator(heights);
    for (int s = 0; s < list.supplies.size(); ++s)
        paginator.supply(list.supplies.at(s), s);
    QVector<Page> pages = paginator.take();
    if (pages.size() == 1 && pages.constFirst().isEmpty())
        pages.clear();
    return pages;
}

} // namespace PatchPagination
