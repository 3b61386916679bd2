#pragma once

#include <QLabel>
#include <QStringList>

namespace Larkhaven {

/// What was left out of a draft, as quiet lines above its text. Hidden where there is nothing to
/// tell.
class ComposeNotices : public QLabel {
    Q_OBJECT

public:
    /// Notices beyond these are only counted; each is cut to so many characters.
    static constexpr qsizetype mostNotices = 8;
    static constexpr qsizetype longestNotice = 300;

    explicit ComposeNotices(const QStringList& notices, QWidget* parent = nullptr);

    /// Says one more thing, once.
    void add(const QString& notice);

private:
    void showNotices();

    QStringList m_notices;
};

} // namespace Larkhaven
