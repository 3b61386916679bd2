#pragma once

#include <QByteArray>
#include <QList>
#include <QRegularExpression>
#include <QString>
#include <QUrl>

#include <optional>

namespace Larkhaven {

/// The network wall of the message view: lists of rules over the URLs that a page asks for. Main thread.
namespace ContentBlocker {

/// Which list is in force.
enum class Mode { blockAll, httpsImagesOnly };
QString storedText(Mode mode);
/// "larkhaven.{mode}.v1".
QString identifier(Mode mode);
/// The JSON text of the list.
QByteArray source(Mode mode);

/// What a page asks for.
enum class Resource { document, image, other };

/// Whether a request may go out, and with its cookies.
struct Verdict {
    bool isBlocked = false;
    bool areCookiesBlocked = false;

    bool operator==(const Verdict&) const = default;
};

/// A rule list that was read from its JSON text. Rules are tried in their order; of those whose trigger fits,
/// each changes the verdict: "block" and "block-cookies" add to it, "ignore-previous-rules" takes back all
/// before.
class RuleList {
public:
    /// Absent where the text is no list of rules that are understood in full.
    static std::optional<RuleList> compile(const QByteArray& json);

    Verdict verdict(const QUrl& url, Resource resource) const;

private:
    enum class Action { block, blockCookies, ignorePreviousRules };
    struct Rule {
        QRegularExpression urlFilter; ///< anchored only where it says so; case does not count
        bool isForImagesOnly = false;
        Action action = Action::block;
    };

    static std::optional<Rule> compileRule(const QJsonValue& value);

    QList<Rule> m_rules;
};

/// The list of the mode, compiled on the first use. Fails with `MailError::unsupported` "Content blocker
/// failed to compile".
const RuleList& ruleList(Mode mode);

} // namespace ContentBlocker

} // namespace Larkhaven
