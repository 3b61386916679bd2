#include "views/compose/ComposeEditor.h"

#include "ComposeEditorFixture.h"
#include "app/platform/Spelling.h"
#include "model/DraftGate.h"
#include "support/QtPrinters.h"
#include "views/compose/ComposeEditorController.h"
#include "views/compose/FormatBar.h"
#include "views/style/FlatButton.h"

#include <QApplication>
#include <QColorDialog>
#include <QDropEvent>
#include <QFontDialog>
#include <QMimeData>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QTextList>

#include <array>
#include <gtest/gtest.h>
#include <sys/inotify.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

// --- What it begins with

TEST_F(ComposeEditorTest, BeginsWithTheTextAndTheSelectionAtTheTop)
{
    open(u"One\nTwo"_s, false);
    EXPECT_EQ(controller.text(), u"One\nTwo"_s);
    EXPECT_EQ(controller.html(), std::nullopt);
    EXPECT_EQ(view->textCursor().position(), 0);
    EXPECT_FALSE(view->document()->isUndoAvailable());
}

TEST_F(ComposeEditorTest, BeginsWithTheHTMLOfARichDraft)
{
    open(u"ignored"_s, true, u"<div>a <b>b</b></div>"_s);
    EXPECT_EQ(controller.text(), u"a b"_s);
    EXPECT_EQ(body(), u"<div>a <b>b</b></div>"_s);
    EXPECT_EQ(view->textCursor().position(), 0);
    EXPECT_FALSE(view->document()->isUndoAvailable());
}

TEST_F(ComposeEditorTest, ItsTextStandsInByTwelveAndTenPoints)
{
    open(u"a"_s);
    const QTextFrameFormat frame = view->document()->rootFrame()->frameFormat();
    EXPECT_EQ(frame.leftMargin(), 12);
    EXPECT_EQ(frame.topMargin(), 10);
}

TEST_F(ComposeEditorTest, AnEmptyTextHasNoHTML)
{
    open({});
    EXPECT_EQ(controller.html(), std::nullopt);
}

// --- Commands

TEST_F(ComposeEditorTest, BoldAppliesToAllOfTheSelectionInOneStep)
{
    open(u"abc def"_s);
    select(0, 3);
    expectOneStep([this] { controller.toggleBold(); }, u"<div><b>abc</b> def</div>"_s);
    select(0, 7);
    EXPECT_FALSE(controller.isBold());
    expectOneStep([this] { controller.toggleBold(); }, u"<div><b>abc def</b></div>"_s);
    EXPECT_TRUE(controller.isBold());
    expectOneStep([this] { controller.toggleBold(); }, u"<div>abc def</div>"_s);
}

TEST_F(ComposeEditorTest, ItalicUnderlineAndStrikethroughToggle)
{
    open(u"abc"_s);
    select(0, 3);
    expectOneStep([this] { controller.toggleItalic(); }, u"<div><i>abc</i></div>"_s);
    expectOneStep([this] { controller.toggleUnderline(); }, u"<div><i><u>abc</u></i></div>"_s);
    expectOneStep([this] { controller.toggleStrikethrough(); }, u"<div><i><u><s>abc</s></u></i></div>"_s);
    expectOneStep([this] { controller.toggleItalic(); }, u"<div><u><s>abc</s></u></div>"_s);
    expectOneStep([this] { controller.toggleUnderline(); }, u"<div><s>abc</s></div>"_s);
    expectOneStep([this] { controller.toggleStrikethrough(); }, u"<div>abc</div>"_s);
}

TEST_F(ComposeEditorTest, WithoutASelectionACommandChangesHowTextIsTypedOn)
{
    open(u"a"_s);
    view->moveCursor(QTextCursor::End);
    controller.toggleBold();
    EXPECT_TRUE(controller.isBold());
    QTest::keyClicks(view, u"b"_s);
    controller.toggleBold();
    QTest::keyClicks(view, u"c"_s);
    EXPECT_EQ(body(), u"<div>a<b>b</b>c</div>"_s);
}

TEST_F(ComposeEditorTest, EachRunKeepsItsOwnFontAndOnlyItsSizeChanges)
{
    open({}, true, u"<div>a<b>b</b><span style=\"font-size:20px\">c</span></div>"_s);
    select(0, 3);
    expectOneStep(
        [this] { controller.makeBigger(); },
        u"<div><span style=\"font-size:14px\">a<b>b</b></span><span style=\"font-size:21px\">c</span></div>"_s);
    expectOneStep([this] { controller.makeDefaultSize(); }, u"<div>a<b>b</b>c</div>"_s);
    expectOneStep([this] { controller.makeSmaller(); },
                  u"<div><span style=\"font-size:12px\">a<b>b</b>c</span></div>"_s);
}

