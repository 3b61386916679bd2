#include "ReaderViewFixture.h"
#include "views/style/AttachmentChip.h"

#include <QFile>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <QTextDocument>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

/// A message with a file.
QByteArray with(const QString& name, const QByteArray& content,
                const QByteArray& type = "application/octet-stream")
{
    return "From: Ann <ann@x.example>\r\nSubject: Files\r\nMIME-Version: 1.0\r\nContent-Type: "
           "multipart/mixed; "
           "boundary=b\r\n\r\n--b\r\n\r\nHere is " +
           name.toUtf8().toPercentEncoding() + "\r\n--b\r\nContent-Type: " + type +
           "\r\nContent-Transfer-Encoding: base64\r\nContent-Disposition: attachment; filename*=utf-8''" +
           name.toUtf8().toPercentEncoding() + "\r\n\r\n" + content.toBase64() + "\r\n--b--\r\n";
}

const QByteArray script("#!/bin/sh\necho\n");

class AttachmentsTest : public ReaderViewTest {
protected:
    AttachmentChip& chip() { return *mail->window->findChild<AttachmentChip*>(); }
    QMessageBox* question() { return visibleWindow<QMessageBox>(u"saveAlert"_s); }
    /// Clicks the chip and waits for the question.
    void ask()
    {
        mail->savePath = folder.filePath(u"saved"_s);
        QTest::mouseClick(&chip(), Qt::LeftButton);
        ASSERT_TRUE(waitUntil([this] { return question() && question()->isActiveWindow(); }));
    }
    QPushButton& button(const QString& text)
    {
        const auto buttons = question()->findChildren<QPushButton*>();
        for (QPushButton* const one : buttons) {
            if (one->text() == text)
                return *one;
        }
        throw std::runtime_error("no such button");
    }
    bool isSaved() const { return QFile::exists(mail->savePath); }

    QTemporaryDir folder;
};

TEST_F(AttachmentsTest, AsksBeforeAProgramIsSavedAndEnterCancels)
{
    open(with(u"update.sh"_s, script));
    ask();
    EXPECT_EQ(question()->text(), u"“update.sh” can run programs.");
    EXPECT_EQ(question()->defaultButton(), question()->button(QMessageBox::Cancel));
    takeScreenshot(*question(), u"attachment-question"_s);
    QTest::keyClick(question(), Qt::Key_Return);
    ASSERT_TRUE(waitUntil([this] { return !question(); }));
    settle();
    EXPECT_TRUE(mail->suggestedNames.isEmpty());
    EXPECT_FALSE(isSaved());
    ask();
    QTest::keyClick(question(), Qt::Key_Escape);
    ASSERT_TRUE(waitUntil([this] { return !question(); }));
    settle();
    EXPECT_TRUE(mail->suggestedNames.isEmpty());
}

TEST_F(AttachmentsTest, SavesAProgramThatTheUserWantsSoThatItDoesNotRun)
{
    open(with(u"update.sh"_s, script));
    const QFile::Permissions own = QFile::ReadOwner | QFile::WriteOwner | QFile::ReadUser | QFile::WriteUser;
    // Each save has its question, and a file that could run loses that.
    for (const bool isThere : {false, true}) {
        if (isThere) {
            ASSERT_TRUE(QFile::setPermissions(mail->savePath, own | QFile::ExeOwner | QFile::ExeOther));
        }
        mail->suggestedNames.clear();
        ask();
        QTest::mouseClick(&button(u"Save"_s), Qt::LeftButton);
        ASSERT_TRUE(waitUntil([this] { return isSaved() && !mail->suggestedNames.isEmpty(); }));
        ASSERT_TRUE(waitUntil([&] { return QFile::permissions(mail->savePath) == own; }));
        EXPECT_EQ(mail->suggestedNames, QStringList(u"update.sh"_s));
        QFile saved(mail->savePath);
        ASSERT_TRUE(saved.open(QIODevice::ReadOnly));
        EXPECT_EQ(saved.readAll(), script);
        EXPECT_FALSE(question());
    }
}

TEST_F(AttachmentsTest, AsksOnceHoweverOftenTheChipIsPressed)
{
    open(with(u"update.sh"_s, script));
    mail->savePath = folder.filePath(u"saved"_s);
    QTest::mouseClick(&chip(), Qt::LeftButton);
    QTest::mouseClick(&chip(), Qt::LeftButton);
    ASSERT_TRUE(waitUntil([this] { return question() && question()->isActiveWindow(); }));
    // What presses it by itself gets no second one either.
    chip().click();
    settle();
    EXPECT_EQ(mail->window->findChildren<QMessageBox*>(u"saveAlert"_s).size(), 1);
    QTest::mouseClick(&button(u"Save"_s), Qt::LeftButton);
    ASSERT_TRUE(waitUntil([this] { return isSaved(); }));
    settle();
    EXPECT_FALSE(question());
    EXPECT_EQ(mail->suggestedNames.size(), 1);
}

TEST_F(AttachmentsTest, TheQuestionGoesWithItsMessage)
{
    open(with(u"update.sh"_s, script));
    mail->fixture.provider().setRaw(u"2"_s, with(u"other.sh"_s, script));
    ask();
    mail->read(u"2"_s);
    ASSERT_TRUE(waitUntil([this] { return !question(); }));
    settle();
    EXPECT_TRUE(mail->suggestedNames.isEmpty());
    // The other message has its own.
    ask();
    EXPECT_EQ(question()->text(), u"“other.sh” can run programs.");
    mail->model().setPath({});
    ASSERT_TRUE(waitUntil([this] { return !question(); }));
    settle();
    EXPECT_TRUE(mail->suggestedNames.isEmpty());
    EXPECT_FALSE(isSaved());
}

