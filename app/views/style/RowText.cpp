#include "views/style/RowText.h"

#include "views/style/DisplayText.h"

#include <QCoreApplication>
#include <QLocale>
#include <QRegularExpression>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Larkhaven::RowText {

namespace {

/// The texts of this file.
struct Texts {
    Q_DECLARE_TR_FUNCTIONS(RowText)
};

QString recipients(const MessageSummary& row, const std::optional<Account>& account)
{
    if (row.to.isEmpty())
        return Texts::tr("(no recipient)");
    // Nobody sees more of a mass mailing.
    constexpr qsizetype mostShown = 50;
    QStringList names;
    for (const EmailAddress& recipient : row.to.first(std::min(row.to.size(), mostShown))) {
        const bool isOwn = account && recipient.address.compare(account->email, Qt::CaseInsensitive) == 0;
        names.append(isOwn ? Texts::tr("me") : DisplayText::bounded(recipient.displayName()));
    }
    if (row.to.size() > mostShown)
        names.append(u"…"_s);
    return Texts::tr("To: %1").arg(names.join(u", "_s));
}

/// The sender's name; where it can't be trusted the addresses, of which the end says whose they are.
QString shownSender(const MessageSummary& row)
{
    constexpr qsizetype mostAddresses = 300;
    if (!row.sender)
        return row.from ? row.from->displayName() : QString();
    const QString shown = row.sender->shown();
    const bool isCut = !row.sender->isTrusted() && shown.size() > mostAddresses;
    return isCut ? u'…' + shown.last(mostAddresses) : shown;
}

/// The locale's short date pattern without its year and what ties the year to the rest.
QString patternWithoutYear(const QLocale& locale)
{
    static const QRegularExpression year(u"[^dM]*y+[^dM]*"_s);
    const QString pattern = locale.dateFormat(QLocale::ShortFormat);
    const QRegularExpressionMatch match = year.match(pattern);
    const bool isInside =
        match.hasMatch() && match.capturedStart() > 0 && match.capturedEnd() < pattern.size();
    return QString(pattern).replace(year, isInside ? u"/"_s : QString());
}

} // namespace

QString sender(const MessageSummary& row, const MailboxRef& mailbox, const std::optional<Account>& account)
{
    if (mailbox.role() == Mailbox::sent || mailbox.role() == Mailbox::drafts)
        return recipients(row, account);
    const QString shown = shownSender(row);
    return shown.isEmpty() && (row.sender || !row.from) ? Texts::tr("(unknown sender)") : shown;
}

QString subject(const MessageSummary& row)
{
    return row.subject.isEmpty() ? Texts::tr("(no subject)") : row.subject;
}

QString date(const QDateTime& date, const QDateTime& now)
{
    const QLocale locale;
    const QDateTime local = date.toLocalTime();
    const QDate today = now.toLocalTime().date();
    if (local.date() == today)
        return time(local.time());
    if (local.date() == today.addDays(-1))
        return Texts::tr("Yesterday");
    if (local.date().year() == today.year())
        return locale.toString(local.date(), patternWithoutYear(locale));
    return locale.toString(local.date(), QLocale::ShortFormat);
}

QString time(const QTime& time)
{
    // A few locales put seconds even into their short form.
    static const QRegularExpression seconds(u"[^a-zA-Z]?ss?"_s);
    const QLocale locale;
    return locale.toString(time, locale.timeFormat(QLocale::ShortFormat).remove(seconds));
}

QString size(qint64 bytes)
{
    // Qt knows no form for one.
    if (bytes == 1)
        return Texts::tr("1 byte");
    return QLocale().formattedDataSize(bytes, 1, QLocale::DataSizeSIFormat);
}

} // namespace Larkhaven::RowText
