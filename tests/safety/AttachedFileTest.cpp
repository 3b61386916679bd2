#include "safety/AttachedFile.h"

#include "support/QtPrinters.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

/// The first bytes of files, and what else is looked for in them.
namespace Bytes {
const QByteArray none;
const QByteArray text("Name,Number\nAnn,1\n");
const QByteArray pdf("%PDF-1.7\n%\xe2\xe3\xcf\xd3\n");
const QByteArray png("\x89PNG\r\n\x1a\n\0\0\0\rIHDR", 16);
const QByteArray jpeg("\xff\xd8\xff\xe0\0\x10JFIF\0", 11);
const QByteArray elf("\x7f"
                     "ELF\2\1\1\0\0\0\0\0\0\0\0\0\3\0\x3e\0",
                     20);
const QByteArray exe = QByteArray("MZ\x90\0\3\0\0\0", 8) + QByteArray(100, '\0');
const QByteArray macho("\xcf\xfa\xed\xfe\7\0\0\1", 8);
const QByteArray script("#!/bin/sh\nrm -r ~\n");
const QByteArray html("<!DOCTYPE html><html><script>1</script>");
const QByteArray svg("<svg xmlns=\"http://www.w3.org/2000/svg\"><script/></svg>");
const QByteArray xml("<?xml version=\"1.0\"?><invoice/>");
const QByteArray desktop("[Desktop Entry]\nType=Application\nExec=sh\n");
const QByteArray zip = QByteArray("PK\3\4\24\0\6\0\x08\0\0\0", 12) + "word/document.xml";
const QByteArray macros =
    QByteArray("PK\3\4\24\0\6\0\x08\0\0\0", 12) + "word/document.xml word/vbaProject.bin";
const QByteArray ole = QByteArray::fromHex("d0cf11e0a1b11ae1") + QByteArray(600, '\0');
const QByteArray oldMacros =
    ole + QByteArray("_\0V\0B\0A\0_\0P\0R\0O\0J\0E\0C\0T\0", 24) + QByteArray(100, '\0');
const QByteArray iso = QByteArray(32'768, '\0') + "\1CD001\1";
const QByteArray deb("!<arch>\ndebian-binary   1700000000");
const QByteArray mp4("\0\0\0\x18"
                     "ftypisom\0\0\0\0",
                     16);
const QByteArray rtf("{\\rtf1\\ansi}");
const QByteArray gzip = QByteArray::fromHex("1f8b0800000000000003");
} // namespace Bytes

/// What a file is shown as, whether it is warned of (by words of the warning), and whether it is asked about.
struct Row {
    const char* name;
    const char* declared;
    QByteArray bytes;
    const char* type;
    const char* warning;
    bool isAsked;
};

const char* const word = "application/vnd.openxmlformats-officedocument.wordprocessingml.document";
const char* const sheet = "application/vnd.openxmlformats-officedocument.spreadsheetml.sheet";
const char* const binary = "application/octet-stream";

const std::vector<Row>& rows()
{
    static const std::vector<Row> rows{
        // Honest files.
        {"a.pdf", "application/pdf", Bytes::pdf, "application/pdf", "", false},
        {"a.PDF", "application/x-pdf", Bytes::pdf, "application/pdf", "", false},
        {"a.pdf", binary, Bytes::pdf, "application/pdf", "", false},
        {"a.pdf", "application/x-made-up", Bytes::pdf, "application/pdf", "", false},
        {"a.pdf", "", Bytes::pdf, "application/pdf", "", false},
        {"a.pdf", "application/pdf", Bytes::none, "application/pdf", "", false},
        {"a.pdf", "application/pdf", "not really", "application/pdf", "", false},
        {"attachment-1", "application/pdf", Bytes::pdf, "application/pdf", "", false},
        {"attachment-1", binary, Bytes::pdf, "application/pdf", "", false},
        {"a.csv", "text/plain", Bytes::text, "text/csv", "", false},
        {"a.csv", "application/vnd.ms-excel", Bytes::text, "text/csv", "", false},
        {"a.csv", "application/csv", Bytes::text, "text/csv", "", false},
        {"a.log", "text/plain", Bytes::text, "text/x-log", "", false},
        {"a.md", "text/plain", "# Title", "text/markdown", "", false},
        {"a.tex", "text/plain", "% a comment", "text/x-tex", "", false},
        {"a.txt", "text/plain", Bytes::html, "text/plain", "", false},
        {"a.txt", "text/plain", "MZ is where it begins", "text/plain", "", false},
        {"a.txt", "text/plain", "From ann@x.example Mon", "text/plain", "", false},
        {"a.json", "application/json", "{\"a\": 1}", "application/json", "", false},
        {"a.xml", "text/xml", Bytes::xml, "application/xml", "", false},
        {"a.docx", word, Bytes::zip, word, "", false},
        {"a.docx", "application/zip", Bytes::zip, word, "", false},
        {"a.docx", "application/msword", Bytes::zip, word, "", false},
        {"a.docx", binary, Bytes::zip, word, "", false},
        {"a.xlsx", "application/vnd.ms-excel", Bytes::zip, sheet, "", false},
        {"a.odt", "application/vnd.oasis.opendocument.text", Bytes::zip,
         "application/vnd.oasis.opendocument.text", "", false},
        {"a.doc", "application/msword", Bytes::ole, "application/msword", "", false},
        {"a.doc", "application/msword", Bytes::rtf, "application/msword", "", false},
        {"a.xls", "application/vnd.ms-excel", Bytes::ole, "application/vnd.ms-excel", "", false},
        {"a.xls", "application/vnd.ms-excel", Bytes::html, "application/vnd.ms-excel", "", false},
        {"a.xls", "application/vnd.ms-excel", Bytes::xml, "application/vnd.ms-excel", "", false},
        {"a.rtf", "text/rtf", Bytes::rtf, "application/rtf", "", false},
        {"a.png", "image/png", Bytes::png, "image/png", "", false},
        {"a.jpg", "image/jpg", Bytes::jpeg, "image/jpeg", "", false},
        {"a.jpeg", "image/pjpeg", Bytes::jpeg, "image/jpeg", "", false},
        {"a.heic", "image/heic", Bytes::none, "image/heif", "", false},
        {"a.m4a", "audio/x-m4a", Bytes::mp4, "audio/mp4", "", false},
        {"a.mp4", "video/mp4", Bytes::mp4, "video/mp4", "", false},
        {"a.zip", "application/x-zip-compressed", Bytes::zip, "application/zip", "", false},
        {"a.tar.gz", "application/x-gzip", Bytes::gzip, "application/x-compressed-tar", "", false},
        {"a.tgz", "application/x-tar", Bytes::gzip, "application/x-compressed-tar", "", false},
        {"a.epub", "application/epub+zip", Bytes::zip, "application/epub+zip", "", false},
        {"a.ics", "text/calendar", "BEGIN:VCALENDAR", "text/calendar", "", false},
        {"a.vcf", "text/x-vcard", "BEGIN:VCARD", "text/vcard", "", false},
        {"a.eml", "message/rfc822", "Received: x\n", "message/rfc822", "", false},
        {"smime.p7s", "application/pkcs7-signature", QByteArray::fromHex("30820101"),
         "application/pkcs7-signature", "", false},
        {"signature.asc", "application/pgp-signature", "-----BEGIN PGP SIGNATURE-----", "text/plain", "",
         false},
        {"a.unknown", binary, QByteArray::fromHex("00ff00ff"), binary, "", false},
        {"a", "", Bytes::none, "", "", false},
        {"a.ts", "video/mp2t", Bytes::none, "text/vnd.trolltech.linguist", "", false},

        // What runs, and says so.
        {"a.desktop", "application/x-desktop", Bytes::desktop, "application/x-desktop", "", true},
        {"a.sh", "text/plain", Bytes::script, "application/x-shellscript", "", true},
        {"a.SH", binary, Bytes::none, "application/x-shellscript", "", true},
        {"a.html", "text/html", Bytes::html, "text/html", "", true},
        {"a.xhtml", "application/xhtml+xml", Bytes::xml, "application/xhtml+xml", "", true},
        {"a.mht", "message/rfc822", "MIME-Version: 1.0", "application/x-mimearchive", "", true},
        {"a.svg", "image/svg+xml", Bytes::svg, "image/svg+xml", "", true},
        {"a.jar", "application/java-archive", Bytes::zip, "application/x-java-archive", "", true},
        {"a.exe", "application/x-msdownload", Bytes::exe, "application/x-ms-dos-executable", "", true},
        {"a.exe", binary, Bytes::exe, "application/x-ms-dos-executable", "", true},
        {"a.js", "text/javascript", "alert(1)", "application/javascript", "", true},
        {"a.iso", "application/x-iso9660-image", Bytes::iso, "application/x-cd-image", "", true},
        {"a.img", binary, Bytes::iso, "application/x-raw-disk-image", "", true},
        {"a.docm", "application/vnd.ms-word.document.macroenabled.12", Bytes::macros,
         "application/vnd.ms-word.document.macroEnabled.12", "", true},
        {"a.docx", word, Bytes::macros, word, "", true},
        {"a.doc", "application/msword", Bytes::oldMacros, "application/msword", "", true},
        {"a.bat", "text/plain", "@echo off", "application/x-shellscript", "", true},
        {"a.ps1", binary, "Get-Item", "application/x-shellscript", "", true},
        {"a.vbs", "text/plain", "MsgBox 1", "text/vbscript", "", true},
        {"a.lnk", binary, Bytes::none, "application/x-executable", "", true},
        {"a.url", binary, "[InternetShortcut]", "application/x-mswinurl", "", true},
        {"a.scr", binary, Bytes::exe, "application/x-executable", "", true},
        {"a.py", "text/x-python", "import os", "text/x-python", "", true},
        {"a.hta", "text/html", Bytes::html, "", nullptr, true},
        {"a.deb", "application/vnd.debian.binary-package", Bytes::deb,
         "application/vnd.debian.binary-package", "", true},
        {"a.AppImage", binary, Bytes::elf, "application/vnd.appimage", "", true},
        {"a.dmg", binary, Bytes::none, "application/x-apple-diskimage", "", true},
        {"invoice.pdf .exe", binary, Bytes::exe, "application/x-ms-dos-executable", "", true},

        // What isn't what it says.
        {"a.pdf", "application/pdf", Bytes::elf, "application/x-executable", "declared as “PDF", true},
        {"a.pdf", "application/pdf", Bytes::exe, "application/x-ms-dos-executable", "its content is “DOS",
         true},
        {"a.pdf", "application/pdf", Bytes::script, "application/x-shellscript", "its content is “shell",
         true},
        {"a.pdf", "application/pdf", Bytes::html, "text/html", "its content is “HTML", true},
        {"a.pdf", binary, Bytes::html, "text/html", "by its name “PDF", true},
        {"a.pdf", binary, Bytes::macho, "application/x-executable", "its content is “executable", true},
        {"a.pdf", "application/pdf", Bytes::iso, "application/x-cd-image", "its content is “raw CD", true},
        {"a.pdf", "application/pdf", Bytes::zip, "application/zip", "its content is “Zip", false},
        {"a.pdf", "application/pdf", Bytes::png, "image/png", "its content is “PNG", false},
        {"a.png", "image/png", Bytes::jpeg, "image/jpeg", "its content is “JPEG", false},
        {"a.png", "image/png", Bytes::svg, "image/svg+xml", "its content is “SVG", true},
        {"a.jpg", "image/jpeg", Bytes::exe, "application/x-ms-dos-executable", "its content is “DOS", true},
        {"a.txt", "text/plain", Bytes::script, "text/plain", "", true},
        {"a.txt", "text/plain", Bytes::elf, "application/x-executable", "declared as “plain text", true},
        {"a.docx", word, Bytes::exe, "application/x-ms-dos-executable", "its content is “DOS", true},
        {"a.exe", "application/pdf", Bytes::none, "application/x-ms-dos-executable", "by its name “DOS",
         true},
        {"a.scr", "image/jpeg", Bytes::text, "application/x-executable", "declared as “JPEG", true},
        {"a.sh", "application/pdf", Bytes::text, "application/x-shellscript", "by its name “shell", true},
        {"a.pdf", "application/x-msdownload", Bytes::none, "application/pdf", "declared as “DOS", false},
        {"a.pdf", "text/plain", Bytes::none, "application/pdf", "by its name “PDF", false},
        {"a", "application/pdf", Bytes::elf, "application/x-executable", "declared as “PDF", true},
        {"a", binary, Bytes::html, "text/html", "", true},
        {"a", binary, Bytes::desktop, "application/x-desktop", "", true},
        {"a", binary, Bytes::deb, "application/vnd.debian.binary-package", "", true},
        {"a.xml", "application/xml", Bytes::svg, "application/xml", "", true},
        {"a.mp4", "video/mp4", Bytes::pdf, "application/pdf", "its content is “PDF", false},
    };
    return rows;
}

TEST(AttachedFile, IsWhatItsEndingAndItsBytesSay)
{
    ASSERT_GE(rows().size(), 60U);
    for (const Row& row : rows()) {
        const QString name = QString::fromUtf8(row.name);
        const AttachedFile::Kind kind =
            AttachedFile::kindOf(name, QString::fromUtf8(row.declared), row.bytes);
        const std::string what =
            std::string(row.name) + " declared as " + row.declared + ": " + kind.warning.toStdString();
        if (row.warning) {
            EXPECT_EQ(kind.type, QString::fromUtf8(row.type)) << what;
            EXPECT_EQ(kind.warning.isEmpty(), QByteArrayView(row.warning).isEmpty()) << what;
            EXPECT_TRUE(kind.warning.contains(QString::fromUtf8(row.warning))) << what;
        }
        EXPECT_EQ(AttachedFile::canRun(name, row.bytes), row.isAsked) << what;
    }
}

TEST(AttachedFile, SaysInOneSentenceWhatItIsNot)
{
    using AttachedFile::kindOf;
    EXPECT_EQ(kindOf(u"a.pdf"_s, u"application/pdf"_s, Bytes::elf).warning,
              u"This file is not what it says: declared as “PDF document”, its content is “executable”.");
    EXPECT_EQ(kindOf(u"a.pdf"_s, {}, Bytes::elf).warning,
              u"This file is not what it says: by its name “PDF document”, its content is “executable”.");
    EXPECT_EQ(
        kindOf(u"a.exe"_s, u"application/pdf"_s, {}).warning,
        u"This file is not what it says: declared as “PDF document”, by its name “DOS/Windows executable”.");
}

TEST(AttachedFile, AsksForEveryEndingThatIsRun)
{
    for (const char* const ending :
         {"desktop", "sh",  "html", "htm",        "svg",  "jar",   "exe",   "js",   "iso",  "img", "dmg",
          "run",     "deb", "rpm",  "flatpakref", "msi",  "bat",   "cmd",   "ps1",  "vbs",  "lnk", "url",
          "scr",     "py",  "pl",   "rb",         "mht",  "mhtml", "xhtml", "hta",  "com",  "pif", "cpl",
          "reg",     "chm", "jse",  "vbe",        "wsf",  "docm",  "xlsm",  "pptm", "dotm", "apk", "appimage",
          "bin",     "dll", "so",   "vhd",        "jnlp", "a3x",   "zsh",   "svgz"}) {
        const QString name = u"a."_s + QString::fromLatin1(ending);
        EXPECT_TRUE(AttachedFile::canRun(name, {})) << ending;
        EXPECT_TRUE(AttachedFile::canRun(name.toUpper(), {})) << ending;
        EXPECT_FALSE(AttachedFile::canRun(name + u".txt"_s, {})) << ending;
        EXPECT_FALSE(AttachedFile::canRun(QString::fromLatin1(ending), {})) << ending;
    }
    for (const char* const ending :
         {"txt", "pdf", "docx", "xlsx", "odt",  "zip", "7z", "tar", "gz", "png",  "mp3",
          "eml", "ics", "csv",  "xml",  "json", "c",   "md", "shx", "s",  "exe1", "xexe"})
        EXPECT_FALSE(AttachedFile::canRun(u"a."_s + QString::fromLatin1(ending), {})) << ending;
}

TEST(AttachedFile, FindsMacrosWhereverTheyStand)
{
    const QByteArray zip("PK\3\4");
    const QByteArray filling(3'000'000, 'x');
    for (const char* const part :
         {"word/vbaProject.bin", "xl/VBAPROJECT.BIN", "xl/macrosheets/sheet1.xml", "Basic/script-lc.xml"}) {
        EXPECT_TRUE(AttachedFile::canRun(u"a.docx"_s, zip + filling + part)) << part;
        EXPECT_TRUE(AttachedFile::canRun(u"a"_s, zip + part)) << part;
        EXPECT_FALSE(AttachedFile::canRun(u"a.docx"_s, part)) << "no ZIP file holds it";
    }
    EXPECT_FALSE(AttachedFile::canRun(u"a.docx"_s, zip + "word/vbaProjec" + filling));
    EXPECT_TRUE(AttachedFile::canRun(u"a.xls"_s, Bytes::ole + filling + Bytes::oldMacros));
}

TEST(AttachedFile, KnowsADiskImageByItsVolume)
{
    EXPECT_TRUE(AttachedFile::canRun(u"a.pdf"_s, Bytes::iso));
    EXPECT_FALSE(AttachedFile::canRun(u"a.pdf"_s, Bytes::iso.first(32'769 + 4)));
    EXPECT_FALSE(AttachedFile::canRun(u"a.pdf"_s, QByteArray(40'000, '\0')));
    EXPECT_FALSE(AttachedFile::canRun(u"a.pdf"_s, "x CD001" + QByteArray(40'000, '\0'))) << "another place";
}

} // namespace
} // namespace Larkhaven
