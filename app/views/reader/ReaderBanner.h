#pragma once

#include "views/style/WarningCard.h"

namespace Larkhaven {

/// Tells what of a message was held back, and offers to load its remote content. Hidden where there is
/// nothing to tell.
class ReaderBanner : public WarningCard {
    Q_OBJECT

public:
    explicit ReaderBanner(QWidget* parent = nullptr);

    void setState(bool offersRemoteContent, int trackers);

Q_SIGNALS:
    void loadRequested();

private:
    QLabel* m_remote;
    QLabel* m_trackers;
};

} // namespace Larkhaven
