#include "views/reader/ContentBlocker.h"

#include "domain/MailError.h"

#include <QCoreApplication>
#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>

#include <map>

using namespace Qt::StringLiterals;

namespace Larkhaven::ContentBlocker {

namespace {

/// The texts of this file.
struct Texts {
    Q_DECLARE_TR_FUNCTIONS(ContentBlocker)
};

} // namespace

QString storedText(Mode mode)
{
    return mode == Mode::blockAll ? u"blockAll"_s : u"httpsImagesOnly"_s;
}

QString identifier(Mode mode)
{
    return u"larkhaven.%1.v1"_s.arg(storedText(mode));
}

QByteArray source(Mode mode)
{
    if (mode == Mode::blockAll)
        return R"([{"trigger":{"url-filter":".*"},"action":{"type":"block"}},
{"trigger":{"url-filter":"^data:"},"action":{"type":"ignore-previous-rules"}},
{"trigger":{"url-filter":"^about:"},"action":{"type":"ignore-previous-rules"}}])";
    return R"([{"trigger":{"url-filter":".*"},"action":{"type":"block"}},
{"trigger":{"url-filter":"^https://","resource-type":["image"]},"action":{"type":"ignore-previous-rules"}},
{"trigger":{"url-filter":"^data:"},"action":{"type":"ignore-previous-rules"}},
{"trigger":{"url-filter":"^about:"},"action":{"type":"ignore-previous-rules"}},
{"trigger":{"url-filter":".*"},"action":{"type":"block-cookies"}}])";
}

namespace {

bool hasOnly(const QJsonObject& object, const QSet<QString>& keys)
{
    const QStringList present = object.keys();
    return keys.contains(QSet<QString>(present.cbegin(), present.cend()));
}

} // namespace

std::optional<RuleList::Rule> RuleList::compileRule(const QJsonValue& value)
{
    const QJsonObject trigger = value["trigger"_L1].toObject();
    const QString type = value["action"_L1]["type"_L1].toString();
    static const QHash<QString, Action> actions{{u"block"_s, Action::block},
                                                {u"block-cookies"_s, Action::blockCookies},
                                                {u"ignore-previous-rules"_s, Action::ignorePreviousRules}};
    const bool hasOnlyKnownKeys = hasOnly(value.toObject(), {u"trigger"_s, u"action"_s}) &&
                                  hasOnly(trigger, {u"url-filter"_s, u"resource-type"_s}) &&
                                  hasOnly(value["action"_L1].toObject(), {u"type"_s});
    const QJsonValue types = trigger["resource-type"_L1];
    const bool isForImagesOnly = types == QJsonArray{u"image"_s};
    Rule rule;
    rule.urlFilter = QRegularExpression(trigger["url-filter"_L1].toString(),
                                        QRegularExpression::CaseInsensitiveOption |
                                            QRegularExpression::DotMatchesEverythingOption);
    rule.isForImagesOnly = isForImagesOnly;
    rule.action = actions.value(type);
    // A rule that is understood by half would be a hole in the wall.
    const bool isUnderstood = trigger["url-filter"_L1].isString() && rule.urlFilter.isValid() &&
                              actions.contains(type) && (types.isUndefined() || isForImagesOnly) &&
                              hasOnlyKnownKeys;
    return isUnderstood ? std::optional(rule) : std::nullopt;
}

std::optional<RuleList> RuleList::compile(const QByteArray& json)
{
    const QJsonDocument document = QJsonDocument::fromJson(json);
    const QJsonArray array = document.array();
    RuleList list;
    for (const auto& value : array) {
        const std::optional<Rule> rule = compileRule(value);
        if (!rule)
            return std::nullopt;
        list.m_rules.append(*rule);
    }
    return array.isEmpty() ? std::nullopt : std::optional(list);
}

Verdict RuleList::verdict(const QUrl& url, Resource resource) const
{
    const QString text = QString::fromLatin1(url.toEncoded());
    Verdict verdict;
    for (const Rule& rule : m_rules) {
        if ((rule.isForImagesOnly && resource != Resource::image) || !rule.urlFilter.match(text).hasMatch())
            continue;
        switch (rule.action) {
        case Action::block:
            verdict.isBlocked = true;
            break;
        case Action::blockCookies:
            verdict.areCookiesBlocked = true;
            break;
        case Action::ignorePreviousRules:
            verdict = {};
            break;
        }
    }
    return verdict;
}

const RuleList& ruleList(Mode mode)
{
    // Filters keep hold of a list: it never moves.
    static std::map<Mode, RuleList> compiled;
    auto known = compiled.find(mode);
    if (known == compiled.end()) {
        const std::optional<RuleList> list = RuleList::compile(source(mode));
        if (!list)
            throw MailError::unsupported(Texts::tr("Content blocker failed to compile"));
        known = compiled.emplace(mode, *list).first;
    }
    return known->second;
}

} // namespace Larkhaven::ContentBlocker
