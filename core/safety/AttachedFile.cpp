#include "safety/AttachedFile.h"

#include "domain/FileName.h"
#include "domain/Text.h"

#include <QCoreApplication>
#include <QMimeDatabase>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace Larkhaven::AttachedFile {

namespace {

/// The texts of this file.
struct Texts {
    Q_DECLARE_TR_FUNCTIONS(AttachedFile)
};

// --- Endings

/// Of what desktops run, install or mount, and of documents that are made to hold macros.
constexpr std::array programEndings{
    "a3x"_L1,          "action"_L1,      "air"_L1,       "apk"_L1,     "app"_L1,        "appimage"_L1,
    "appinstaller"_L1, "application"_L1, "appref-ms"_L1, "appx"_L1,    "appxbundle"_L1, "bin"_L1,
    "chm"_L1,          "class"_L1,       "com"_L1,       "cpl"_L1,     "crx"_L1,        "deb"_L1,
    "diagcab"_L1,      "dll"_L1,         "dmg"_L1,       "docm"_L1,    "dotm"_L1,       "drv"_L1,
    "ear"_L1,          "elf"_L1,         "exe"_L1,       "flatpak"_L1, "gadget"_L1,     "hlp"_L1,
    "img"_L1,          "ins"_L1,         "ipa"_L1,       "iso"_L1,     "isp"_L1,        "jar"_L1,
    "job"_L1,          "ko"_L1,          "lnk"_L1,       "mpkg"_L1,    "msi"_L1,        "msix"_L1,
    "msixbundle"_L1,   "msp"_L1,         "mst"_L1,       "ocx"_L1,     "out"_L1,        "pif"_L1,
    "pkg"_L1,          "potm"_L1,        "ppam"_L1,      "ppsm"_L1,    "pptm"_L1,       "pyc"_L1,
    "pyz"_L1,          "pyzw"_L1,        "rpm"_L1,       "run"_L1,     "scpt"_L1,       "scr"_L1,
    "sldm"_L1,         "snap"_L1,        "so"_L1,        "svgz"_L1,    "swf"_L1,        "sys"_L1,
    "vdi"_L1,          "vhd"_L1,         "vhdx"_L1,      "vmdk"_L1,    "war"_L1,        "xbap"_L1,
    "xla"_L1,          "xlam"_L1,        "xll"_L1,       "xlsm"_L1,    "xltm"_L1,       "xpi"_L1};

/// Of texts that are run, or opened in what runs the scripts in them.
constexpr std::array scriptEndings{
    "applescript"_L1, "bash"_L1,    "bat"_L1,        "cmd"_L1,         "command"_L1,   "csh"_L1,
    "desktop"_L1,     "fish"_L1,    "flatpakref"_L1, "flatpakrepo"_L1, "hta"_L1,       "htm"_L1,
    "html"_L1,        "inetloc"_L1, "inf"_L1,        "iqy"_L1,         "jnlp"_L1,      "js"_L1,
    "jse"_L1,         "kdelnk"_L1,  "ksh"_L1,        "library-ms"_L1,  "lua"_L1,       "mht"_L1,
    "mhtml"_L1,       "mjs"_L1,     "msc"_L1,        "php"_L1,         "phtml"_L1,     "pl"_L1,
    "ps1"_L1,         "psd1"_L1,    "psm1"_L1,       "py"_L1,          "pyw"_L1,       "rb"_L1,
    "rdp"_L1,         "reg"_L1,     "scf"_L1,        "sct"_L1,         "search-ms"_L1, "settingcontent-ms"_L1,
    "sh"_L1,          "shtml"_L1,   "svg"_L1,        "tcl"_L1,         "terminal"_L1,  "tool"_L1,
    "url"_L1,         "vbe"_L1,     "vbs"_L1,        "webloc"_L1,      "website"_L1,   "workflow"_L1,
    "ws"_L1,          "wsc"_L1,     "wsf"_L1,        "wsh"_L1,         "xht"_L1,       "xhtm"_L1,
    "xhtml"_L1,       "zsh"_L1};

enum class Form { none, program, script };

/// What is run by the ending of the name.
Form formOf(const QString& name)
{
    const QStringView ending = FileName::endingOf(name);
    if (ending.isEmpty())
        return Form::none;
    const QString bare = Text::asciiLowered(Text::trimmedSpace(ending.sliced(1)).toString());
    if (std::ranges::find(programEndings, bare) != programEndings.end())
        return Form::program;
    return std::ranges::find(scriptEndings, bare) != scriptEndings.end() ? Form::script : Form::none;
}

// --- Types

/// What other programs call types of the database.
constexpr std::array<std::pair<QLatin1StringView, QLatin1StringView>, 9> otherNames{{
    {"application/csv"_L1, "text/csv"_L1},
    {"application/vnd.microsoft.portable-executable"_L1, "application/x-ms-dos-executable"_L1},
    {"application/x-dosexec"_L1, "application/x-ms-dos-executable"_L1},
    {"application/x-msdos-program"_L1, "application/x-ms-dos-executable"_L1},
    {"application/x-msdownload"_L1, "application/x-ms-dos-executable"_L1},
    {"application/x-sh"_L1, "application/x-shellscript"_L1},
    {"image/jpg"_L1, "image/jpeg"_L1},
    {"image/x-jpeg"_L1, "image/jpeg"_L1},
    {"image/x-png"_L1, "image/png"_L1},
}};

/// Whether it says anything.
bool isKnown(const QMimeType& type)
{
    return type.isValid() && !type.isDefault() && type.name() != "application/x-zerosize"_L1;
}

QMimeType declared(const QMimeDatabase& database, const QString& type)
{
    const auto isNamed = [&](const auto& name) { return name.first == type; };
    const auto other = std::ranges::find_if(otherNames, isNamed);
    return database.mimeTypeForName(other == otherNames.end() ? type : QString(other->second));
}

/// By its ending; one that is run is never unknown. Some endings have several types.
QList<QMimeType> named(const QMimeDatabase& database, const QString& name)
{
    QList<QMimeType> types = database.mimeTypesForFileName(name);
    types.removeIf([](const QMimeType& type) { return !isKnown(type); });
    const Form form = types.isEmpty() ? formOf(name) : Form::none;
    if (form == Form::script)
        types.append(database.mimeTypeForName(u"application/x-shellscript"_s));
    else if (form == Form::program)
        types.append(database.mimeTypeForName(u"application/x-executable"_s));
    return types;
}

bool isAnyOf(const QMimeType& type, std::initializer_list<QLatin1StringView> names)
{
    return std::ranges::any_of(names, [&](QLatin1StringView name) { return type.name() == name; });
}

bool isText(const QMimeType& type)
{
    return type.inherits(u"text/plain"_s);
}

/// The pages and pictures that hold scripts.
bool isPage(const QMimeType& type)
{
    return isAnyOf(type, {"text/html"_L1, "application/xhtml+xml"_L1, "image/svg+xml"_L1});
}

bool isProgram(const QMimeType& type)
{
    return type.inherits(u"application/x-executable"_s) ||
           isAnyOf(type,
                   {"application/x-ms-dos-executable"_L1, "application/x-sharedlib"_L1,
                    "application/x-object"_L1, "application/x-java"_L1, "application/x-desktop"_L1,
                    "application/vnd.appimage"_L1, "application/x-mswinurl"_L1, "application/x-msi"_L1});
}

bool isOffice(const QMimeType& type)
{
    return type.genericIconName().startsWith("x-office-"_L1) &&
           !isAnyOf(type,
                    {"application/pdf"_L1, "application/postscript"_L1, "application/vnd.ms-htmlhelp"_L1});
}

/// What office programs write under their old endings, beside their own.
bool isOfficeText(const QMimeType& type)
{
    return isAnyOf(type, {"text/html"_L1, "application/xhtml+xml"_L1, "application/rtf"_L1,
                          "application/xml"_L1, "text/csv"_L1, "application/x-mimearchive"_L1});
}

bool isMedia(const QMimeType& type)
{
    return type.name().startsWith("audio/"_L1) || type.name().startsWith("video/"_L1) ||
           type.name() == "application/ogg"_L1;
}

/// Pictures that each have their own first bytes.
bool isOwnPicture(const QMimeType& type)
{
    return isAnyOf(type, {"image/png"_L1, "image/jpeg"_L1, "image/gif"_L1, "image/webp"_L1, "image/bmp"_L1,
                          "image/svg+xml"_L1});
}

bool isPicture(const QMimeType& type)
{
    return type.name().startsWith("image/"_L1);
}

bool isArchive(const QMimeType& type)
{
    return type.genericIconName() == "package-x-generic"_L1;
}

/// A page that was saved with its pictures is a message in form.
bool isMessage(const QMimeType& type)
{
    return isAnyOf(type, {"message/rfc822"_L1, "application/x-mimearchive"_L1});
}

/// Forms in which many kinds of files are packed.
bool isContainer(const QMimeType& type)
{
    return isAnyOf(type, {"application/zip"_L1, "application/x-ole-storage"_L1, "application/gzip"_L1});
}

bool mayBeContained(const QMimeType& type)
{
    return !isText(type) && !isMedia(type) && !isPicture(type) && !isProgram(type) &&
           type.name() != "application/pdf"_L1;
}

/// Whether a file of the one type may be called by the other.
bool fitsOneWay(const QMimeType& one, const QMimeType& other)
{
    return one.inherits(other.name()) || (isOffice(one) && isOfficeText(other)) ||
           (isContainer(one) && mayBeContained(other));
}

bool fits(const QMimeType& one, const QMimeType& other)
{
    if (fitsOneWay(one, other) || fitsOneWay(other, one))
        return true;
    if (isPicture(one) && isPicture(other))
        return !isOwnPicture(one) || !isOwnPicture(other);
    const bool isPair = (isPage(one) && isPage(other)) || (isProgram(one) && isProgram(other));
    return isPair || (isOffice(one) && isOffice(other)) || (isMedia(one) && isMedia(other)) ||
           (isArchive(one) && isArchive(other)) || (isMessage(one) && isMessage(other));
}

bool fitsAny(const QMimeType& type, const QList<QMimeType>& others)
{
    return std::ranges::any_of(others, [&](const QMimeType& other) { return fits(type, other); });
}

// --- Content

bool isDiskImage(QByteArrayView bytes)
{
    // ECMA-119, 8.1: a descriptor of the volume stands in the sector after the first sixteen.
    constexpr qsizetype descriptor = 16 * 2'048 + 1;
    return bytes.size() > descriptor && bytes.sliced(descriptor).startsWith("CD001");
}

/// What the kernel, an emulator of Windows or macOS run by their first bytes.
bool isBinaryProgram(QByteArrayView bytes)
{
    constexpr std::array<QByteArrayView, 5> beginnings{
        QByteArrayView("\x7f"
                       "ELF"),
        QByteArrayView("\xfe\xed\xfa\xce"), QByteArrayView("\xfe\xed\xfa\xcf"),
        QByteArrayView("\xce\xfa\xed\xfe"), QByteArrayView("\xcf\xfa\xed\xfe")};
    const auto begins = [&](QByteArrayView beginning) { return bytes.startsWith(beginning); };
    // A text may begin with these letters as well.
    constexpr qsizetype header = 64;
    const bool isWindows =
        bytes.startsWith("MZ") && bytes.first(std::min(bytes.size(), header)).contains('\0');
    return isWindows || std::ranges::any_of(beginnings, begins);
}

/// By its first bytes, as far as they say something certain: that a text is written in some language is a
/// guess.
QMimeType contained(const QMimeDatabase& database, QByteArrayView bytes)
{
    if (isDiskImage(bytes))
        return database.mimeTypeForName(u"application/x-cd-image"_s);
    const QByteArrayView first = bytes.first(std::min(bytes.size(), firstBytes));
    const QMimeType type = database.mimeTypeForData(QByteArray::fromRawData(first.data(), first.size()));
    if (isBinaryProgram(bytes) && !isProgram(type))
        return database.mimeTypeForName(u"application/x-executable"_s);
    // Two letters are a guess as well.
    if (type.name() == "application/x-ms-dos-executable"_L1 && !isBinaryProgram(bytes))
        return {};
    const bool isCertain = !isText(type) || isPage(type) || isProgram(type) ||
                           isAnyOf(type, {"application/rtf"_L1, "application/postscript"_L1});
    return isKnown(type) && isCertain ? type : QMimeType();
}

/// Whether it is run, installed, mounted or opened as a page where its name doesn't say another thing.
bool isRunnable(const QMimeType& type)
{
    return isPage(type) || isProgram(type) ||
           isAnyOf(type,
                   {"application/vnd.debian.binary-package"_L1, "application/x-rpm"_L1,
                    "application/vnd.flatpak.ref"_L1, "application/vnd.flatpak.repo"_L1,
                    "application/vnd.flatpak"_L1, "application/x-cd-image"_L1,
                    "application/vnd.ms-htmlhelp"_L1, "application/x-java-archive"_L1, "application/x-xar"_L1,
                    "application/x-apple-diskimage"_L1, "application/x-ms-shortcut"_L1});
}

/// Whether the bytes hold those of `small` in any case of their ASCII letters. `small` has small letters.
bool holdsIgnoringCase(QByteArrayView bytes, QByteArrayView small)
{
    const auto isSame = [](char one, char other) {
        return (one >= 'A' && one <= 'Z' ? one + ('a' - 'A') : one) == other;
    };
    return std::search(bytes.begin(), bytes.end(), small.begin(), small.end(), isSame) != bytes.end();
}

/// Names within a ZIP file stand as they are. An OLE file has its names in UTF-16.
bool hasMacros(QByteArrayView bytes)
{
    constexpr QByteArrayView oldDocument("\xd0\xcf\x11\xe0\xa1\xb1\x1a\xe1");
    if (bytes.startsWith(oldDocument)) {
        constexpr QByteArrayView project("_\0v\0b\0a\0_\0p\0r\0o\0j\0e\0c\0t\0", 24);
        return holdsIgnoringCase(bytes, project);
    }
    if (!bytes.startsWith("PK"))
        return false;
    constexpr std::array<QByteArrayView, 4> parts{
        QByteArrayView("vbaproject"), QByteArrayView("/macrosheets/"), QByteArrayView("basic/script-lc.xml"),
        QByteArrayView("scripts/python/")};
    return std::ranges::any_of(parts, [&](QByteArrayView part) { return holdsIgnoringCase(bytes, part); });
}

/// What the parts of a file say; of the ending the first type speaks.
struct Said {
    QMimeType declared;
    QList<QMimeType> named;
    QMimeType contained;
};

QString warningOn(const Said& said)
{
    const bool isDeclared = isKnown(said.declared);
    const bool isContained = said.contained.isValid();
    if (isDeclared && isContained && !fits(said.contained, said.declared))
        return Texts::tr("This file is not what it says: declared as “%1”, its content is “%2”.")
            .arg(said.declared.comment(), said.contained.comment());
    if (said.named.isEmpty())
        return {};
    if (isContained && !fitsAny(said.contained, said.named))
        return Texts::tr("This file is not what it says: by its name “%1”, its content is “%2”.")
            .arg(said.named.first().comment(), said.contained.comment());
    if (isDeclared && !fitsAny(said.declared, said.named))
        return Texts::tr("This file is not what it says: declared as “%1”, by its name “%2”.")
            .arg(said.declared.comment(), said.named.first().comment());
    return {};
}

QMimeType shown(const Said& said)
{
    const bool isOther = said.contained.isValid() && !fitsAny(said.contained, said.named);
    if (isOther)
        return said.contained;
    if (!said.named.isEmpty())
        return said.named.first();
    return said.declared.isValid() ? said.declared : QMimeType();
}

} // namespace

Kind kindOf(const QString& name, const QString& declaredType, QByteArrayView bytes)
{
    const QMimeDatabase database;
    const Said said{declared(database, declaredType), named(database, name), contained(database, bytes)};
    return {shown(said).name(), warningOn(said)};
}

bool canRun(const QString& name, QByteArrayView bytes)
{
    if (formOf(name) != Form::none || isBinaryProgram(bytes) || bytes.startsWith("#!") || isDiskImage(bytes))
        return true;
    const QMimeDatabase database;
    const QMimeType content = contained(database, bytes);
    const auto isOtherwiseOpened = [&](const QMimeType& type) {
        // A page under the name of any XML is still a page.
        const bool isMarkup = type.name() == "application/xml"_L1;
        return !isMarkup && fits(content, type);
    };
    const bool isShown = std::ranges::any_of(named(database, name), isOtherwiseOpened);
    return (isRunnable(content) && !isShown) || hasMacros(bytes);
}

} // namespace Larkhaven::AttachedFile
