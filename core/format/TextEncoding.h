#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include <optional>

namespace Larkhaven {

/// A charset that mail may be written in, as `MailEncoding::charsetEncoding` answers it. A plain value.
///
/// The charsets with a member of their own are those that mail is full of; every other one is `registered`
/// and goes by the name of its converter in ICU. Reading is strict: bytes that the charset has no character
/// for refuse the whole text, so that the next charset in line gets its turn.
///
/// - `windowsCP1252` refuses 81, 8D, 8F, 90 and 9D: the code page has no character there.
/// - `utf16` has its byte order by the byte order mark, which is taken off; it is big-endian without one
///   (RFC 2781, 4.3). In `utf8`, `utf16LittleEndian` and `utf16BigEndian` a byte order mark is text (U+FEFF).
/// - `shiftJIS` is read as Windows-31J, its superset in use.
///
/// NB: three registered charsets are read as the superset that programs write under their name: GB2312 as
/// GB18030, EUC-KR and KS_C_5601-1987 as Windows code page 949.
struct TextEncoding {
    enum class Charset {
        utf8,
        isoLatin1,
        isoLatin2,
        windowsCP1252,
        windowsCP1250,
        windowsCP1251,
        windowsCP1253,
        windowsCP1254,
        utf16,
        utf16LittleEndian,
        utf16BigEndian,
        iso2022JP,
        shiftJIS,
        japaneseEUC,
        registered,
    };
    using enum Charset;

    Charset charset = utf8;
    QByteArray converter; ///< ICU's own name of it; empty unless `registered`

    TextEncoding() = default;
    /// Any charset but `registered`.
    TextEncoding(Charset known);

    /// What a registry of the IANA charset names holds under `name`, absent where it holds nothing. The
    /// registry is ICU's table of aliases, as far as IANA, MIME, Windows or Java name them; case and marks
    /// ("-", "_") are no difference. Converters that ICU has beyond these (the mailbox names of IMAP, LMBCS,
    /// options behind a comma) are out of reach. UTF-7 and the compressing charsets are in it: a converter
    /// lives for one text only, and all that judges a text does so after this step. Names longer than
    /// `maxNameLength` are unknown, and so are names with anything but printable ASCII in them.
    static std::optional<TextEncoding> fromRegistry(const QString& name);

    static constexpr qsizetype maxNameLength = 59;

    /// The text that the bytes spell; absent where anything in them is invalid.
    std::optional<QString> decode(QByteArrayView bytes) const;

    bool operator==(const TextEncoding&) const = default;
};

} // namespace Larkhaven
