#pragma once

#include "domain/Account.h"

#include <QObject>

class QFormLayout;
class QLineEdit;
class QSpinBox;

namespace Larkhaven {

class Picker;

/// The fields of one of the two servers of an account. A security proposes its usual port, unless the port
/// was typed, or is none of the usual ones. They belong to the form that they are added to.
class ServerFields : public QObject {
    Q_OBJECT

public:
    /// What the fields are called, as a heading and for who hears them alone.
    struct Names {
        QString title; ///< with its colon
        QString host;
        QString port;
        QString security;
    };
    struct Ports {
        int tls;
        int startTLS;
    };
    struct Values {
        QString host; ///< without blanks around it
        int port;
        ConnectionSecurity security;
    };

    /// `objectName` begins the names of the fields, as in "imapHost".
    ServerFields(QFormLayout& form, const Names& names, Ports ports, const QString& objectName,
                 QObject* parent);

    Values values() const;
    /// Shows what nobody has typed.
    void show(const Values& values);
    /// Puts the focus where the server is named.
    void focus();
    void setFieldWidth(int fieldWidth);

Q_SIGNALS:
    /// By the user.
    void edited();

private:
    void notePort();
    void noteSecurity();
    int usualPort(ConnectionSecurity security) const;

    Ports m_ports;
    QLineEdit* m_host;
    QSpinBox* m_port;
    Picker* m_security;
    bool m_isPortTyped = false;
    bool m_isShowing = false; ///< fields change by themselves
};

} // namespace Larkhaven
