#pragma once

#include <QList>
#include <QString>
#include <QStringView>

#include <algorithm>
#include <initializer_list>

namespace Larkhaven {

/// Texts that nearly all messages have: each is there once, and costs a message no memory of its own. Any
/// thread.
class UsualTexts {
public:
    UsualTexts(std::initializer_list<QString> texts)
        : m_texts(texts)
    {}

    /// The one that equals the text; null where none does.
    QString find(QStringView text) const
    {
        const auto known = std::ranges::find(m_texts, text);
        return known == m_texts.end() ? QString() : *known;
    }

private:
    QList<QString> m_texts;
};

} // namespace Larkhaven
