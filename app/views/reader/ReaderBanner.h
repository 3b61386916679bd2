#pragma once

#include "views/style/WarningCard.h"

namespace Larkhaven {

/// Tells what of a message was held back, and offers to load its remote content. Hidden where there is
/// nothing to tell.
class ReaderBanner : public WarningCard {
    Q_OBJECT

public:
    explicit ReaderBanner(QWidget* parent = nullptr);

    /// `refused`: images that were refused or cut off while they were loaded.
    void setState(bool offersRemoteContent, int trackers, int refused);

Q_SIGNALS:
    void loadRequested();

private:
    QLabel* m_remote;
    QLabel* m_trackers;
    QLabel* m_refused;
};

} // namespace Larkhaven
