#include "format/ForwardWords.h"

#include <QCoreApplication>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

/// The texts of this file.
struct Texts {
    Q_DECLARE_TR_FUNCTIONS(ForwardWords)
};

ForwardWords english()
{
    return {u"---------- Forwarded message ---------"_s,
            {u"From:"_s, u"Date:"_s, u"Subject:"_s, u"To:"_s, u"Cc:"_s}};
}

/// As in its translation: only that of the user is at hand while the program runs.
ForwardWords german()
{
    return {u"---------- Weitergeleitete Nachricht ---------"_s,
            {u"Von:"_s, u"Datum:"_s, u"Betreff:"_s, u"An:"_s, u"Cc:"_s}};
}

} // namespace

ForwardWords ForwardWords::ofUser()
{
    return {
        Texts::tr("---------- Forwarded message ---------"),
        {Texts::tr("From:"), Texts::tr("Date:"), Texts::tr("Subject:"), Texts::tr("To:"), Texts::tr("Cc:")}};
}

QList<ForwardWords> ForwardWords::known()
{
    return {ofUser(), english(), german()};
}

QString ForwardWords::written(Field field, const QString& value) const
{
    return labels[static_cast<std::size_t>(field)] + u' ' + value;
}

std::optional<ForwardWords::Read> ForwardWords::read(QStringView text) const
{
    for (std::size_t number = 0; number < labels.size(); ++number) {
        if (text.startsWith(labels[number]))
            return Read{static_cast<Field>(number), text.sliced(labels[number].size()).trimmed()};
    }
    return std::nullopt;
}

} // namespace Larkhaven
