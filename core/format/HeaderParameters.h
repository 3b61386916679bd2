#pragma once

#include <QHash>
#include <QString>
#include <QStringView>

namespace Larkhaven {

/// A structured header value such as that of Content-Type (RFC 2045, 5.1): a value with parameters, extended
/// ones and those in sections (RFC 2231) undone.
///
///     field   = value *( ";" name [ "*" section ] [ "*" ] "=" text )
///
/// Reading never fails: a parameter that can't be read is passed over. A plain parameter wins over one in
/// sections, a later one over an earlier one; sections are joined in the order of their numbers, whatever
/// gaps those have.
///
/// NB: RFC 2231, 4.1 lets the charset of the first section hold for all; here later sections are UTF-8.
/// Octets of an extended value may be written "=41" as well as "%41".
struct HeaderParameters {
    QString value;                  ///< lowercased
    QHash<QString, QString> params; ///< by lowercased name

    /// The most parameters that are read; those beyond are passed over.
    static constexpr int maxParameters = 1'000'000;

    static HeaderParameters parse(QStringView text);

    bool operator==(const HeaderParameters&) const = default;
};

} // namespace Larkhaven
