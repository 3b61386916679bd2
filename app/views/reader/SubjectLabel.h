#pragma once

#include "views/reader/HeaderLabel.h"

namespace Larkhaven {

/// A subject on at most `mostLines` lines, selectable; what doesn't fit is elided and stands in the tooltip.
class SubjectLabel : public HeaderLabel {
    Q_OBJECT

public:
    static constexpr int mostLines = 3;

    explicit SubjectLabel(QWidget* parent = nullptr);

    /// Takes a text of whatever length.
    void setSubject(const QString& subject);

    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    int textWidth(int width) const;
    void layOut();

    QString m_subject;
};

} // namespace Larkhaven