TEST_F(ComposeEditorTest, TheSizeStaysBetweenEightAndSeventyTwo)
{
    open(u"a"_s);
    select(0, 1);
    for (int step = 0; step < 10; ++step)
        controller.makeSmaller();
    EXPECT_EQ(body(), u"<div><span style=\"font-size:8px\">a</span></div>"_s);
    for (int step = 0; step < 70; ++step)
        controller.makeBigger();
    EXPECT_EQ(body(), u"<div><span style=\"font-size:72px\">a</span></div>"_s);
}

TEST_F(ComposeEditorTest, AlignmentAppliesToWholeParagraphs)
{
    open(u"one\ntwo\nthree"_s);
    select(1, 5);
    expectOneStep([this] { controller.align(Qt::AlignHCenter); },
                  u"<div style=\"text-align:center\">one</div><div style=\"text-align:center\">two</div>"
                  "<div>three</div>"_s);
    EXPECT_EQ(controller.alignment(), Qt::AlignHCenter);
    expectOneStep([this] { controller.align(Qt::AlignRight); },
                  u"<div style=\"text-align:right\">one</div><div style=\"text-align:right\">two</div>"
                  "<div>three</div>"_s);
    expectOneStep([this] { controller.align(Qt::AlignLeft); },
                  u"<div>one</div><div>two</div><div>three</div>"_s);
}

TEST_F(ComposeEditorTest, ListsToggleOnTheSelectedParagraphs)
{
    open(u"one\ntwo\nthree"_s);
    select(0, 5);
    expectOneStep([this] { controller.toggleList(QTextListFormat::ListDisc); },
                  u"<ul><li>one</li><li>two</li></ul><div>three</div>"_s);
    EXPECT_TRUE(controller.isList(QTextListFormat::ListDisc));
    EXPECT_EQ(controller.text(), u"\t•\tone\n\t•\ttwo\nthree"_s);
    expectOneStep([this] { controller.toggleList(QTextListFormat::ListDecimal); },
                  u"<ol><li>one</li><li>two</li></ol><div>three</div>"_s);
    EXPECT_EQ(controller.text(), u"\t1.\tone\n\t2.\ttwo\nthree"_s);
    expectOneStep([this] { controller.toggleList(QTextListFormat::ListDecimal); },
                  u"<div>one</div><div>two</div><div>three</div>"_s);
    EXPECT_EQ(view->document()->begin().blockFormat().indent(), 0);
}

TEST_F(ComposeEditorTest, ReturnInAnEmptyItemEndsTheList)
{
    open(u"one"_s);
    controller.toggleList(QTextListFormat::ListDisc);
    view->moveCursor(QTextCursor::End);
    QTest::keyClick(view, Qt::Key_Return);
    QTest::keyClicks(view, u"two"_s);
    QTest::keyClick(view, Qt::Key_Return);
    QTest::keyClick(view, Qt::Key_Return);
    QTest::keyClicks(view, u"three"_s);
    EXPECT_EQ(body(), u"<ul><li>one</li><li>two</li></ul><div>three</div>"_s);
}

TEST_F(ComposeEditorTest, ColorsAndFontsApplyInOneStep)
{
    open(u"abc"_s);
    select(0, 1);
    expectOneStep([this] { controller.setColor(QColor(u"#cc0000"_s)); },
                  u"<div><span style=\"color:#cc0000\">a</span>bc</div>"_s);
    select(1, 2);
    QFont font;
    font.setFamilies({u"Noto Serif"_s});
    font.setPointSizeF(20);
    font.setBold(true);
    expectOneStep([&] { controller.setFont(font); },
                  u"<div><span style=\"color:#cc0000\">a</span><span style=\"font-family:'Noto Serif';"
                  "font-size:20px\"><b>b</b></span>c</div>"_s);
}

