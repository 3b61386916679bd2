#pragma once

#include <QByteArray>
#include <QByteArrayList>

#include <cstdint>

namespace Larkhaven::Bench {

/// The same numbers in every run.
class Random {
public:
    explicit Random(std::uint64_t seed)
        : m_state(seed)
    {}
    /// From 0 to one less than `end`.
    std::uint32_t below(std::uint32_t end);

private:
    std::uint64_t m_state;
};

/// Messages as people get them: headers with a road of Received lines behind them, names and subjects in
/// encoded words, German and English prose. All are ASCII or UTF-8 throughout, with CRLF.

/// Of one text/plain, 1 to 6 kB, in 7bit or quoted-printable.
QByteArrayList plainMessages(int count);
/// Of a plain text and a page of 5 to 40 kB, both quoted-printable.
QByteArrayList alternativeMessages(int count);
/// The same with a file of a mebibyte in base64.
QByteArrayList attachmentMessages(int count);
/// Multiparts in multiparts, three to seven deep, with a text at each level.
QByteArrayList nestedMessages(int count);

QByteArray noise(qsizetype size);
/// About that many bytes of quoted-printable prose.
QByteArray quotedPrintable(qsizetype size);

} // namespace Larkhaven::Bench
