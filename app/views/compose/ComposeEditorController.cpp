#include "views/compose/ComposeEditorController.h"

#include "platform/Tasks.h"
#include "views/richtext/ComposeHTML.h"
#include "views/richtext/PastedHTML.h"
#include "views/richtext/QuietDocument.h"
#include "views/richtext/TextRuns.h"
#include "views/style/Style.h"

#include <QColorDialog>
#include <QFontDatabase>
#include <QFontDialog>
#include <QRegularExpression>
#include <QTextBlock>
#include <QTextDocumentFragment>
#include <QTextFrame>
#include <QTextList>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

/// Longer addresses are not made links while they are typed.
constexpr qsizetype longestAddress = 2'000;

/// Longer HTML is read on a worker. In UTF-16 units.
constexpr qsizetype longestReadAtOnce = 50'000;

/// Of a level of lists. In pixels.
constexpr double levelIndent = 24;

bool isBoldFormat(const QTextCharFormat& format)
{
    return format.hasProperty(QTextFormat::FontWeight) && format.fontWeight() >= QFont::DemiBold;
}

/// The address that a link to the typed text has; empty where it is none.
QString addressOf(const QString& text)
{
    static const QRegularExpression email(uR"(^[^@\s<>,;"]+@[^@\s<>,;".]+(\.[^@\s<>,;".]+)+$)"_s);
    if (text.startsWith("http://"_L1) || text.startsWith("https://"_L1) || text.startsWith("mailto:"_L1))
        return text;
    if (text.startsWith("www."_L1) && text.count(u'.') > 1)
        return u"https://"_s + text;
    if (email.match(text).hasMatch())
        return u"mailto:"_s + text;
    return {};
}

} // namespace

ComposeEditorController::ComposeEditorController(QObject* parent)
    : QObject(parent)
{
    setBaseFont({}, m_sizes.base);
    connect(&Style::shared(), &Style::changed, this, [this] {
        setBaseFont(m_baseFont.family(), m_sizes.base);
        if (textView)
            textView->setFont(m_baseFont);
        m_spelling.followLooks(m_sizes);
    });
}

ComposeEditorController::~ComposeEditorController()
{
    m_pastesEnd->notify();
}

void ComposeEditorController::setBaseFont(const QString& family, double size)
{
    m_sizes.base = std::clamp(size, ComposeFormat::smallestSize, ComposeFormat::largestSize);
    m_sizes.scale = static_cast<double>(Style::shared().textSize()) / Style::standardTextSize;
    m_baseFont = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
    if (!family.isEmpty())
        m_baseFont.setFamilies({family});
    m_baseFont.setPixelSize(m_sizes.pixels(m_sizes.base));
}

void ComposeEditorController::attach(ComposeTextView& view, const QString& initialText,
                                     const std::optional<QString>& initialHTML, bool richText)
{
    textView = &view;
    view.controller = this;
    view.setFont(m_baseFont);
    // Each change of a document that is on screen lays it out; one that comes whole is laid out in steps.
    auto* const document = new QuietDocument(&view);
    document->setDefaultFont(m_baseFont);
    document->setIndentWidth(levelIndent);
    if (richText && initialHTML)
        m_losses = ComposeHTML::read(*initialHTML, *document, m_sizes);
    document->setUndoRedoEnabled(false);
    if (!richText || !initialHTML)
        QTextCursor(document).insertText(initialText);
    QTextFrameFormat frame = document->rootFrame()->frameFormat();
    frame.setLeftMargin(ComposeTextView::horizontalInset);
    frame.setRightMargin(ComposeTextView::horizontalInset);
    frame.setTopMargin(ComposeTextView::verticalInset);
    frame.setBottomMargin(ComposeTextView::verticalInset);
    document->rootFrame()->setFrameFormat(frame);
    ComposeFormat::setPlain(*document, !richText);
    ComposeHTML::rememberParagraphs(*document);
    document->setUndoRedoEnabled(true);
    document->setModified(false);
    QTextDocument* const before = view.document();
    view.setDocument(document);
    delete before;
    m_isRichText = richText;
    view.moveCursor(QTextCursor::Start);
    const auto typingPosition = [this] {
        const bool isTyping = textView && textView->hasFocus() && !textView->textCursor().hasSelection();
        return isTyping ? textView->textCursor().position() : -1;
    };
    m_spelling.attach(*document, m_sizes, typingPosition);
    connect(document, &QTextDocument::contentsChanged, this, &ComposeEditorController::followDocument);
    connect(&view, &QTextEdit::cursorPositionChanged, this, &ComposeEditorController::followCursor);
    connect(&view, &QTextEdit::currentCharFormatChanged, this, &ComposeEditorController::selectionChanged);
    connect(&view, &QTextEdit::selectionChanged, this, &ComposeEditorController::selectionChanged);
}

