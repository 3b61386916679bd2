#pragma once

#include "views/style/WarningCard.h"

class QBoxLayout;
class QLabel;
class QPushButton;

namespace Larkhaven {

/// Tells what of a message was held back, and offers to load its remote content. Hidden where there is
/// nothing to tell.
class ReaderBanner : public WarningCard {
    Q_OBJECT

public:
    explicit ReaderBanner(QWidget* parent = nullptr);

    void setState(bool offersRemoteContent, int trackers);

    QSize minimumSizeHint() const override;

Q_SIGNALS:
    void loadRequested();

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void applyStyle();

    QLabel* m_shield;
    QLabel* m_remote;
    QLabel* m_trackers;
    QPushButton* m_load;
    QBoxLayout* m_layout;
};

} // namespace Larkhaven
