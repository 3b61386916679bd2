#pragma once

#include <QString>

#include <array>

namespace Larkhaven::HTMLSanitizer {

/// An image is a tracker if its host contains one of these: the domains of e-mail marketing and read-receipt
/// services that bring their pixels from there, and the words by which others name such hosts.
inline constexpr std::array<QLatin1StringView, 34> trackerHostFragments{
    QLatin1StringView("awstrack.me"),
    QLatin1StringView("createsend.com"),
    QLatin1StringView("customeriomail.com"),
    QLatin1StringView("didtheyreadit.com"),
    QLatin1StringView("emltrk.com"),
    QLatin1StringView("exacttarget.com"),
    QLatin1StringView("exct.net"),
    QLatin1StringView("getnotify.com"),
    QLatin1StringView("klaviyomail.com"),
    QLatin1StringView("list-manage.com"),
    QLatin1StringView("mailgun.org"),
    QLatin1StringView("mailjet.com"),
    QLatin1StringView("mailtrack.io"),
    QLatin1StringView("mandrillapp.com"),
    QLatin1StringView("mktoresp.com"),
    QLatin1StringView("pstmrk.it"),
    QLatin1StringView("readnotify.com"),
    QLatin1StringView("rs6.net"),
    QLatin1StringView("sailthru.com"),
    QLatin1StringView("sendgrid.net"),
    QLatin1StringView("sendinblue.com"),
    QLatin1StringView("sparkpostmail.com"),
    QLatin1StringView("yesware.com"),

    QLatin1StringView("hubspot"),
    QLatin1StringView("hs-analytics"),
    QLatin1StringView("mailtracker"),
    QLatin1StringView("bananatag"),
    QLatin1StringView("pixel."),
    QLatin1StringView("tracking."),
    QLatin1StringView("track."),
    QLatin1StringView("trk."),
    QLatin1StringView("click."),
    QLatin1StringView("open."),
    QLatin1StringView("intercom-mail"),
};

/// An image is a tracker if its URL contains one of these behind the host.
inline constexpr std::array<QLatin1StringView, 9> trackerPathFragments{
    QLatin1StringView("/open"),  QLatin1StringView("/track"),   QLatin1StringView("pixel"),
    QLatin1StringView("beacon"), QLatin1StringView("/wf/open"), QLatin1StringView("/o.gif"),
    QLatin1StringView("/e/o"),   QLatin1StringView("openrate"), QLatin1StringView("/imp?"),
};

/// A style with one of these, in lower case and without spaces, hides its image.
inline constexpr std::array<QLatin1StringView, 7> hidingStyles{
    QLatin1StringView("display:none"), QLatin1StringView("visibility:hidden"), QLatin1StringView("width:1px"),
    QLatin1StringView("height:1px"),   QLatin1StringView("width:0"),           QLatin1StringView("height:0"),
    QLatin1StringView("opacity:0"),
};

} // namespace Larkhaven::HTMLSanitizer
