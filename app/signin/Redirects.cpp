#include "app/signin/Redirects.h"

#include "app/signin/SignInService.h"
#include "app/signin/WebAuthenticator.h"

#include <algorithm>
#include <cstring>

namespace Larkhaven::Redirects {

QStringList takeFrom(int argc, char** argv, const Info& info)
{
    QStringList redirects;
    for (int place = 1; place < argc; ++place) {
        const QString argument = QString::fromLocal8Bit(argv[place]);
        if (!SignInService::isRedirect(argument, info))
            continue;
        redirects.append(argument);
        std::fill_n(argv[place], std::strlen(argv[place]), '\0');
    }
    return redirects;
}

bool deliver(const QStringList& arguments, const Info& info, WebAuthenticator& authenticator)
{
    bool isElseAsked = arguments.isEmpty();
    for (const QString& argument : arguments) {
        if (SignInService::isRedirect(argument, info))
            authenticator.takeRedirect(argument.toUtf8());
        else
            isElseAsked = true;
    }
    return isElseAsked;
}

} // namespace Larkhaven::Redirects
