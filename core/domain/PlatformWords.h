#pragma once

#include <QCoreApplication>
#include <QString>

namespace Larkhaven {

/// The one table of the texts that name a thing of the platform: its keyring, its launcher, its settings, its
/// keys. All other texts are the same everywhere. Main thread.
class PlatformWords {
    Q_DECLARE_TR_FUNCTIONS(PlatformWords)

public:
    enum class Platform { macOS, linuxDesktop };
    enum class Text {
        welcome,            ///< the text of the welcome view
        getNewMailHelp,     ///< the tooltip of the button, with its keys
        singleKeys,         ///< what the single-key shortcuts do
        showUnreadCount,    ///< the setting of the badge
        accentCaption,      ///< where the accent colour comes from
        accentRestart,      ///< why the accent colour needs a restart
        credentialsPlace,   ///< where an account's credential is
        accountRemoval,     ///< what the removal of an account does
        contactsCaption,    ///< what the suggestion of addresses reads
        onThisComputer,     ///< the heading of what is stored locally
        downloadedMessages, ///< how opened messages are kept
    };
    static constexpr int count = static_cast<int>(Text::downloadedMessages) + 1;

    /// The platform that the program was built for.
    static Platform here();
    static QString text(Text text, Platform platform = here());
};

} // namespace Larkhaven