void ComposeEditorController::followDocument()
{
    const bool isRich = textView && !ComposeFormat::isPlain(*textView->document());
    if (isRich != m_isRichText) {
        m_isRichText = isRich;
        Q_EMIT richTextChanged();
    }
    Q_EMIT textChanged();
    Q_EMIT selectionChanged();
}

void ComposeEditorController::followCursor()
{
    m_spelling.followCursor();
    Q_EMIT selectionChanged();
}

// --- The text as a whole

void ComposeEditorController::setRichText(bool richText)
{
    if (!textView || richText == m_isRichText)
        return;
    QTextDocument* const document = textView->document();
    QTextCursor cursor(document);
    const int place = textView->textCursor().position();
    cursor.beginEditBlock();
    if (!richText) {
        const QString plain = ComposeHTML::plainText(*document);
        cursor.select(QTextCursor::Document);
        cursor.removeSelectedText();
        cursor.setBlockFormat(QTextBlockFormat());
        cursor.setBlockCharFormat(QTextCharFormat());
        cursor.insertText(plain, QTextCharFormat());
    }
    ComposeFormat::setPlain(*document, !richText);
    cursor.endEditBlock();
    cursor.setPosition(std::min(place, document->characterCount() - 1));
    textView->setTextCursor(cursor);
    if (!richText)
        textView->setCurrentCharFormat(QTextCharFormat());
    // The switch alone changes no text, of which a document would tell.
    followDocument();
}

QString ComposeEditorController::text() const
{
    if (!textView)
        return {};
    textView->finishPasting();
    return ComposeHTML::plainText(*textView->document());
}

std::optional<QString> ComposeEditorController::html() const
{
    if (!textView || !m_isRichText)
        return std::nullopt;
    textView->finishPasting();
    return ComposeHTML::write(*textView->document());
}

bool ComposeEditorController::isModified() const
{
    return isPasting() || (textView && textView->document()->isModified());
}

int ComposeEditorController::revision() const
{
    return textView ? textView->document()->revision() : 0;
}

int ComposeEditorController::length() const
{
    return textView ? textView->document()->characterCount() : 0;
}

// --- Commands

void ComposeEditorController::changeText(const Change& change)
{
    if (!textView || !m_isRichText || textView->isReadOnly())
        return;
    textView->setFocus();
    QTextCursor cursor = textView->textCursor();
    if (!cursor.hasSelection()) {
        QTextCharFormat format = textView->currentCharFormat();
        change(format);
        textView->setCurrentCharFormat(format);
        Q_EMIT selectionChanged();
        return;
    }
    QTextDocument* const document = textView->document();
    const QList<TextRun> runs = textRuns(cursor);
    cursor.beginEditBlock();
    for (const TextRun& run : runs) {
        QTextCharFormat format = run.format;
        change(format);
        selectedText(document, run.start, run.end).setCharFormat(format);
    }
    // What is typed into an empty paragraph, and the markers of lists, have the format of the paragraph.
    for (QTextBlock block = document->findBlock(cursor.selectionStart());
         block.isValid() && block.position() < cursor.selectionEnd(); block = block.next()) {
        if (block.position() < cursor.selectionStart())
            continue;
        QTextCharFormat format = block.charFormat();
        change(format);
        QTextCursor(block).setBlockCharFormat(format);
    }
    cursor.endEditBlock();
}

void ComposeEditorController::changeSize(const std::function<double(double)>& change)
{
    const ComposeFormat::Sizes sizes = m_sizes;
    changeText([&change, sizes](QTextCharFormat& format) {
        const double now = ComposeFormat::size(format).value_or(sizes.base);
        ComposeFormat::setSize(format, change(now), sizes);
    });
}

bool ComposeEditorController::allText(const Test& test) const
{
    if (!textView)
        return false;
    const QTextCursor cursor = textView->textCursor();
    const QList<TextRun> runs = cursor.hasSelection() ? textRuns(cursor) : QList<TextRun>();
    if (runs.isEmpty())
        return test(textView->currentCharFormat());
    return std::ranges::all_of(runs, [&test](const TextRun& run) { return test(run.format); });
}

void ComposeEditorController::toggle(const Test& test, const std::function<void(QTextCharFormat&, bool)>& set)
{
    const bool isOn = !allText(test);
    changeText([&set, isOn](QTextCharFormat& format) { set(format, isOn); });
}

void ComposeEditorController::makeSmaller()
{
    changeSize([](double size) { return size - 1; });
}

void ComposeEditorController::makeDefaultSize()
{
    changeSize([this](double) { return m_sizes.base; });
}

