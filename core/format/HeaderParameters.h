#pragma once

#include <QList>
#include <QString>
#include <QStringView>

#include <initializer_list>
#include <optional>

namespace Larkhaven {

/// Parameters by their names: each name once, in order. In place of a hash, since nearly every field has one
/// or two: to make and to drop them takes a third of the time.
class ParameterList {
public:
    struct Parameter {
        QString name; ///< in small letters
        QString value;

        bool operator==(const Parameter&) const = default;
    };

    ParameterList() = default;
    /// In any order; of two with the same name the later one counts.
    explicit ParameterList(QList<Parameter> parameters);
    ParameterList(std::initializer_list<Parameter> parameters)
        : ParameterList(QList<Parameter>(parameters))
    {}

    std::optional<QString> value(QStringView name) const;
    bool contains(QStringView name) const { return find(name) != nullptr; }
    bool isEmpty() const { return m_parameters.isEmpty(); }
    auto begin() const { return m_parameters.cbegin(); }
    auto end() const { return m_parameters.cend(); }

    bool operator==(const ParameterList&) const = default;

private:
    const Parameter* find(QStringView name) const;

    QList<Parameter> m_parameters;
};

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
    QString value;        ///< lowercased
    ParameterList params; ///< by lowercased name

    /// The most parameters that are read; those beyond are passed over.
    static constexpr int maxParameters = 1'000'000;

    static HeaderParameters parse(QStringView text);

    bool operator==(const HeaderParameters&) const = default;
};

} // namespace Larkhaven