TEST_F(ComposeEditorTest, PanelsChangeTheSelection)
{
    open(u"abc"_s);
    select(0, 3);
    controller.showColors();
    auto* const colors = editor->findChild<QColorDialog*>();
    ASSERT_TRUE(colors);
    colors->setCurrentColor(QColor(u"#0000cc"_s));
    colors->accept();
    EXPECT_EQ(body(), u"<div><span style=\"color:#0000cc\">abc</span></div>"_s);
    controller.showFonts();
    auto* const fonts = editor->findChild<QFontDialog*>();
    ASSERT_TRUE(fonts);
    QFont font = fonts->currentFont();
    EXPECT_EQ(font.pointSize(), 13);
    font.setItalic(true);
    fonts->setCurrentFont(font);
    fonts->accept();
    EXPECT_TRUE(body().contains("<i>"_L1)) << body().toStdString();
}

TEST_F(ComposeEditorTest, ControlWithBIAndUFormats)
{
    open(u"abc"_s);
    select(0, 3);
    QTest::keyClick(view, Qt::Key_B, Qt::ControlModifier);
    EXPECT_EQ(body(), u"<div><b>abc</b></div>"_s);
    QTest::keyClick(view, Qt::Key_B, Qt::ControlModifier);
    QTest::keyClick(view, Qt::Key_I, Qt::ControlModifier);
    EXPECT_EQ(body(), u"<div><i>abc</i></div>"_s);
    QTest::keyClick(view, Qt::Key_I, Qt::ControlModifier);
    QTest::keyClick(view, Qt::Key_U, Qt::ControlModifier);
    EXPECT_EQ(body(), u"<div><u>abc</u></div>"_s);
}

TEST_F(ComposeEditorTest, PlainTextTakesNoFormatting)
{
    open(u"abc"_s, false);
    select(0, 3);
    controller.toggleBold();
    controller.toggleList(QTextListFormat::ListDisc);
    controller.align(Qt::AlignRight);
    QTest::keyClick(view, Qt::Key_B, Qt::ControlModifier);
    EXPECT_EQ(controller.text(), u"abc"_s);
    EXPECT_FALSE(view->document()->isUndoAvailable());
}

TEST_F(ComposeEditorTest, TheBarHasItsCommandsInTheirOrder)
{
    open(u"abc"_s);
    const FormatBar bar(controller);
    QStringList labels;
    QStringList helps;
    for (const FlatButton* const button : bar.findChildren<FlatButton*>()) {
        labels.append(button->accessibleName());
        helps.append(button->toolTip());
    }
    EXPECT_EQ(labels,
              QStringList({u"Fonts"_s, u"Smaller"_s, u"Default Size"_s, u"Bigger"_s, u"Colors"_s, u"Bold"_s,
                           u"Italic"_s, u"Underline"_s, u"Strikethrough"_s, u"Align Left"_s, u"Center"_s,
                           u"Align Right"_s, u"Bulleted List"_s, u"Numbered List"_s}));
    EXPECT_EQ(helps, QStringList({u"Show Fonts (Ctrl+T)"_s, u"Smaller"_s, u"Default Size (100%)"_s,
                                  u"Bigger"_s, u"Show Colors"_s, u"Bold (Ctrl+B)"_s, u"Italic (Ctrl+I)"_s,
                                  u"Underline (Ctrl+U)"_s, u"Strikethrough"_s, u"Align Left"_s, u"Center"_s,
                                  u"Align Right"_s, u"Bulleted List"_s, u"Numbered List"_s}));
}

TEST_F(ComposeEditorTest, TheBarTellsWhatTheSelectionHas)
{
    open({}, true, u"<div>a<b>b</b></div><ul><li>c</li></ul>"_s);
    const FormatBar bar(controller);
    const auto isOn = [&bar](const char* name) {
        return bar.findChild<FlatButton*>(QString::fromLatin1(name))->isChecked();
    };
    select(1, 2);
    EXPECT_TRUE(isOn("bold"));
    EXPECT_FALSE(isOn("bulletedList"));
    select(0, 2);
    EXPECT_FALSE(isOn("bold"));
    EXPECT_TRUE(isOn("alignLeft"));
    select(3, 4);
    EXPECT_TRUE(isOn("bulletedList"));
    bar.findChild<FlatButton*>(u"bulletedList"_s)->click();
    EXPECT_FALSE(isOn("bulletedList"));
}

// --- Plain and rich

