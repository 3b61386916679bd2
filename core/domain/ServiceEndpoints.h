#pragma once

#include <QString>

/// Where the two services with a sign-in of their own are reached, and what is asked for there. From their
/// public documentation: "OAuth 2.0 for iOS & desktop apps" and "Gmail API" of Google for developers; "OAuth
/// 2.0 authorization code flow" of the Microsoft identity platform and "Authenticate an IMAP, POP or SMTP
/// connection using OAuth" of Exchange Online; "POP, IMAP, and SMTP settings for Outlook.com".
namespace Larkhaven::ServiceEndpoints {

namespace Google {
inline constexpr QLatin1StringView authorize("https://accounts.google.com/o/oauth2/v2/auth");
inline constexpr QLatin1StringView token("https://oauth2.googleapis.com/token");
inline constexpr QLatin1StringView revoke("https://oauth2.googleapis.com/revoke");
inline constexpr QLatin1StringView scope("https://www.googleapis.com/auth/gmail.modify");
/// The REST root of the user's own mailbox, without a slash at its end.
inline constexpr QLatin1StringView gmail("https://gmail.googleapis.com/gmail/v1/users/me");
/// What takes whole messages, followed by a path.
inline constexpr QLatin1StringView gmailUpload("https://gmail.googleapis.com/upload/gmail/v1/users/me/");
} // namespace Google

/// "consumers" is the tenant of personal accounts.
namespace Microsoft {
inline constexpr QLatin1StringView
    authorize("https://login.microsoftonline.com/consumers/oauth2/v2.0/authorize");
inline constexpr QLatin1StringView token("https://login.microsoftonline.com/consumers/oauth2/v2.0/token");
inline constexpr QLatin1StringView imapScope("https://outlook.office.com/IMAP.AccessAsUser.All");
inline constexpr QLatin1StringView smtpScope("https://outlook.office.com/SMTP.Send");
inline constexpr QLatin1StringView imapHost("outlook.office365.com");
inline constexpr QLatin1StringView smtpHost("smtp-mail.outlook.com");
} // namespace Microsoft

} // namespace Larkhaven::ServiceEndpoints
