#include "views/LineGate.h"

#include "model/DraftGate.h"

namespace Larkhaven {

namespace {

/// The field notes each letter that comes in; what it would refuse in any case is cut before that. In UTF-16
/// units.
constexpr int longestLine = 1'000'000;

} // namespace

LineGate::LineGate(qsizetype mostEffort, QLineEdit* line)
    : QValidator(line)
    , m_mostEffort(mostEffort)
    , m_line(line)
{
    line->setMaxLength(longestLine);
    line->setValidator(this);
}

void LineGate::load(const QString& text)
{
    m_isLoading = true;
    m_line->setText(text);
    m_isLoading = false;
}

QValidator::State LineGate::validate(QString& text, int& cursor) const
{
    // Nobody is kept from taking away a part of what is too much.
    const bool isAccepted =
        m_isLoading || text.size() <= m_accepted.size() || DraftGate::effort(text) <= m_mostEffort;
    if (isAccepted) {
        m_accepted = text;
        return Acceptable;
    }
    // To say that it is invalid would have the field undo it letter by letter.
    text = m_accepted;
    cursor = static_cast<int>(text.size());
    Q_EMIT refused();
    return Acceptable;
}

} // namespace Larkhaven
