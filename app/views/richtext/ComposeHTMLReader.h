#pragma once

#include "views/richtext/ComposeHTML.h"
#include "views/richtext/ComposeHTMLStyle.h"

#include <QHash>
#include <QSize>
#include <QTextCursor>
#include <QTextListFormat>

#include <optional>
#include <vector>

class QTextList;
class QTextTable;

namespace Larkhaven::ComposeHTML {

struct Tag {
    QStringView name;
    QHash<QString, QString> attributes;
    bool isEnd = false;
};

/// An element that is open, with what holds within it.
struct Element {
    QStringView name;
    QTextCharFormat text;
    double size = 0; ///< in points
    QTextBlockFormat paragraph;
    bool keepsSpace = false;
    bool isHidden = false;
    int list = -1;        ///< the innermost list, as an index of the open ones
    bool isTable = false; ///< it is `m_tables.back()` while it is the innermost one
    bool isCell = false;  ///< a cell of that table
    bool isClose = false; ///< no empty line stands behind it
};

/// A list that is open.
struct List {
    QTextListFormat format;
    QTextList* made = nullptr; ///< none before its first item
    int firstNumber = 1;
};

/// A table that is open.
struct Table {
    QTextTable* made = nullptr;
    int row = -1;
    int column = 0;
    std::vector<List> outerLists; ///< those that the open cell stands in
};

/// Reads what the sanitizer has written: every tag is well formed, but tags need not nest.
class Reader {
public:
    Reader(QStringView html, QTextDocument& document, const ComposeFormat::Sizes& sizes)
        : m_html(html)
        , m_cursor(&document)
        , m_sizes(sizes)
    {
        Element root;
        root.size = sizes.base;
        m_open.push_back(root);
    }

    void run();
    const Losses& losses() const { return m_losses; }

private:
    Tag readTag();
    void skipStyle();
    void startTag(const Tag& tag);
    void endTag(QStringView name);
    void leave();
    void applyTag(const Tag& tag, Element& element);
    void applyStyle(const Tag& tag, Element& element);
    void applyParagraphStyle(const QHash<QString, QString>& style, Element& element);
    void applyMargins(const QHash<QString, QString>& style, Element& element);
    void applyDirection(const QString& direction, Element& element);
    void addImage(const Tag& tag);
    void noteLooks(const Tag& tag, const QHash<QString, QString>& style);
    void openList(const Tag& tag, Element& element);
    void openTable(const Tag& tag, Element& element);
    QSize tableSize();
    void openRow();
    void openCell(const Tag& tag, Element& element);
    bool isDirectlyInTable() const;
    void closeCell();
    void closeTable();
    void setSize(Element& element, double size) const;

    void addText(QStringView raw);
    void addCollapsed(const QString& text);
    void addKept(const QString& text);
    void insert(const QString& text);
    void flushSpace();
    void flushBreaks();
    void lineBreak();
    void beginParagraph();
    void endParagraph();
    void joinList();
    void keepSignatureMark();

    Element& current() { return m_open.back(); }

    QStringView m_html;
    qsizetype m_position = 0;
    QTextCursor m_cursor;
    ComposeFormat::Sizes m_sizes;
    References m_references;
    std::vector<Element> m_open;
    std::vector<List> m_lists;
    QTextList* m_lastList = nullptr; ///< the list that was added to last
    bool m_isItemDue = false;        ///< the next paragraph is the first one of a list item
    bool m_hasText = false;          ///< there is a paragraph already
    bool m_isInParagraph = false;
    bool m_wasGapDue = false; ///< before the element that is being opened
    bool m_isGapDue = false;  ///< an empty line comes before the next paragraph
    bool m_isLineStart = true;
    std::optional<QTextCharFormat> m_space; ///< a space that counts if text follows
    int m_breaks = 0;                       ///< line breaks that count if text follows
    int m_lines = 0;                        ///< of the paragraph
    QString m_lineStart;                    ///< the first characters of the line
    std::vector<Table> m_tables;
    bool m_isCellStart = false;
    int m_cells = 0;  ///< of all tables
    int m_merges = 0; ///< of cells
    Losses m_losses;
};

} // namespace Larkhaven::ComposeHTML