void ComposeEditorController::makeBigger()
{
    changeSize([](double size) { return size + 1; });
}

void ComposeEditorController::toggleBold()
{
    toggle(isBoldFormat, [](QTextCharFormat& format, bool isOn) {
        if (isOn)
            format.setFontWeight(QFont::Bold);
        else
            format.clearProperty(QTextFormat::FontWeight);
    });
}

void ComposeEditorController::toggleItalic()
{
    toggle([](const QTextCharFormat& format) { return format.fontItalic(); },
           [](QTextCharFormat& format, bool isOn) { format.setFontItalic(isOn); });
}

void ComposeEditorController::toggleUnderline()
{
    toggle([](const QTextCharFormat& format) { return format.fontUnderline(); },
           [](QTextCharFormat& format, bool isOn) { format.setFontUnderline(isOn); });
}

void ComposeEditorController::toggleStrikethrough()
{
    toggle([](const QTextCharFormat& format) { return format.fontStrikeOut(); },
           [](QTextCharFormat& format, bool isOn) { format.setFontStrikeOut(isOn); });
}

/// The whole paragraphs that the selection touches. One that it only ends before isn't touched.
QTextCursor ComposeEditorController::paragraphs() const
{
    QTextCursor cursor = textView->textCursor();
    const int start = cursor.selectionStart();
    int end = cursor.selectionEnd();
    if (end > start && textView->document()->findBlock(end).position() == end)
        --end;
    return selectedText(textView->document(), start, end);
}

void ComposeEditorController::align(Qt::Alignment alignment)
{
    if (!textView || !m_isRichText || textView->isReadOnly())
        return;
    textView->setFocus();
    QTextBlockFormat change;
    change.setAlignment(alignment.testFlag(Qt::AlignHCenter) ? alignment : alignment | Qt::AlignAbsolute);
    paragraphs().mergeBlockFormat(change);
    Q_EMIT selectionChanged();
}

void ComposeEditorController::toggleList(QTextListFormat::Style style)
{
    if (!textView || !m_isRichText || textView->isReadOnly())
        return;
    textView->setFocus();
    QTextCursor cursor = paragraphs();
    const bool isOn = isList(style);
    cursor.beginEditBlock();
    if (isOn) {
        QTextBlock block = textView->document()->findBlock(cursor.selectionStart());
        for (; block.isValid() && block.position() <= cursor.selectionEnd(); block = block.next()) {
            if (QTextList* const list = block.textList())
                list->remove(block);
            QTextBlockFormat plain;
            plain.setIndent(0);
            plain.setTextIndent(0);
            QTextCursor(block).mergeBlockFormat(plain);
        }
    } else {
        QTextListFormat format;
        format.setStyle(style);
        format.setIndent(1);
        cursor.createList(format);
    }
    cursor.endEditBlock();
    Q_EMIT selectionChanged();
}

bool ComposeEditorController::leaveEmptyListItem()
{
    const QTextCursor cursor = textView->textCursor();
    QTextList* const list = cursor.currentList();
    if (!list || cursor.hasSelection() || cursor.block().length() > 1)
        return false;
    QTextCursor step(cursor);
    step.beginEditBlock();
    list->remove(cursor.block());
    QTextBlockFormat plain;
    plain.setIndent(0);
    step.mergeBlockFormat(plain);
    step.endEditBlock();
    Q_EMIT selectionChanged();
    return true;
}

// --- Panels

void ComposeEditorController::showFonts()
{
    if (!textView || !m_isRichText)
        return;
    textView->setFocus();
    const QTextCharFormat format = textView->currentCharFormat();
    QFont font = format.font().resolve(m_baseFont);
    font.setPointSizeF(ComposeFormat::size(format).value_or(m_sizes.base));
    auto* const panel = new QFontDialog(font, textView->window());
    panel->setAttribute(Qt::WA_DeleteOnClose);
    connect(panel, &QFontDialog::fontSelected, this, &ComposeEditorController::setFont);
    panel->open();
}

void ComposeEditorController::showColors()
{
    if (!textView || !m_isRichText)
        return;
    textView->setFocus();
    const QTextCharFormat format = textView->currentCharFormat();
    const bool isColored = format.hasProperty(QTextFormat::ForegroundBrush);
    auto* const panel = new QColorDialog(
        isColored ? format.foreground().color() : Style::shared().colors().text, textView->window());
    panel->setAttribute(Qt::WA_DeleteOnClose);
    connect(panel, &QColorDialog::colorSelected, this, &ComposeEditorController::setColor);
    panel->open();
}

