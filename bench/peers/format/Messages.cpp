#include "Messages.h"

#include "format/MailEncoding.h"

#include <QString>

#include <array>

namespace Larkhaven::Bench {

namespace {

constexpr std::array words{"the",      "meeting", "wird",   "auf",    "Dienstag", "verschoben",
                           "because",  "Frau",    "Müller", "our",    "invoice",  "über",
                           "and",      "Grüße",   "aus",    "Köln",   "please",   "find",
                           "attached", "the",     "Straße", "report", "of",       "für"};

QByteArray word(Random& random)
{
    return words[random.below(static_cast<std::uint32_t>(words.size()))];
}

/// Lines of prose in UTF-8.
QByteArray prose(Random& random, qsizetype size)
{
    QByteArray text;
    qsizetype line = 0;
    while (text.size() < size) {
        const QByteArray next = word(random);
        text += next;
        line += next.size() + 1;
        const bool isFull = line > 66;
        text += isFull ? "\r\n" : " ";
        line = isFull ? 0 : line;
    }
    return text + "\r\n";
}

QByteArray asQuotedPrintable(const QByteArray& text)
{
    constexpr const char* digits = "0123456789ABCDEF";
    QByteArray encoded;
    qsizetype line = 0;
    for (const char byte : text) {
        const auto octet = static_cast<unsigned char>(byte);
        if (line > 72 && byte != '\r' && byte != '\n') {
            encoded += "=\r\n";
            line = 0;
        }
        if (octet >= 0x80 || byte == '=') {
            encoded += '=';
            encoded += digits[octet >> 4];
            encoded += digits[octet & 15];
            line += 3;
        } else {
            encoded += byte;
            line = byte == '\n' ? 0 : line + 1;
        }
    }
    return encoded;
}

QByteArray page(Random& random, qsizetype size)
{
    QByteArray html =
        "<html><head><title>News</title></head><body style=\"margin:0\"><table width=\"100%\">\r\n";
    while (html.size() < size)
        html += "<tr><td style=\"padding:8px;font-family:Arial\"><a href=\"https://shop.example/x?id=" +
                QByteArray::number(random.below(1'000'000)) + "\">" + prose(random, 120).trimmed() +
                "</a></td></tr>\r\n";
    return html + "</table></body></html>\r\n";
}

QByteArray headers(Random& random, const QByteArray& type)
{
    QByteArray fields;
    for (std::uint32_t hop = 0; hop < 3 + random.below(3); ++hop)
        fields += "Received: from mx" + QByteArray::number(hop) + ".example.org (mx.example.org [192.0.2." +
                  QByteArray::number(random.below(250)) + "])\r\n\tby mail.example.com with ESMTPS id " +
                  QByteArray::number(random.below(1'000'000'000)) +
                  "\r\n\tfor <bob@example.com>; Tue, 3 Mar 2026 10:11:12 +0100\r\n";
    fields += "DKIM-Signature: v=1; a=rsa-sha256; c=relaxed/relaxed; d=example.org; "
              "s=s1;\r\n\th=from:to:subject:date;"
              " bh=47DEQpj8HBSa+/TImW+5JCeuQeRkm5NMpJWZG3hSuFU=;\r\n\tb=" +
              noise(120).toBase64() + "\r\n";
    fields += "Message-ID: <" + QByteArray::number(random.below(1'000'000'000)) + "@example.org>\r\n";
    fields += "Date: Tue, 3 Mar 2026 10:11:" + QByteArray::number(10 + random.below(49)) + " +0100\r\n";
    fields += "From: =?UTF-8?Q?J=C3=B6rg_M=C3=BCller?= <joerg@example.org>\r\n";
    fields += "To: Bob <bob@example.com>, \"Smith, Ann\" <ann@example.com>, =?UTF-8?B?Wm/Dqw==?= "
              "<zoe@example.com>\r\n";
    fields += "Subject: =?UTF-8?B?" +
              QString::fromUtf8(prose(random, 36)).simplified().left(30).toUtf8().toBase64() +
              "?=\r\n =?UTF-8?Q?Gr=C3=BC=C3=9Fe_aus_K=C3=B6ln?=\r\n";
    return fields + "MIME-Version: 1.0\r\n" + type;
}

QByteArray textPart(Random& random, const QByteArray& subtype, const QByteArray& text)
{
    Q_UNUSED(random)
    return "Content-Type: text/" + subtype +
           "; charset=UTF-8\r\nContent-Transfer-Encoding: quoted-printable\r\n\r\n" + asQuotedPrintable(text);
}

QByteArray multipart(Random& random, const QByteArray& subtype, const QByteArrayList& parts, QByteArray& body)
{
    const QByteArray boundary = "=_part_" + QByteArray::number(random.below(1'000'000'000));
    for (const QByteArray& part : parts)
        body += "--" + boundary + "\r\n" + part + "\r\n";
    body += "--" + boundary + "--\r\n";
    return "Content-Type: multipart/" + subtype + "; boundary=\"" + boundary + "\"\r\n\r\n";
}

QByteArray alternative(Random& random)
{
    QByteArray body;
    const QByteArrayList parts{textPart(random, "plain", prose(random, 1000 + random.below(4000))),
                               textPart(random, "html", page(random, 5000 + random.below(35'000)))};
    const QByteArray type = multipart(random, "alternative", parts, body);
    return type + body;
}

template <typename Make>
QByteArrayList madeMessages(int count, std::uint64_t seed, Make make)
{
    Random random(seed);
    QByteArrayList messages;
    for (int index = 0; index < count; ++index)
        messages.append(make(random));
    return messages;
}

} // namespace

std::uint32_t Random::below(std::uint32_t end)
{
    m_state = m_state * 6'364'136'223'846'793'005U + 1'442'695'040'888'963'407U;
    return static_cast<std::uint32_t>((m_state >> 33) % end);
}

QByteArray noise(qsizetype size)
{
    Random random(1);
    QByteArray bytes(size, Qt::Uninitialized);
    for (char& byte : bytes)
        byte = static_cast<char>(random.below(256));
    return bytes;
}

QByteArray quotedPrintable(qsizetype size)
{
    Random random(2);
    return asQuotedPrintable(prose(random, size));
}

QByteArrayList plainMessages(int count)
{
    return madeMessages(count, 3, [](Random& random) {
        const QByteArray text = prose(random, 1000 + random.below(5000));
        if (random.below(2) == 0)
            return headers(
                       random,
                       "Content-Type: text/plain; charset=utf-8\r\nContent-Transfer-Encoding: 8bit\r\n\r\n") +
                   text;
        return headers(random, textPart(random, "plain", text));
    });
}

QByteArrayList alternativeMessages(int count)
{
    return madeMessages(count, 4, [](Random& random) { return headers(random, alternative(random)); });
}

QByteArrayList attachmentMessages(int count)
{
    const QByteArray file =
        "Content-Type: application/pdf; name=\"report.pdf\"\r\nContent-Disposition: attachment;\r\n"
        " filename=\"report.pdf\"\r\nContent-Transfer-Encoding: base64\r\n\r\n" +
        MailEncoding::encodeBase64Lines(noise(1'048'576));
    return madeMessages(count, 5, [&file](Random& random) {
        QByteArray body;
        const QByteArray type = multipart(random, "mixed", {alternative(random), file}, body);
        return headers(random, type) + body;
    });
}

QByteArrayList nestedMessages(int count)
{
    return madeMessages(count, 6, [](Random& random) {
        QByteArray inner = textPart(random, "plain", prose(random, 400));
        for (std::uint32_t depth = 3 + random.below(5); depth > 0; --depth) {
            QByteArray body;
            const QByteArray type =
                multipart(random, "mixed",
                          {textPart(random, "plain", prose(random, 200 + random.below(600))), inner}, body);
            inner = type + body;
        }
        return headers(random, inner);
    });
}

} // namespace Larkhaven::Bench
