#include "safety/PublicSuffixes.h"

#include "domain/Text.h"
#include "safety/LinkCleaner.h"
#include "safety/URLHost.h"

#include <libpsl.h>

using namespace Qt::StringLiterals;

namespace Larkhaven::PublicSuffixes {
namespace {

/// Never freed: the list lives as long as the program.
const psl_ctx_t* list()
{
    static const psl_ctx_t* const known = [] {
        const psl_ctx_t* const latest = psl_latest(nullptr);
        return latest ? latest : psl_builtin();
    }();
    return known;
}

QByteArray plain(const QString& host)
{
    QByteArray name = Text::asciiLowered(host).toLatin1();
    while (name.endsWith('.'))
        name.chop(1);
    return name;
}

} // namespace

bool areKnown()
{
    return list() != nullptr;
}

QString registrableDomain(const QString& host)
{
    const QByteArray name = plain(host);
    if (URLHost::addressOf(host))
        return QString::fromLatin1(name);
    if (!list())
        return LinkCleaner::registrableDomain(QString::fromLatin1(name));
    const char* const domain = psl_registrable_domain(list(), name.constData());
    return QString::fromLatin1(domain ? QByteArray(domain) : name);
}

bool isBelowSuffix(const QString& host)
{
    const QByteArray name = plain(host);
    if (!list() || URLHost::addressOf(host))
        return false;
    if (name.endsWith(".example"))
        return true;
    // One label, or two where all below a country's is for registering ("*.ck").
    constexpr int icann = PSL_TYPE_ICANN | PSL_TYPE_NO_STAR_RULE;
    const qsizetype last = name.lastIndexOf('.');
    if (last < 1 || psl_is_public_suffix2(list(), name.constData(), icann) != 0)
        return false;
    const qsizetype secondLast = name.lastIndexOf('.', last - 1);
    return psl_is_public_suffix2(list(), name.constData() + last + 1, icann) != 0 ||
           (secondLast > 0 && psl_is_public_suffix2(list(), name.constData() + secondLast + 1, icann) != 0);
}

} // namespace Larkhaven::PublicSuffixes