TEST_F(ComposeEditorTest, SwitchingToPlainTextStripsAllAttributes)
{
    open({}, true, u"<div>a <b>b</b></div><ul><li>c</li></ul><blockquote><div>d</div></blockquote>"_s);
    controller.setRichText(false);
    EXPECT_FALSE(controller.isRichText());
    EXPECT_EQ(controller.html(), std::nullopt);
    EXPECT_EQ(controller.text(), u"a b\n\t•\tc\n> d"_s);
    controller.setRichText(true);
    EXPECT_EQ(body(), u"<div>a b</div><div><span style=\"white-space:pre\">\t</span>•"
                      "<span style=\"white-space:pre\">\t</span>c</div><div>&gt; d</div>"_s);
}

TEST_F(ComposeEditorTest, UndoingASwitchBringsBackTextAndFormatting)
{
    open({}, true, u"<div>a <b>b</b></div><ol><li>c</li></ol>"_s);
    const QString before = body();
    view->moveCursor(QTextCursor::Start);
    QTest::keyClicks(view, u"x"_s);
    controller.setRichText(false);
    QTest::keyClicks(view, u"y"_s);
    const QSignalSpy switches(&controller, &ComposeEditorController::richTextChanged);
    view->undo();
    EXPECT_FALSE(controller.isRichText());
    view->undo();
    EXPECT_TRUE(controller.isRichText());
    EXPECT_EQ(switches.count(), 1);
    view->undo();
    EXPECT_EQ(body(), before);
    while (view->document()->isRedoAvailable())
        view->redo();
    EXPECT_FALSE(controller.isRichText());
    EXPECT_TRUE(controller.text().contains(u'y'));
    EXPECT_TRUE(controller.text().endsWith("\t1.\tc"_L1));
}

TEST_F(ComposeEditorTest, SwitchingToRichTextAndBackKeepsThePlainText)
{
    open(u"One\n\nTwo  three"_s, false);
    controller.setRichText(true);
    EXPECT_EQ(body(), u"<div>One</div><div><br></div><div>Two &nbsp;three</div>"_s);
    controller.setRichText(false);
    EXPECT_EQ(controller.text(), u"One\n\nTwo  three"_s);
    view->undo();
    view->undo();
    EXPECT_EQ(controller.text(), u"One\n\nTwo  three"_s);
    EXPECT_FALSE(controller.isRichText());
}

// --- Paste and drop

TEST_F(ComposeEditorTest, PastedHTMLKeepsTextFormattingAndLinks)
{
    open(u"x"_s);
    view->moveCursor(QTextCursor::End);
    paste(u"<b>a</b> <i>b</i> <a href='https://a.example/'>c</a>"_s, u"a b c"_s);
    EXPECT_EQ(body(), u"<div>x<b>a</b> <i>b</i> <a href=\"https://a.example/\">c</a></div>"_s);
}

TEST_F(ComposeEditorTest, PastedHTMLBringsNoImagesScriptsOrResources)
{
    open({});
    paste(u"a<img src='https://t.example/a.png'><img src='file:///etc/passwd'><img "
          u"src='data:image/png;base64,AA=='>"
          "<script>x()</script><style>@import 'https://t.example/b.css';</style>"
          "<span style='background-image:url(https://t.example/c.png)'>b</span>"
          "<a href='javascript:x()'>c</a>"_s);
    EXPECT_EQ(body(), u"<div>abc</div>"_s);
}

TEST_F(ComposeEditorTest, PastedHTMLKeepsTheWordsOfItsImages)
{
    open({});
    paste(u"the <img src='cid:1' alt='our logo'> here"_s);
    EXPECT_EQ(body(), u"<div>the our logo here</div>"_s);
}