void ComposeEditorController::setFont(const QFont& font)
{
    const ComposeFormat::Sizes sizes = m_sizes;
    changeText([font, sizes](QTextCharFormat& format) {
        format.setFontFamilies({font.family()});
        format.setFontItalic(font.italic());
        format.setFontUnderline(font.underline());
        format.setFontStrikeOut(font.strikeOut());
        if (font.weight() >= QFont::DemiBold)
            format.setFontWeight(QFont::Bold);
        else
            format.clearProperty(QTextFormat::FontWeight);
        ComposeFormat::setSize(format, font.pointSizeF(), sizes);
    });
}

void ComposeEditorController::setColor(const QColor& color)
{
    changeText([color](QTextCharFormat& format) { format.setForeground(color); });
}

// --- What the selection has

bool ComposeEditorController::isBold() const
{
    return allText(isBoldFormat);
}

bool ComposeEditorController::isItalic() const
{
    return allText([](const QTextCharFormat& format) { return format.fontItalic(); });
}

bool ComposeEditorController::isUnderlined() const
{
    return allText([](const QTextCharFormat& format) { return format.fontUnderline(); });
}

bool ComposeEditorController::isStruckOut() const
{
    return allText([](const QTextCharFormat& format) { return format.fontStrikeOut(); });
}

Qt::Alignment ComposeEditorController::alignment() const
{
    if (!textView)
        return Qt::AlignLeft;
    const QTextBlockFormat format = textView->textCursor().blockFormat();
    if (!format.hasProperty(QTextFormat::BlockAlignment))
        return Qt::AlignLeft;
    return format.alignment() & (Qt::AlignLeft | Qt::AlignHCenter | Qt::AlignRight);
}

bool ComposeEditorController::isList(QTextListFormat::Style style) const
{
    if (!textView)
        return false;
    const QTextCursor cursor = paragraphs();
    QTextBlock block = textView->document()->findBlock(cursor.selectionStart());
    for (; block.isValid() && block.position() <= cursor.selectionEnd(); block = block.next()) {
        if (!block.textList() || block.textList()->format().style() != style)
            return false;
    }
    return true;
}

// --- For the text view

void ComposeEditorController::detectLink()
{
    const QTextCursor cursor = textView->textCursor();
    if (!m_isRichText || cursor.hasSelection())
        return;
    const QTextBlock block = cursor.block();
    const QString before = block.text().first(cursor.positionInBlock());
    qsizetype start = before.size();
    while (start > 0 && !before[start - 1].isSpace())
        --start;
    QString word = before.sliced(start);
    while (!word.isEmpty() && u".,;:!?)]}'\"»”"_s.contains(word.back()))
        word.chop(1);
    while (!word.isEmpty() && u"([{'\"«“<"_s.contains(word.front())) {
        word.remove(0, 1);
        ++start;
    }
    const QString address = word.size() > longestAddress ? QString() : addressOf(word);
    if (address.isEmpty())
        return;
    const int first = block.position() + static_cast<int>(start);
    QTextCursor range = selectedText(textView->document(), first, first + static_cast<int>(word.size()));
    QTextCharFormat link;
    if (ComposeFormat::link(range.charFormat()).isEmpty() && ComposeFormat::setLink(link, address))
        range.mergeCharFormat(link);
}

void ComposeEditorController::pasteHTML(const QString& html)
{
    if (html.size() <= longestReadAtOnce)
        insertHTML(PastedHTML::harmless(html), textView->textCursor());
    else
        spawn(readAndInsert(html, textView->textCursor()), dropFailure);
}

Task<> ComposeEditorController::readAndInsert(QString html, QTextCursor place)
{
    const QPointer<ComposeEditorController> self(this);
    const std::shared_ptr<Wakeup> end = m_pastesEnd;
    ++m_pastes;
    const auto work = [html] { return PastedHTML::harmless(html); };
    const QString gated = co_await runOnWorker(work);
    if (!self)
        co_return;
    --m_pastes;
    end->notify();
    if (!textView || textView->isReadOnly())
        co_return;
    if (m_isRichText) {
        insertHTML(gated, place);
        co_return;
    }
    // The text has become a plain one meanwhile.
    place.insertText(PastedHTML::plainText(gated, m_sizes), QTextCharFormat());
}

Task<> ComposeEditorController::pastesEnded()
{
    const QPointer<ComposeEditorController> self(this);
    const std::shared_ptr<Wakeup> end = m_pastesEnd;
    while (self && m_pastes > 0)
        co_await end->wait(std::chrono::milliseconds(-1));
}

void ComposeEditorController::insertHTML(const QString& gated, QTextCursor place)
{
    const QTextDocumentFragment pasted = PastedHTML::fragment(gated, m_baseFont, m_sizes);
    if (!pasted.isEmpty())
        place.insertFragment(pasted);
}

} // namespace Larkhaven
