#include "domain/PlatformWords.h"

namespace Larkhaven {

namespace {

/// A text in the wording of each platform.
struct Wording {
    QString macOS;
    QString linuxDesktop;
};

} // namespace

PlatformWords::Platform PlatformWords::here()
{
#ifdef Q_OS_MACOS
    return Platform::macOS;
#else
    return Platform::linuxDesktop;
#endif
}

QString PlatformWords::text(Text text, Platform platform)
{
    const auto wording = [text]() -> Wording {
        switch (text) {
        case Text::welcome:
            return {
                tr("Add an account to get started. Google accounts sign in on Google's own page, so "
                   "Larkhaven never sees that password. Other providers sign in over IMAP with a password "
                   "kept in your Keychain."),
                tr("Add an account to get started. Google accounts sign in on Google's own page, so "
                   "Larkhaven never sees that password. Other providers sign in over IMAP with a password "
                   "kept in your keyring.")};
        case Text::getNewMailHelp:
            return {tr("Get New Mail (⇧⌘N)"), tr("Get New Mail (Ctrl+Shift+N)")};
        case Text::singleKeys:
            return {tr("j / k next and previous, o open, e archive, # delete, s star, ⇧U read/unread, c "
                       "compose, u back."),
                    tr("j / k next and previous, o open, e archive, # delete, s star, Shift+U read/unread, c "
                       "compose, u back.")};
        case Text::showUnreadCount:
            return {tr("Show unread count on Dock icon"), tr("Show unread count on launcher icon")};
        case Text::accentCaption:
            return {tr("Larkhaven Purple shows when System Settings ▸ Appearance ▸ Accent color is "
                       "Multicolor; a specific color chosen there applies to every app."),
                    tr("System Accent Color is the one chosen in your desktop's appearance settings, or blue "
                       "where none is chosen there.")};
        case Text::accentRestart:
            return {tr("macOS applies an app's accent color when it opens. Unsent messages in open New "
                       "Message windows will be closed."),
                    tr("Larkhaven applies its accent color when it opens. Unsent messages in open New "
                       "Message windows will be closed.")};
        case Text::credentialsPlace:
            return {tr("Stored in this Mac's Keychain"), tr("Stored in this computer's keyring")};
        case Text::accountRemoval:
            return {tr("Its sign-in credentials will be deleted from this Mac. Mail on the server is not "
                       "affected."),
                    tr("Its sign-in credentials will be deleted from this computer. Mail on the server is "
                       "not affected.")};
        case Text::contactsCaption:
            // No desktop here asks for a permission.
            return {tr("Reads names and email addresses from this Mac's Contacts while you type. macOS asks "
                       "for permission the first time. Nothing is stored or sent anywhere."),
                    tr("Reads names and email addresses from this computer's Contacts while you type. "
                       "Nothing is stored or sent anywhere.")};
        case Text::onThisComputer:
            return {tr("On This Mac"), tr("On This Computer")};
        case Text::downloadedMessages:
            return {
                tr("Messages you open are kept on this Mac, encrypted with a key in your Keychain, so "
                   "they're downloaded only once. The oldest are removed above 500 MB per account. "
                   "Deleting them only means downloading again."),
                tr("Messages you open are kept on this computer, encrypted with a key in your keyring, so "
                   "they're downloaded only once. The oldest are removed above 500 MB per account. "
                   "Deleting them only means downloading again.")};
        }
        Q_UNREACHABLE();
    }();
    return platform == Platform::macOS ? wording.macOS : wording.linuxDesktop;
}

} // namespace Larkhaven
