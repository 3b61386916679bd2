#pragma once

#include <QColor>
#include <QHash>
#include <QString>
#include <QStringList>
#include <QTextListFormat>

#include <optional>

/// The values that the reader of rich text finds in attributes and styles. Total, pure.
namespace Larkhaven::ComposeHTML {

/// The character references of a text. Names that the table of the sanitizer doesn't hold are asked of Qt,
/// each once.
class References {
public:
    QString decoded(QStringView text);

private:
    qsizetype takeReference(QStringView text, QString& result);
    QString value(const QString& reference);

    QHash<QString, QString> m_known;
};

/// The declarations of a style attribute, names in lower case; of several of one name the last.
QHash<QString, QString> declarations(QStringView style);
std::optional<QColor> color(const QString& text);
/// A length or a share of `parent`, in points of the message.
std::optional<double> fontSize(const QString& text, double parent, double base);
/// A margin in points of the message; `size` is that of the text.
std::optional<double> margin(const QString& text, double size);
QStringList families(const QString& text);
QTextListFormat::Style listStyle(bool isOrdered, const QString& type);

} // namespace Larkhaven::ComposeHTML
