#pragma once

#include "safety/HTMLVocabulary.h"

#include <QString>
#include <QStringView>

#include <algorithm>
#include <cstring>

namespace Larkhaven::HTMLSanitizer {

/// A document that is written from its front in many small pieces, most of them shorter than the call of a
/// function takes: QString's own `append` took a third of the time of a newsletter.
class DocumentWriter {
public:
    /// Makes room for as many more code units.
    void reserve(qsizetype count) { makeRoom(count); }

    void write(char16_t unit)
    {
        makeRoom(1);
        *m_at++ = unit;
    }

    void write(QStringView text)
    {
        makeRoom(text.size());
        copy(text.utf16(), text.size());
    }

    void write(const HTMLVocabulary::Piece& piece)
    {
        makeRoom(static_cast<qsizetype>(piece.units.size()));
        std::memcpy(m_at, piece.units.data(), sizeof(piece.units));
        m_at += piece.size;
    }

    /// Once more what stands at the place, which is written.
    void repeat(qsizetype start, qsizetype size)
    {
        makeRoom(size);
        copy(begin() + start, size);
    }

    /// The text as `escapeHTML` has it.
    void writeEscaped(QStringView text);

    qsizetype size() const { return m_at - begin(); }

    /// Takes back what stands behind the first code units.
    void truncate(qsizetype size) { m_at = begin() + size; }

    /// The document, which is empty then.
    QString taken();

private:
    char16_t* begin() const { return m_end - m_text.size(); }

    void makeRoom(qsizetype count)
    {
        if (m_end - m_at < count)
            resize(std::max(2 * m_text.size(), m_text.size() + count));
    }

    void copy(const char16_t* units, qsizetype count) { m_at = std::copy_n(units, count, m_at); }

    void resize(qsizetype size);

    QString m_text; ///< longer than what is written
    char16_t* m_at = nullptr;
    char16_t* m_end = nullptr;
};

} // namespace Larkhaven::HTMLSanitizer