TEST_F(AttachmentsTest, TheQuestionGoesWithItsAccount)
{
    open(with(u"update.sh"_s, script));
    ask();
    mail->model().removeAccount(accountID());
    ASSERT_TRUE(waitUntil([this] { return !question(); }));
    settle();
    EXPECT_TRUE(mail->suggestedNames.isEmpty());
    EXPECT_FALSE(isSaved());
}

TEST_F(AttachmentsTest, TheQuestionGoesWithItsWindow)
{
    open(with(u"update.sh"_s, script));
    ask();
    mail->window.reset();
    settle();
    EXPECT_FALSE(question());
    EXPECT_TRUE(mail->suggestedNames.isEmpty());
    EXPECT_FALSE(isSaved());
}

TEST_F(AttachmentsTest, SavesADocumentWithoutAQuestion)
{
    open(with(u"report.pdf"_s, "%PDF-1.4\n", "application/pdf"));
    EXPECT_EQ(chip().toolTip(), u"Save report.pdf");
    EXPECT_TRUE(chip().accessibleDescription().isEmpty());
    mail->savePath = folder.filePath(u"saved"_s);
    QTest::mouseClick(&chip(), Qt::LeftButton);
    ASSERT_TRUE(waitUntil([this] { return isSaved(); }));
    EXPECT_FALSE(question());
}

TEST_F(AttachmentsTest, SaysWhatAFileIsWhereItPretends)
{
    open(with(u"<b>invoice</b>.pdf"_s,
              QByteArray("\x7f"
                         "ELF\2\1\1\0\0\0\0\0\0\0\0\0\3\0\x3e\0",
                         20),
              "application/pdf"));
    const QString warning =
        u"This file is not what it says: declared as “PDF document”, its content is “executable”."_s;
    EXPECT_EQ(chip().accessibleDescription(), warning);
    QTextDocument toolTip;
    toolTip.setHtml(chip().toolTip());
    EXPECT_EQ(toolTip.toPlainText().replace(QChar(0xa0), u' '),
              QString(u"Save <b>invoice<_b>.pdf\n"_s + warning));
    ask();
    EXPECT_TRUE(question()->informativeText().startsWith(warning));
    takeScreenshot(*question(), u"attachment-pretends"_s);
    takeScreenshot(*mail->window, u"attachment-chip"_s);
}

TEST_F(AttachmentsTest, ShowsTheEndingHoweverItIsHidden)
{
    const QString blanks(80, u' ');
    const std::vector<std::pair<QString, QString>> names{
        {u"invoice.pdf"_s + blanks + u".exe"_s, u"invoice.pdf .exe"_s},
        {u"invoice\u202efdp.exe"_s, u"invoicefdp.exe"_s},
        {u"invoice.pdf"_s + QString(80, QChar(0x2800)) + u".exe"_s, u"invoice.pdf .exe"_s},
        {u"invoice.pdf\u2028\u3164\u2060.exe . "_s, u"invoice.pdf .exe"_s},
    };
    for (const auto& [name, shown] : names) {
        open(with(name, "x"));
        EXPECT_EQ(chip().text(), QString(shown + u" (1 byte)"_s));
        EXPECT_EQ(chip().accessibleName(), QString(shown + u" (1 byte)"_s));
        EXPECT_EQ(chip().toolTip(), QString(u"Save "_s + shown));
        ask();
        EXPECT_EQ(question()->text(), u"“%1” can run programs."_s.arg(shown));
        QTest::mouseClick(&button(u"Save"_s), Qt::LeftButton);
        ASSERT_TRUE(waitUntil([this] { return isSaved(); }));
        EXPECT_EQ(mail->suggestedNames, QStringList(shown));
        QFile::remove(mail->savePath);
    }
}

TEST_F(AttachmentsTest, BoundsTheNameInItsQuestion)
{
    open(with(QString(190, u'W') + u".exe"_s, "x"));
    ask();
    EXPECT_TRUE(question()->text().contains(u"….exe”"_s) ||
                question()->text().endsWith(u"W.exe” can run programs."_s));
    EXPECT_LT(question()->text().size(), 60);
    takeScreenshot(*question(), u"attachment-question-long"_s);
    takeScreenshot(*mail->window, u"attachment-chip-long"_s);
}

} // namespace

TEST(AttachmentChip, CutsANameBeforeItsEnding)
{
    const QFontMetrics metrics(Style::shared().font(Style::Type::body));
    const auto fitting = [&](const QString& name, int width) {
        QString shown = AttachmentChip::fitting(name, metrics, width);
        return shown.remove(QChar(0x2068)).remove(QChar(0x2069));
    };
    EXPECT_EQ(fitting(u"a.pdf"_s, 500), u"a.pdf");
    for (const QString& stem :
         {QString(200, u'x'), u"invoice.pdf "_s.repeated(20), QString(200, QChar(0x5d0))}) {
        const QString shown = fitting(stem + u".exe"_s, 120);
        EXPECT_TRUE(shown.endsWith(u".exe"_s)) << shown.toStdString();
        EXPECT_TRUE(shown.contains(u'…')) << shown.toStdString();
        EXPECT_LE(metrics.horizontalAdvance(shown), 121) << shown.toStdString();
    }
    EXPECT_TRUE(fitting(QString(200, u'x') + u".exe"_s, 0).endsWith(u".exe"_s)) << "it is never cut";
    // The stem has its own direction, so that letters from right to left don't turn the ending.
    const QString hebrew = AttachmentChip::fitting(u"\u05d0\u05d1.exe"_s, metrics, 500);
    EXPECT_EQ(hebrew, u"\u2068\u05d0\u05d1\u2069.exe");
}

} // namespace Larkhaven
