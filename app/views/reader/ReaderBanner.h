#pragma once

#include "views/style/WarningCard.h"

namespace Larkhaven {

/// Tells what of a message was held back, and offers to load its remote content. Hidden where there is
/// nothing to tell.
class ReaderBanner : public WarningCard {
    Q_OBJECT

public:
    explicit ReaderBanner(QWidget* parent = nullptr);

    struct State {
        bool offersRemoteContent = false;
        int trackers = 0;
        int refused = 0;           ///< images that were refused or cut off while they were loaded
        bool lacksSandbox = false; ///< so that only the text is shown
    };
    void setState(const State& state);

Q_SIGNALS:
    void loadRequested();

private:
    QLabel* m_remote;
    QLabel* m_trackers;
    QLabel* m_refused;
    QLabel* m_sandbox;
};

} // namespace Larkhaven
