#pragma once

#include <QByteArray>
#include <QString>

#include <ostream>

// GoogleTest shows Qt's strings as text and not as lists of code units.

inline void PrintTo(const QString& text, std::ostream* stream)
{
    *stream << '"' << text.toStdString() << '"';
}

inline void PrintTo(const QByteArray& bytes, std::ostream* stream)
{
    *stream << '"' << bytes.toPercentEncoding(" !\"#$&'()*+,-./:;<=>?@[\\]^_`{|}~").toStdString() << '"';
}
