#pragma once

#include "protocols/IMAPValue.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QString>
#include <QVarLengthArray>

#include <algorithm>
#include <optional>

namespace Larkhaven {

/// One whole response of an IMAP server (RFC 3501, 7).
///
/// The parser forgives what a server says and is strict only about how much it says: a malformed item is
/// skipped, only the number of values fails a response. The cost is linear in the bytes. Pure; callable from
/// any thread.
struct IMAPResponse {
    enum class Kind { tagged, untagged, continuation };

    /// The most values at the top level of a response; the word SEARCH before its numbers isn't one.
    static constexpr qsizetype valueLimit = 1'000'000;
    /// The most values at all levels together, those of dropped lists among them: what bounds the memory of a
    /// response to some 50 MB above its own size.
    static constexpr qsizetype totalValueLimit = 2'000'000;
    /// The deepest level of lists that is read; the values at the top level are level 0.
    static constexpr int depthLimit = 63;
    /// The largest literal, and the largest response, tested after each of its literals, in bytes (100 MiB).
    static constexpr qsizetype sizeLimit = 0x6400000;
    /// The most digits in the announcement of a literal.
    static constexpr qsizetype literalDigitLimit = 10;

    Kind kind = Kind::untagged;
    QString tag; ///< of a tagged response
    /// Everything behind the tag. Free text is cut into atoms at spaces like everything else; a continuation
    /// has none.
    IMAPValues values;
    /// What the word SEARCH is followed by where that is nothing but numbers of 32 bits. They aren't among
    /// the values, which hold the bytes of the response as well: a mailbox has a million of them.
    QList<qint64> numbers;

    /// Reads the bytes of a whole response, literals included. Fails with `MailError::protocolError` "Server
    /// response too large." past `valueLimit` or `totalValueLimit`.
    static IMAPResponse parse(const QByteArray& data);
    /// As `parse`, of bytes that the values copy.
    static IMAPResponse parseCopy(QByteArrayView data);

    /// The length of the literal that a line announces with its last bytes, "{123}" or "{123+}"; absent if it
    /// doesn't.
    static std::optional<qint64> literalLength(QByteArrayView line);

    /// The text of a status response: every value but the first, joined by single spaces, those without text
    /// left out.
    QString statusText() const;

    /// Whether the first value is the keyword, given in capitals.
    bool isNamed(QLatin1StringView keyword) const
    {
        return !values.isEmpty() && values.first().isKeyword(keyword);
    }

    bool operator==(const IMAPResponse&) const = default;
};

/// The recursive part of the parser: one value at a time from a cursor. After a failure the cursor is where
/// the fault was found.
class IMAPValueReader {
public:
    /// The values share the bytes, which are less than 4 GiB.
    explicit IMAPValueReader(QByteArray data)
        : m_shared(std::move(data))
        , m_view(m_shared)
    {}
    /// The values copy the bytes, which are less than 4 GiB and outlive the reader.
    static IMAPValueReader copying(QByteArrayView data) { return {data, true}; }
    IMAPValueReader(const IMAPValueReader&) = delete;
    IMAPValueReader& operator=(const IMAPValueReader&) = delete;

    qsizetype position() const { return m_position; }
    QByteArrayView rest() const { return m_view.sliced(m_position); }
    void setPosition(qsizetype position) { m_position = position; }
    bool atEnd() const { return m_position >= m_view.size(); }

    /// Skips space, CR and LF; a tab is no white space here.
    void skipSpace();
    /// The bytes up to the next white space.
    QByteArrayView readToken();
    /// Reads the value at the cursor, which is at the given level of lists. Fails with
    /// `MailError::protocolError`.
    IMAPValue parseValue(int depth);
    /// Reads the value at the cursor and keeps it for `takeValues`. Returns false on failure: a hostile
    /// response has one in each byte, and all of them are dropped.
    bool readValue(int depth);
    /// How many values were read, at all levels together.
    qsizetype valueCount() const { return m_valueCount; }
    /// How many wait for `takeValues`.
    qsizetype waiting() const { return m_open.size(); }
    /// Whether the one value that waits is the keyword, given in capitals.
    bool isNamed(QLatin1StringView keyword) const;
    /// The values that were read since the beginning. Ends the reader's work.
    IMAPValues takeValues();

private:
    using Node = IMAPTree::Node;
    using Nodes = QVarLengthArray<Node, 64>; ///< as many as an envelope has

    IMAPValueReader(QByteArrayView data, bool copies)
        : m_view(data)
        , m_copies(copies)
    {}

    bool readValueOfItsKind(int depth);
    bool readQuoted();
    bool readList(int depth);
    bool readLiteral();
    bool readAtom();
    bool fail(const char* text);
    bool take(Node::Kind kind, qsizetype start, qsizetype end);
    /// Moves the open nodes from the given one on to where they stay, and returns the first one's place.
    quint32 settle(qsizetype from);

    QByteArray m_shared; ///< empty where the values copy their bytes
    QByteArrayView m_view;
    bool m_copies = false;
    qsizetype m_position = 0;
    qsizetype m_valueCount = 0;
    const char* m_failure = nullptr; ///< untranslated
    Nodes m_open;                    ///< those of lists that haven't ended, and of the top level
    Nodes m_settled;
};

} // namespace Larkhaven
