#include "views/richtext/ComposeHTMLReader.h"

#include <QTextBlock>
#include <QTextTable>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Larkhaven::ComposeHTML {

/// Rows and columns of the table whose start tag has just been read, without those of tables within it.
QSize Reader::tableSize()
{
    const qsizetype start = m_position;
    int depth = 1;
    int rows = 0;
    int column = 0;
    int columns = 0;
    while (m_position < m_html.size() && depth > 0) {
        m_position = m_html.indexOf(u'<', m_position);
        if (m_position < 0)
            break;
        const Tag tag = readTag();
        if (tag.name == "table"_L1) {
            depth += tag.isEnd ? -1 : 1;
        } else if (depth == 1 && !tag.isEnd && tag.name == "tr"_L1) {
            ++rows;
            column = 0;
        } else if (depth == 1 && !tag.isEnd && (tag.name == "td"_L1 || tag.name == "th"_L1)) {
            column += std::clamp(tag.attributes.value(u"colspan"_s).toInt(), 1, maximumColumns);
            columns = std::max(columns, column);
        }
    }
    m_position = start;
    return {columns, rows};
}

void Reader::openTable(const Tag& tag, Element& element)
{
    const bool isTooDeep = m_tables.size() >= maximumTableDepth;
    const QSize size = isTooDeep ? QSize() : tableSize();
    const bool isTooLarge = size.width() > maximumColumns ||
                            size.height() > maximumCells || // no product of the two overflows
                            m_cells + size.width() * size.height() > maximumCells;
    if (isTooDeep || isTooLarge)
        m_losses.tables = true;
    if (isTooDeep || isTooLarge || size.isEmpty())
        return;
    m_cells += size.width() * size.height();
    if (std::exchange(m_hasText, false) && std::exchange(m_isGapDue, false))
        m_cursor.insertBlock(element.paragraph, QTextCharFormat());
    else if (m_cursor.block().text().isEmpty() && m_cursor.atBlockStart())
        ComposeFormat::setSpacer(m_cursor);
    QTextTableFormat format;
    const int border = std::clamp(tag.attributes.value(u"border"_s).toInt(), 0, 4);
    format.setBorder(border);
    format.setBorderCollapse(true);
    format.setBorderStyle(QTextFrameFormat::BorderStyle_Solid);
    format.setCellSpacing(0);
    format.setCellPadding(std::clamp(tag.attributes.value(u"cellpadding"_s, u"2"_s).toInt(), 0, 16));
    Table table;
    table.made = m_cursor.insertTable(size.height(), size.width(), format);
    m_tables.push_back(table);
    element.isTable = true;
}

void Reader::openRow()
{
    if (m_tables.empty() || m_tables.back().row + 1 >= m_tables.back().made->rows())
        return;
    ++m_tables.back().row;
    m_tables.back().column = 0;
}

void Reader::openCell(const Tag& tag, Element& element)
{
    // A cell without a row, or within a table that is none here, is text.
    const bool isOwn = !m_tables.empty() && m_tables.back().row >= 0 && isDirectlyInTable();
    if (!isOwn)
        return;
    Table& table = m_tables.back();
    const auto isTaken = [&table] {
        const QTextTableCell cell = table.made->cellAt(table.row, table.column);
        return cell.row() != table.row || cell.column() != table.column;
    };
    while (table.column < table.made->columns() && isTaken())
        ++table.column;
    if (table.column >= table.made->columns()) {
        m_losses.tables = true;
        return;
    }
    const auto span = [&tag](const QString& name, int most) {
        return std::clamp(tag.attributes.value(name).toInt(), 1, std::max(1, most));
    };
    const int across = span(u"colspan"_s, table.made->columns() - table.column);
    const int down = span(u"rowspan"_s, table.made->rows() - table.row);
    if ((across > 1 || down > 1) && ++m_merges <= maximumMerges)
        table.made->mergeCells(table.row, table.column, down, across);
    m_cursor = table.made->cellAt(table.row, table.column).firstCursorPosition();
    table.column += across;
    table.outerLists = std::exchange(m_lists, {});
    m_lastList = nullptr;
    m_hasText = false;
    m_isCellStart = true;
    m_isGapDue = false;
    m_isItemDue = false;
    element.isCell = true;
    element.list = -1;
}

bool Reader::isDirectlyInTable() const
{
    for (auto element = m_open.rbegin(); element != m_open.rend(); ++element) {
        if (element->isTable)
            return true;
        if (element->isCell || element->name == "table"_L1)
            return false;
    }
    return false;
}

void Reader::closeCell()
{
    m_lists = std::exchange(m_tables.back().outerLists, {});
    m_lastList = nullptr;
    m_isItemDue = false;
    m_isGapDue = false;
}

void Reader::closeTable()
{
    m_cursor.setPosition(m_tables.back().made->lastPosition() + 1);
    m_isCellStart = false;
    m_tables.pop_back();
    // There is an empty paragraph behind each table.
    m_hasText = false;
    m_isGapDue = false;
    ComposeFormat::setSpacer(m_cursor);
}

} // namespace Larkhaven::ComposeHTML