TEST_F(ComposeEditorTest, LongPastedHTMLComesInAtThePlaceWhereItWasPasted)
{
    open(u"ab"_s);
    select(1, 1);
    paste(u"<p>A <b>word</b>.</p>"_s.repeated(5'000));
    EXPECT_EQ(controller.text(), u"ab"_s) << "it is read on a worker";
    select(2, 2);
    QTest::keyClicks(view, u"c"_s);
    ASSERT_TRUE(waitUntil([this] { return controller.text().size() > 100; }));
    EXPECT_TRUE(controller.text().startsWith(u"aA word.\n"_s)) << controller.text().left(20).toStdString();
    EXPECT_TRUE(controller.text().contains(u"\n[The rest of what was pasted is left out.]"_s));
    EXPECT_TRUE(controller.text().endsWith(u"bc"_s));
}

TEST_F(ComposeEditorTest, LongPastedTextComesInPiecesAndIsOneStep)
{
    open(u"ab"_s, false);
    select(1, 1);
    const QString line = u"a line of words\n"_s;
    const qsizetype lines = 2 * ComposeTextView::longestPiece / line.size();
    paste({}, line.repeated(lines));
    const qsizetype first = view->toPlainText().size();
    EXPECT_GT(first, ComposeTextView::longestPiece / 2);
    EXPECT_LE(first, ComposeTextView::longestPiece + 2);
    ASSERT_TRUE(waitUntil([&] { return view->toPlainText().size() > line.size() * lines; }));
    EXPECT_EQ(view->toPlainText(), u'a' + line.repeated(lines) + u'b');
    view->undo();
    EXPECT_EQ(view->toPlainText(), u"ab"_s);
}

TEST_F(ComposeEditorTest, WhatIsStillToComeOfAPasteIsPartOfTheText)
{
    open({}, false);
    const QString text = QString(2 * ComposeTextView::longestPiece, u' ') + u"end"_s;
    paste({}, text);
    EXPECT_LT(view->toPlainText().size(), text.size());
    EXPECT_EQ(controller.text().remove(u'\n'), text);
}

TEST_F(ComposeEditorTest, APasteOfALotIsCutAndSaysSo)
{
    open({}, false);
    paste({}, u"word\n"_s.repeated(200'000));
    EXPECT_TRUE(controller.text().endsWith(u"\n[The rest of what was pasted is left out.]"_s));
    EXPECT_LE(controller.text().size(), DraftGate::mostCharacters + 100);
}

TEST_F(ComposeEditorTest, PastedGreysAndGroundsGiveWayToOurs)
{
    open({});
    paste(u"<span style='color:#000;background-color:#fff'>a</span><span style='color:#c00000'>b</span>"_s);
    EXPECT_EQ(body(), u"<div>a<span style=\"color:#c00000\">b</span></div>"_s);
}

TEST_F(ComposeEditorTest, PlainModeTakesOnlyTheTextOfTheClipboard)
{
    open({}, false);
    paste(u"<b>a</b>"_s, u"a\nb"_s);
    EXPECT_EQ(controller.text(), u"a\nb"_s);
    controller.setRichText(true);
    EXPECT_EQ(body(), u"<div>a</div><div>b</div>"_s);
}

TEST_F(ComposeEditorTest, AnImageOnTheClipboardIsNotTaken)
{
    open(u"a"_s);
    auto* const data = new QMimeData;
    data->setImageData(QImage(4, 4, QImage::Format_RGB32));
    QApplication::clipboard()->setMimeData(data);
    view->paste();
    EXPECT_EQ(body(), u"<div>a</div>"_s);
}

TEST_F(ComposeEditorTest, WhatIsCopiedIsOurOwnHTMLAndText)
{
    open({}, true, u"<ul><li>a <b>b</b></li><li>c</li></ul>"_s);
    view->selectAll();
    view->copy();
    const QMimeData* const data = QApplication::clipboard()->mimeData();
    EXPECT_EQ(data->text(), u"\t•\ta b\n\t•\tc"_s);
    EXPECT_TRUE(data->html().contains("<ul><li>a <b>b</b></li>"_L1)) << data->html().toStdString();
    EXPECT_FALSE(data->html().contains("-qt-"_L1));
}

/// Counts how often files of a folder are opened or looked at.
class FileWatch {
public:
    explicit FileWatch(const QString& folder)
        : m_watch(inotify_init1(IN_NONBLOCK))
    {
        EXPECT_GE(inotify_add_watch(m_watch, folder.toUtf8().constData(), IN_OPEN | IN_ACCESS), 0);
    }
    ~FileWatch() { close(m_watch); }
    FileWatch(const FileWatch&) = delete;
    FileWatch& operator=(const FileWatch&) = delete;

    bool hasSeen() const
    {
        std::array<char, 4096> events{};
        return read(m_watch, events.data(), events.size()) > 0;
    }

private:
    int m_watch;
};

TEST_F(ComposeEditorTest, LoadsNothingWhateverAsks)
{
    const QTemporaryDir folder;
    const QString image = folder.filePath(u"a.png"_s);
    QImage picture(7, 7, QImage::Format_RGB32);
    picture.fill(Qt::red);
    ASSERT_TRUE(picture.save(image));
    QFile sheet(folder.filePath(u"a.css"_s));
    ASSERT_TRUE(sheet.open(QIODevice::WriteOnly));
    sheet.write("div{color:red}");
    sheet.close();
    const FileWatch watch(folder.path());
    open({});
    QTextDocument& document = *view->document();
    const QStringList names{image,
                            u"file://"_s + image,
                            sheet.fileName(),
                            u"file://"_s + sheet.fileName(),
                            u":/qt-project.org/styles/commonstyle/images/file-16.png"_s,
                            u"qrc:/qt-project.org/styles/commonstyle/images/file-16.png"_s,
                            u"http://127.0.0.1:9/x.png"_s,
                            u"data:image/png;base64,iVBORw0KGgo="_s};
    for (const QString& name : names) {
        for (const int type : {QTextDocument::HtmlResource, QTextDocument::ImageResource,
                               QTextDocument::StyleSheetResource, QTextDocument::MarkdownResource}) {
            const QVariant value = document.resource(type, QUrl(name));
            // What is no valid value has Qt look for itself.
            ASSERT_TRUE(value.isValid()) << name.toStdString();
            if (type == QTextDocument::ImageResource)
                EXPECT_EQ(value.value<QImage>().size(), QSize(1, 1)) << name.toStdString();
            else
                EXPECT_EQ(value.toString(), QString()) << name.toStdString();
        }
        // Even an image that got into the text is not looked for.
        view->textCursor().insertImage(name);
        paste(u"<link rel=stylesheet href='%1'><style>@import url(%1);</style><img src='%1'><div "
              u"style='background:"
              "url(%1)'>x</div><ul style='list-style-image:url(%1)'><li>y</ul>"_s.arg(name));
    }
    view->grab();
    EXPECT_FALSE(watch.hasSeen());
    // The watch does see.
    EXPECT_FALSE(QImage(image).isNull());
    EXPECT_TRUE(watch.hasSeen());
}

TEST_F(ComposeEditorTest, DroppedFilesGoToTheirHandlerAndOtherDropsIntoTheText)
{
    open({});
    QList<QUrl> dropped;
    controller.onDropFiles = [&dropped](const QList<QUrl>& files) { dropped = files; };
    const auto drop = [this](const QMimeData& data) {
        QDragEnterEvent enter({20, 20}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(view->viewport(), &enter);
        EXPECT_TRUE(enter.isAccepted());
        QDropEvent event({20, 20}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(view->viewport(), &event);
    };
    QMimeData files;
    files.setUrls({QUrl(u"file:///tmp/a.txt"_s), QUrl(u"https://a.example"_s)});
    drop(files);
    EXPECT_EQ(dropped, QList<QUrl>({QUrl(u"file:///tmp/a.txt"_s)}));
    EXPECT_EQ(controller.text(), u""_s);
    QMimeData text;
    text.setText(u"words"_s);
    drop(text);
    EXPECT_EQ(controller.text(), u"words"_s);
}

// --- Links

TEST_F(ComposeEditorTest, AddressesBecomeLinksAsTheyAreTyped)
{
    open({});
    QTest::keyClicks(view, u"See https://a.example/b?c=1, www.d.example and mia@example.org. "_s);
    EXPECT_EQ(body(), u"<div>See <a href=\"https://a.example/b?c=1\">https://a.example/b?c=1</a>, "
                      "<a href=\"https://www.d.example\">www.d.example</a> and "
                      "<a href=\"mailto:mia@example.org\">mia@example.org</a>.&nbsp;</div>"_s);
}

TEST_F(ComposeEditorTest, TextTypedBehindALinkIsNoPartOfIt)
{
    open({}, true, u"<a href='https://a.example/'>here</a>"_s);
    view->moveCursor(QTextCursor::End);
    QTest::keyClicks(view, u"x"_s);
    EXPECT_EQ(body(), u"<div><a href=\"https://a.example/\">here</a>x</div>"_s);
    view->moveCursor(QTextCursor::Start);
    view->moveCursor(QTextCursor::NextCharacter);
    QTest::keyClicks(view, u"y"_s);
    EXPECT_EQ(body(), u"<div><a href=\"https://a.example/\">hyere</a>x</div>"_s);
}

TEST_F(ComposeEditorTest, PlainTextDetectsNoLinks)
{
    open({}, false);
    QTest::keyClicks(view, u"https://a.example "_s);
    controller.setRichText(true);
    EXPECT_EQ(body(), u"<div>https://a.example&nbsp;</div>"_s);
}

} // namespace
} // namespace Larkhaven
